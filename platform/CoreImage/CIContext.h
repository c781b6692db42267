// CIContext.h - renders images into bitmaps, on all cores.
//
// Filters work in linear light with the primaries of sRGB. Colors of each bitmap are converted to it from the
// bitmap's own space, and to the space of the result at the very end: divided by alpha, encoded, multiplied by alpha
// again, then clipped and rounded if the result holds bytes. A context without a working space skips all
// conversions: filters receive the numbers stored in the bitmaps, and the result holds numbers of the same kind.
// Colors set on filters are linear light even then.
//
// Failure: null for an empty or infinite rectangle and when memory is short; nothing is printed. CIEngineFailure says
//          why.
// Threads: a context is immutable and may be used on any thread.

#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <CoreImage/CIImage.h>
#import <Foundation/Foundation.h>

// The options of a context: the space of bitmaps that it creates, sRGB by default; and the working space of filters,
// which NSNull switches off. Filters work on the numbers of the working space, which by default is linear light with
// the primaries of sRGB. A working space that is not of red, green and blue is ignored. Colors set on filters are
// linear light in any working space. The memory limit is a number of megabytes for the large buffers of a rendering,
// without the result; by default it is a quarter of the machine's memory, and at most 1 GB in 32-bit programs. With
// straight alpha, bytes are not premultiplied: files that keep straight alpha lose nothing then.
CG_EXTERN NSString* const kCIContextOutputColorSpace;
CG_EXTERN NSString* const kCIContextWorkingColorSpace;
CG_EXTERN NSString* const kCIContextMemoryLimit;
CG_EXTERN NSString* const kCIContextStraightAlpha;

@interface CIContext : NSObject {
  @private
    CGColorSpaceRef _outputSpace;
    CGColorSpaceRef _workingSpace;
    BOOL _isMatching;
    BOOL _hasStraightBytes;
    void* _budget;
}

// A context. options may be nil; unknown options are ignored.
+ (CIContext*)contextWithOptions:(NSDictionary*)options;

// A bitmap of a rectangle of the image, rounded outward to whole pixels, in the context's output space or in another;
// the caller owns one reference. It is premultiplied, except for one of 16-bit integers, which keeps straight alpha
// because dividing such integers by alpha later would lose precision, and bytes if the context says so. Pixels outside
// the image are transparent. Returns null for a nil image, an empty or infinite rectangle, an unknown format and a
// space that is not of red, green and blue.
- (CGImageRef)createCGImage:(CIImage*)image fromRect:(CGRect)rect;
- (CGImageRef)createCGImage:(CIImage*)image
                   fromRect:(CGRect)rect
                     format:(CIFormat)format
                 colorSpace:(CGColorSpaceRef)colorSpace;

// If deferred, the bitmap has a sequential provider: its rows are rendered when they are requested, and the result is
// never in memory as a whole. A failure is then one of the provider, and CIEngineFailure says why.
- (CGImageRef)createCGImage:(CIImage*)image
                   fromRect:(CGRect)rect
                     format:(CIFormat)format
                 colorSpace:(CGColorSpaceRef)colorSpace
                   deferred:(BOOL)deferred;

// Writes a rectangle of the image as premultiplied pixels, the topmost row first.
//
// The caller's memory holds rowBytes bytes for every row; the rectangle is rounded outward to whole pixels. Without
// a color space the numbers are linear. Nothing is written for a nil image, an empty or infinite rectangle or an
// unknown format.
- (void)render:(CIImage*)image
      toBitmap:(void*)bitmap
      rowBytes:(ptrdiff_t)rowBytes
        bounds:(CGRect)bounds
        format:(CIFormat)format
    colorSpace:(CGColorSpaceRef)colorSpace;

@end
