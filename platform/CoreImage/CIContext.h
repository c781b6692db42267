// CIContext.h - renders images into bitmaps, on all cores.
//
// Colours go to the bitmap's space at the very end: divided by alpha, encoded, multiplied by alpha again, clipped and rounded
// where the bitmap holds bytes.
//
// Failure: what cannot be rendered (an empty or infinite rectangle, too little memory) gives null and prints nothing.
// Threads: a context holds nothing that changes and may be used on any thread.

#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <CoreImage/CIImage.h>
#import <Foundation/Foundation.h>

@interface CIContext : NSObject

// A context; options are not used.
+ (CIContext*)contextWithOptions:(NSDictionary*)options;

// A premultiplied 8-bit sRGB bitmap of a rectangle of the image, rounded outward to whole pixels; one reference for the caller.
// Places where the image is not are transparent. Null for a nil image and for an empty or infinite rectangle.
- (CGImageRef)createCGImage:(CIImage*)image fromRect:(CGRect)rect;

// Writes a rectangle of the image as premultiplied pixels, the topmost row first.
//
// The caller's memory holds rowBytes bytes for every row; the rectangle is rounded outward to whole pixels. Without a colour
// space the numbers are linear. Nothing is written for a nil image, an empty or infinite rectangle or an unknown format.
- (void)render:(CIImage*)image
      toBitmap:(void*)bitmap
      rowBytes:(ptrdiff_t)rowBytes
        bounds:(CGRect)bounds
        format:(CIFormat)format
    colorSpace:(CGColorSpaceRef)colorSpace;

@end
