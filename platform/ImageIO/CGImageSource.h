// CGImageSource.h - images out of files: PNG and JPEG.
//
// A source keeps the bytes of one file and decodes them once, when the status or the image is asked for. Every kind of PNG and
// the gray and color kinds of JPEG become 8-bit RGBA images with straight alpha, in the space of the file's ICC profile if it has one
// of red, green and blue, else in sRGB.
//
// Ownership: Create gives one reference, to be given back with CFRelease.
// Failure:   a file that is broken, cut short or of no known kind has a status that says so and gives no image; nothing is
//            printed. Part of a picture is never given.
// Threads:   a source is used by one thread at a time.

#pragma once

#include <CoreGraphics/CoreGraphics.h>

typedef struct CGImageSource* CGImageSourceRef;

// What became of reading a file.
typedef int32_t CGImageSourceStatus;
enum {
    kCGImageStatusUnexpectedEOF = -5,  // the file ends before the picture does
    kCGImageStatusInvalidData = -4,    // its kind is known, its content is broken or larger than can be held
    kCGImageStatusUnknownType = -3,    // no kind that can be read here; a CMYK picture is one of those
    kCGImageStatusReadingHeader = -2,  // too short to tell
    kCGImageStatusIncomplete = -1,
    kCGImageStatusComplete = 0,
};

// A source for a file; null when it cannot be read, or the URL is not that of a file. Options are not used.
CG_EXTERN CGImageSourceRef CGImageSourceCreateWithURL(CFURLRef url, CFDictionaryRef options);

// A source for bytes in memory, which are retained and must not change; null for null. Options are not used.
CG_EXTERN CGImageSourceRef CGImageSourceCreateWithData(CFDataRef data, CFDictionaryRef options);

// How many images there are: 1, or 0 when the status is not kCGImageStatusComplete.
CG_EXTERN size_t CGImageSourceGetCount(CGImageSourceRef source);

// What became of reading.
CG_EXTERN CGImageSourceStatus CGImageSourceGetStatus(CGImageSourceRef source);

// The property of an image that says which way up it was taken: an NSNumber, 1 (upright) to 8, in the numbers of Exif.
CG_EXTERN const CFStringRef kCGImagePropertyOrientation;

// What the file says of the image, with one reference for the caller: the orientation, when there is one. The pixels are not
// decoded for it. Null for an index other than 0. Options are not used.
CG_EXTERN CFDictionaryRef CGImageSourceCopyPropertiesAtIndex(CGImageSourceRef source, size_t index,
                                                             CFDictionaryRef options);

// The image as it is stored, with one reference for the caller; null for an index other than 0, or when the status is not
// kCGImageStatusComplete. Options are not used.
CG_EXTERN CGImageRef CGImageSourceCreateImageAtIndex(CGImageSourceRef source, size_t index, CFDictionaryRef options);
