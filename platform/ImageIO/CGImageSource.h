// CGImageSource.h - reads picture files, from disk or from memory. The first bytes tell the format, not the name.
//
// A source keeps the bytes of one file and decodes them once, on the first request for the status or the image. The
// image is RGBA: with straight alpha, of 8 bits, or of 16 if the file has more than 8; or premultiplied floats, if the
// file has floats. Its color space comes from the file's ICC profile if that describes RGB; otherwise it is sRGB.
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
    kCGImageStatusInvalidData = -4,    // a picture that is broken or too large
    kCGImageStatusUnknownType = -3,    // not a format that can be read here, or a kind of picture that cannot
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

// Image property: the pictures in the file, an NSNumber: pages, frames of an animation, or pictures of an album. Only
// the first can be read.
CG_EXTERN const CFStringRef kCGImagePropertyImageCount;

// Image property: the Exif orientation, an NSNumber from 1 (upright) to 8.
CG_EXTERN const CFStringRef kCGImagePropertyOrientation;

// Image properties: the size of the stored image, NSNumbers.
CG_EXTERN const CFStringRef kCGImagePropertyPixelWidth;
CG_EXTERN const CFStringRef kCGImagePropertyPixelHeight;

// Image property: whether the rows can be decoded one after the other, see below; a Boolean NSNumber.
CG_EXTERN const CFStringRef kCGImagePropertyHasRowsInOrder;

// Image property: the bits of each component of the image, an NSNumber.
CG_EXTERN const CFStringRef kCGImagePropertyDepth;

// Image property: the bytes that decoding the image as a whole takes beside its pixels, an NSNumber; 0 where that is
// little.
CG_EXTERN const CFStringRef kCGImagePropertyWorkingBytes;

// Image properties: the data about the picture as the file holds it, NSData: Exif from its TIFF header on, the XMP
// packet, and the data sets of IPTC. A destination takes them too, and adapts them to its image.
CG_EXTERN const CFStringRef kCGImagePropertyExifBlock;
CG_EXTERN const CFStringRef kCGImagePropertyXMPBlock;
CG_EXTERN const CFStringRef kCGImagePropertyIPTCBlock;

// Image property: why the image cannot be read, an NSString, where more is known than the status says.
CG_EXTERN const CFStringRef kCGImagePropertyFailure;

// The most pixels of an image that is read; 268435456 unless another limit was set. The limit is that of the process.
CG_EXTERN size_t CGImageSourceGetPixelLimit(void);
CG_EXTERN void CGImageSourceSetPixelLimit(size_t pixels);

// Returns the properties of the image, owned by the caller: the orientation, if the file has one, and the size and the
// depth, also when it is too large to be decoded. Does not decode the pixels. Null for an index other than 0. Ignores
// options.
CG_EXTERN CFDictionaryRef CGImageSourceCopyPropertiesAtIndex(CGImageSourceRef source, size_t index,
                                                             CFDictionaryRef options);

// Options of an image. The first one, a Boolean that is true by default, keeps the decoded pixels in memory. If it is
// false, those of a large image are decoded row by row: the image has a sequential provider. That needs a JPEG of one
// scan, a PNG that is not interlaced, or a TIFF with strips of integers; other images are kept. The second one, 2, 4 or
// 8, is how many times smaller such a JPEG is decoded; each pixel is the mean of a square, rounded up at the right and
// lower edges.
CG_EXTERN const CFStringRef kCGImageSourceShouldCache;
CG_EXTERN const CFStringRef kCGImageSourceSubsampleFactor;

// Returns the image as stored (not rotated by its orientation), owned by the caller. Null for an index other than 0,
// when the status is not kCGImageStatusComplete, and for a factor and an image that cannot be decoded by it.
CG_EXTERN CGImageRef CGImageSourceCreateImageAtIndex(CGImageSourceRef source, size_t index, CFDictionaryRef options);
