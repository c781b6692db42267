// CGImageDestination.h - images into files and into memory: PNG and JPEG.
//
// A destination takes one image and writes it when it is finalized; until then nothing is written. A PNG keeps alpha, straight;
// a JPEG has none, so transparent places become white, as on paper. The profile of a space other than sRGB is put in.
//
// Ownership: Create gives one reference, to be given back with CFRelease; images are retained until then.
// Failure:   finalizing answers false, and a file that was there, or the data, stays as it was.
// Threads:   a destination is used by one thread at a time.

#pragma once

#include <CoreGraphics/CoreGraphics.h>

typedef struct CGImageDestination* CGImageDestinationRef;

// The property of an added image that sets the quality of a JPEG: an NSNumber, 0 (smallest) to 1 (best); 0.9 when not given.
CG_EXTERN const CFStringRef kCGImageDestinationLossyCompressionQuality;

// A destination for a file of the type "public.png" or "public.jpeg". Null for another type, a null URL, or a count other
// than 1. Options are not used.
CG_EXTERN CGImageDestinationRef CGImageDestinationCreateWithURL(CFURLRef url, CFStringRef type, size_t count,
                                                                CFDictionaryRef options);

// The same for a data object, which is retained and to which the file's bytes are appended.
CG_EXTERN CGImageDestinationRef CGImageDestinationCreateWithData(CFMutableDataRef data, CFStringRef type, size_t count,
                                                                 CFDictionaryRef options);

// Gives the image to write; a second one and null are ignored.
CG_EXTERN void CGImageDestinationAddImage(CGImageDestinationRef destination, CGImageRef image,
                                          CFDictionaryRef properties);

// Writes the file and answers whether that succeeded. A destination is finalized once; again answers false.
CG_EXTERN bool CGImageDestinationFinalize(CGImageDestinationRef destination);
