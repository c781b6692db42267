// CGImage.h - a bitmap: its size, the meaning of its bytes, and the bytes.
//
// One layout is known: red, green, blue and alpha (or an unused byte) in this order, 8 bits each, the topmost row first.
// Ownership: Create gives one reference; Get lends for as long as the image lives.
// Failure:   a layout that is not known gives null.
// Threads:   images never change and may be used on any thread.

#pragma once

#include <CoreGraphics/CGColorSpace.h>
#include <CoreGraphics/CGDataProvider.h>

typedef struct CGImage* CGImageRef;

// Where the alpha of a pixel is and whether the colors are multiplied by it.
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

// The alpha info together with the order of bytes; 0 is the order of memory.
typedef uint32_t CGBitmapInfo;
enum {
    kCGBitmapAlphaInfoMask = 0x1f,
    kCGBitmapByteOrderMask = 0x7000,
    kCGBitmapByteOrderDefault = 0,
    kCGBitmapByteOrder32Big = 4 << 12,
};

// How colors outside a destination are brought in; not acted upon.
typedef int32_t CGColorRenderingIntent;
enum { kCGRenderingIntentDefault = 0 };

// An image over a provider's bytes; the provider and the space are retained.
//
// Null when: the layout is not 8 bits and 32 bits in an RGB space with alpha last (or skipped last), a size is 0, a row is
// shorter than its pixels, the provider has too few bytes, or decode is given. shouldInterpolate and intent are not acted upon.
CG_EXTERN CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                                   size_t bytesPerRow, CGColorSpaceRef space, CGBitmapInfo bitmapInfo,
                                   CGDataProviderRef provider, const CGFloat* decode, bool shouldInterpolate,
                                   CGColorRenderingIntent intent);

// One reference more, and one less; null is allowed.
CG_EXTERN CGImageRef CGImageRetain(CGImageRef image);
CG_EXTERN void CGImageRelease(CGImageRef image);

// What the image was made with. 0 or null for null.
CG_EXTERN size_t CGImageGetWidth(CGImageRef image);
CG_EXTERN size_t CGImageGetHeight(CGImageRef image);
CG_EXTERN size_t CGImageGetBitsPerComponent(CGImageRef image);
CG_EXTERN size_t CGImageGetBitsPerPixel(CGImageRef image);
CG_EXTERN size_t CGImageGetBytesPerRow(CGImageRef image);
CG_EXTERN CGColorSpaceRef CGImageGetColorSpace(CGImageRef image);
CG_EXTERN CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image);
CG_EXTERN CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image);
CG_EXTERN CGDataProviderRef CGImageGetDataProvider(CGImageRef image);
