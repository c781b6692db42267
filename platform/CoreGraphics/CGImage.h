// CGImage.h - bitmaps: a size, a pixel layout, a color space, and the bytes.
//
// The components are red, green, blue and alpha (or an unused one) in this order, top row first: integers of 8 bits, or
// integers of 16 bits or floats in the byte order of the machine.
//
// Ownership: the caller owns what Create returns. What Get returns is valid as long as the image is.
// Failure:   CGImageCreate returns null for an unsupported layout.
// Threads:   images are immutable and may be used on any thread.

#pragma once

#include <CoreGraphics/CGColorSpace.h>
#include <CoreGraphics/CGDataProvider.h>

typedef struct CGImage* CGImageRef;

// The position of alpha in a pixel, and whether the colors are premultiplied.
typedef uint32_t CGImageAlphaInfo;
enum {
    kCGImageAlphaNone = 0,
    kCGImageAlphaPremultipliedLast = 1,
    kCGImageAlphaPremultipliedFirst = 2,
    kCGImageAlphaLast = 3,
    kCGImageAlphaFirst = 4,
    kCGImageAlphaNoneSkipLast = 5,
    kCGImageAlphaNoneSkipFirst = 6,
    kCGImageAlphaOnly = 7,
};

// The alpha info combined with the byte order and the kind of number; byte order 0 is the order in memory.
typedef uint32_t CGBitmapInfo;
enum {
    kCGBitmapAlphaInfoMask = 0x1f,
    kCGBitmapFloatComponents = 1 << 8,
    kCGBitmapByteOrderMask = 0x7000,
    kCGBitmapByteOrderDefault = 0,
    kCGBitmapByteOrder16Little = 1 << 12,
    kCGBitmapByteOrder32Little = 2 << 12,
    kCGBitmapByteOrder32Big = 4 << 12,
    kCGBitmapByteOrder16Host = kCGBitmapByteOrder16Little,
    kCGBitmapByteOrder32Host = kCGBitmapByteOrder32Little,
};

// How colors outside the gamut of a destination are mapped into it; ignored.
typedef int32_t CGColorRenderingIntent;
enum { kCGRenderingIntentDefault = 0 };

// Returns an image of a provider's bytes, owned by the caller; it retains the provider and the space.
//
// Returns null unless bitsPerComponent is 8, 16 or 32 with the byte order and the kind of number above, bitsPerPixel is
// four times that, the space is RGB, alpha comes last (or is skipped last), and decode is null; also when width or
// height is 0, when bytesPerRow is too small for the width, or when the provider's data has too few bytes. Ignores
// shouldInterpolate and intent.
CG_EXTERN CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                                   size_t bytesPerRow, CGColorSpaceRef space, CGBitmapInfo bitmapInfo,
                                   CGDataProviderRef provider, const CGFloat* decode, bool shouldInterpolate,
                                   CGColorRenderingIntent intent);

// Retain and release an image. Null is allowed.
CG_EXTERN CGImageRef CGImageRetain(CGImageRef image);
CG_EXTERN void CGImageRelease(CGImageRef image);

// Return the values that the image was created with; 0 or null for null.
CG_EXTERN size_t CGImageGetWidth(CGImageRef image);
CG_EXTERN size_t CGImageGetHeight(CGImageRef image);
CG_EXTERN size_t CGImageGetBitsPerComponent(CGImageRef image);
CG_EXTERN size_t CGImageGetBitsPerPixel(CGImageRef image);
CG_EXTERN size_t CGImageGetBytesPerRow(CGImageRef image);
CG_EXTERN CGColorSpaceRef CGImageGetColorSpace(CGImageRef image);
CG_EXTERN CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image);
CG_EXTERN CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image);
CG_EXTERN CGDataProviderRef CGImageGetDataProvider(CGImageRef image);
