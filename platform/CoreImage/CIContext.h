// CIContext.h - renders images into bitmaps, on all cores.
//
// Filters work in linear light with the primaries of sRGB. Each bitmap's colors are brought there from its own space, and go to the
// space of the result at the very end: divided by alpha, encoded, multiplied by alpha again, clipped and rounded where the result
// holds bytes. A context without a working space leaves all that out: filters see the numbers that the bitmaps hold, and the
// result holds theirs. Colors that filters were given stay linear light also then.
//
// Failure: what cannot be rendered (an empty or infinite rectangle, too little memory) gives null and prints nothing.
// Threads: a context holds nothing that changes and may be used on any thread.

#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <CoreImage/CIImage.h>
#import <Foundation/Foundation.h>

// The options of a context: the space of bitmaps that it creates, sRGB when not given; and the space that filters work in, which can
// be taken away with NSNull. Filters work in linear light with the primaries of sRGB whatever other space is given.
CG_EXTERN NSString* const kCIContextOutputColorSpace;
CG_EXTERN NSString* const kCIContextWorkingColorSpace;

@interface CIContext : NSObject {
  @private
    CGColorSpaceRef _outputSpace;
    BOOL _isMatching;
}

// A context; options may be nil, and others than those above are not used.
+ (CIContext*)contextWithOptions:(NSDictionary*)options;

// A premultiplied 8-bit bitmap of a rectangle of the image, rounded outward to whole pixels, in the context's output space or in
// another; one reference for the caller. Places where the image is not are transparent. Null for a nil image, an empty or infinite
// rectangle, a format other than kCIFormatRGBA8 and a space that is not of red, green and blue.
- (CGImageRef)createCGImage:(CIImage*)image fromRect:(CGRect)rect;
- (CGImageRef)createCGImage:(CIImage*)image
                   fromRect:(CGRect)rect
                     format:(CIFormat)format
                 colorSpace:(CGColorSpaceRef)colorSpace;

// Writes a rectangle of the image as premultiplied pixels, the topmost row first.
//
// The caller's memory holds rowBytes bytes for every row; the rectangle is rounded outward to whole pixels. Without a color
// space the numbers are linear. Nothing is written for a nil image, an empty or infinite rectangle or an unknown format.
- (void)render:(CIImage*)image
      toBitmap:(void*)bitmap
      rowBytes:(ptrdiff_t)rowBytes
        bounds:(CGRect)bounds
        format:(CIFormat)format
    colorSpace:(CGColorSpaceRef)colorSpace;

@end
