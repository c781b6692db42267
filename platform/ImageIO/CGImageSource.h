// CGImageSource.h - reads PNG and JPEG files, from disk or from memory.
//
// A source keeps the bytes of one file and decodes them once, on the first request for the status or the image. Every
// kind of PNG, and gray and color JPEG files, become 8-bit RGBA images with straight alpha. Their color space comes
// from the file's ICC profile if that describes RGB; otherwise it is sRGB.
//
// Ownership: the caller owns what Create and Copy return and releases it with CFRelease.
// Failure:   a broken, truncated or unknown file gives no image, and its status says why; nothing is printed. A source
//            never returns a partial image.
// Threads:   use a source from one thread at a time.

#pragma once

#include <CoreGraphics/CoreGraphics.h>

typedef struct CGImageSource* CGImageSourceRef;

// The result of reading a file.
typedef int32_t CGImageSourceStatus;
enum {
    kCGImageStatusUnexpectedEOF = -5,  // the file is truncated
    kCGImageStatusInvalidData = -4,    // a PNG or JPEG that is broken or too large for memory
    kCGImageStatusUnknownType = -3,    // neither PNG nor JPEG, or a CMYK JPEG
    kCGImageStatusReadingHeader = -2,  // too short to tell the type
    kCGImageStatusIncomplete = -1,
    kCGImageStatusComplete = 0,
};

// Returns a source for a file; null, with the reason in errno, when the file cannot be read or the URL is not a file
// URL. Ignores options.
CG_EXTERN CGImageSourceRef CGImageSourceCreateWithURL(CFURLRef url, CFDictionaryRef options);

// Returns a source for a data object, which it retains and which must not change; null for null. Ignores options.
CG_EXTERN CGImageSourceRef CGImageSourceCreateWithData(CFDataRef data, CFDictionaryRef options);

// Returns the number of images: 1 when the status is kCGImageStatusComplete, otherwise 0.
CG_EXTERN size_t CGImageSourceGetCount(CGImageSourceRef source);

// Returns the status of the file; kCGImageStatusInvalidData for null.
CG_EXTERN CGImageSourceStatus CGImageSourceGetStatus(CGImageSourceRef source);

// Image property: the Exif orientation, an NSNumber from 1 (upright) to 8.
CG_EXTERN const CFStringRef kCGImagePropertyOrientation;

// Image properties: the size of the stored image, NSNumbers.
CG_EXTERN const CFStringRef kCGImagePropertyPixelWidth;
CG_EXTERN const CFStringRef kCGImagePropertyPixelHeight;

// Image property: whether the rows can be decoded one after the other, see below; a Boolean NSNumber.
CG_EXTERN const CFStringRef kCGImagePropertyHasRowsInOrder;

// Returns the properties of the image, owned by the caller: the orientation, if the file has one, and the size, also
// when it is too large to be decoded. Does not decode the pixels. Null for an index other than 0. Ignores options.
CG_EXTERN CFDictionaryRef CGImageSourceCopyPropertiesAtIndex(CGImageSourceRef source, size_t index,
                                                             CFDictionaryRef options);

// Options of an image. The first one, a Boolean that is true by default, keeps the decoded pixels in memory. If it is
// false, those of a large image are decoded row by row: the image has a sequential provider. That needs a JPEG of one
// scan, or a PNG of 8 bits or less that is not interlaced; other images are kept. The second one, 2, 4 or 8, is how
// many times smaller such a JPEG is decoded; each pixel is the mean of a square, rounded up at the right and lower
// edges.
CG_EXTERN const CFStringRef kCGImageSourceShouldCache;
CG_EXTERN const CFStringRef kCGImageSourceSubsampleFactor;

// Returns the image as stored (not rotated by its orientation), owned by the caller. Null for an index other than 0,
// when the status is not kCGImageStatusComplete, and for a factor and an image that cannot be decoded by it.
CG_EXTERN CGImageRef CGImageSourceCreateImageAtIndex(CGImageSourceRef source, size_t index, CFDictionaryRef options);
