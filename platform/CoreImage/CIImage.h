// CIImage.h - an immutable recipe for an image; pixels exist only when a context renders it.
//
// The extent is the rectangle outside which the image is transparent. An infinite extent is CGRectInfinite.
// Ownership: the class methods return autoreleased objects. An image keeps whatever it was made from.
// Threads:   images never change and may be used and rendered on any thread.

#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <CoreImage/CIColor.h>
#import <Foundation/Foundation.h>

// The layout of a bitmap's pixels.
typedef int CIFormat;
CG_EXTERN CIFormat kCIFormatRGBA8;   // four bytes
CG_EXTERN CIFormat kCIFormatRGBA16;  // four 16-bit integers in the byte order of the machine
CG_EXTERN CIFormat kCIFormatRGBAf;   // four floats

// The option that replaces a bitmap's own color space: a color space, or NSNull for numbers that are used unchanged.
CG_EXTERN NSString* const kCIImageColorSpace;

// The option that names a picture in messages, a string. macOS does not have it.
CG_EXTERN NSString* const kCIImageName;

// The option that gives bitmaps of a picture with a sequential provider at smaller scales: an array of images at a
// half, a quarter and an eighth of its size, rounded up, or NSNull. They are used where the picture is shown much
// smaller. macOS does not have it.
CG_EXTERN NSString* const kCIImageReducedImages;

@interface CIImage : NSObject <NSCopying> {
  @private
    void* _handle;
}

// The image of a picture file, its lower left corner at (0, 0); nil when the file cannot be read.
+ (CIImage*)imageWithContentsOfURL:(NSURL*)url;
+ (CIImage*)imageWithContentsOfURL:(NSURL*)url options:(NSDictionary*)options;
+ (CIImage*)imageWithData:(NSData*)data;
+ (CIImage*)imageWithData:(NSData*)data options:(NSDictionary*)options;

// The image of a bitmap, its lower left corner at (0, 0); nil when the bitmap is null. The bytes are kept, not copied.
// Those of a bitmap with a sequential provider are requested while the image is rendered, and only some of them are
// kept.
+ (CIImage*)imageWithCGImage:(CGImageRef)image;
+ (CIImage*)imageWithCGImage:(CGImageRef)image options:(NSDictionary*)options;

// One color everywhere; infinite. Returns nil when the color is nil.
+ (CIImage*)imageWithColor:(CIColor*)color;

// The image of premultiplied pixels, the topmost row first, its lower left corner at (0, 0). The data is kept, not
// copied, and must not change. Without a color space the numbers are linear light.
//
// Returns nil when the data is nil or too short for the size, and when the format is neither kCIFormatRGBA8 nor
// kCIFormatRGBAf. 0 is not a format.
+ (CIImage*)imageWithBitmapData:(NSData*)data
                    bytesPerRow:(size_t)bytesPerRow
                           size:(CGSize)size
                         format:(CIFormat)format
                     colorSpace:(CGColorSpaceRef)colorSpace;

// An image with nothing in it: its extent is empty.
+ (CIImage*)emptyImage;

- (CGRect)extent;

// The part inside a rectangle, which is rounded outward to whole pixels. The part is not moved.
- (CIImage*)imageByCroppingToRect:(CGRect)rect;

// The image under a map, interpolated between pixels; nil for a map that cannot be inverted.
- (CIImage*)imageByApplyingTransform:(CGAffineTransform)transform;

// The image over a background; the image itself when the background is nil.
- (CIImage*)imageByCompositingOverImage:(CIImage*)background;

// The image rotated and mirrored so that a picture taken with an orientation, 1 to 8 as in Exif, is upright. Its
// lower left corner is at (0, 0); an infinite image turns around that point. Any other number counts as 1.
- (CIImage*)imageByApplyingOrientation:(int)orientation;

@end
