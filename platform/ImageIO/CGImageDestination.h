// CGImageDestination.h - writes picture files, to disk or to memory.
//
// A destination takes one image and writes it when it is finalized; until then nothing is written. A JPEG has no alpha,
// so transparency is blended onto white; the other formats keep it. The ICC profile of the image is embedded unless its
// space is sRGB.
//
// Ownership: the caller owns what Create returns and releases it with CFRelease. A destination retains its image until
//            it is finalized or released.
// Failure:   finalizing returns false and leaves the reason in errno; an existing file, or the data object, stays as it
//            was. A pipe or a device may have received a part of the file.
// Threads:   use a destination from one thread at a time.

#pragma once

#include <CoreGraphics/CoreGraphics.h>

typedef struct CGImageDestination* CGImageDestinationRef;

// Image property: the quality of a format with losses, such as JPEG; an NSNumber from 0 (smallest file) to 1 (best
// quality). The default is 0.9.
CG_EXTERN const CFStringRef kCGImageDestinationLossyCompressionQuality;

// Image property: how much time to spend for a smaller file without losses: "fast", the default, "balanced" or "small".
CG_EXTERN const CFStringRef kCGImageDestinationCompression;

// Image properties of a format with losses: how many of the colors of 4 x 2 pixels are stored, "444", "422" or "420",
// which is the default; whether there are no losses at all, an NSNumber; and whether a JPEG is progressive, an
// NSNumber.
CG_EXTERN const CFStringRef kCGImageDestinationSubsampling;
CG_EXTERN const CFStringRef kCGImageDestinationLossless;
CG_EXTERN const CFStringRef kCGImagePropertyJFIFIsProgressive;

// Image property: whether the location is dropped from the data about the picture, an NSNumber.
CG_EXTERN const CFStringRef kCGImageDestinationDropsLocation;

// Returns a destination for a file of a type, such as "public.png" (CGImageFormat.h). Null for a type that cannot be
// written, a null URL, or a count other than 1. Ignores options.
//
// A link is followed. A regular file that exists keeps its mode, and its owner where that is permitted; it must permit
// writing. A pipe or a device is written to.
CG_EXTERN CGImageDestinationRef CGImageDestinationCreateWithURL(CFURLRef url, CFStringRef type, size_t count,
                                                                CFDictionaryRef options);

// Does the same for a data object, which the destination retains. Finalizing appends the bytes of the file to it.
CG_EXTERN CGImageDestinationRef CGImageDestinationCreateWithData(CFMutableDataRef data, CFStringRef type, size_t count,
                                                                 CFDictionaryRef options);

// Sets the image to write. Ignores null and any image after the first.
//
// The data about the picture (CGImageSource.h) is adapted: the orientation is reset, the dimensions become those of the
// image, and thumbnails are dropped. A format drops what it has no place for.
//
// The bits per component of the image must be those of files of the type (CGImageFormat.h).
CG_EXTERN void CGImageDestinationAddImage(CGImageDestinationRef destination, CGImageRef image,
                                          CFDictionaryRef properties);

// Decides whether finalizing waits until the file and its folder are on the disk, so that the file survives a loss of
// power. By default it does not. For the whole process; macOS has no such function.
CG_EXTERN void CGImageDestinationSetSynced(bool isSynced);

// Removes the temporary files of what is being written. For the handler of a signal that ends the process; macOS has no
// such function.
CG_EXTERN void CGImageDestinationDiscardUnfinished(void);

// Writes the file and returns whether that succeeded. A second call returns false.
CG_EXTERN bool CGImageDestinationFinalize(CGImageDestinationRef destination);
