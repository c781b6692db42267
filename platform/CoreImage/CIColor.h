// CIColor.h - an immutable color: red, green, blue and alpha, not premultiplied, in sRGB.
//
// Ownership: the class methods return autoreleased objects.
// Threads:   colors never change and may be used on any thread.

#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

@interface CIColor : NSObject <NSCopying> {
  @private
    CGFloat _components[4];
}

// A color of the given components; alpha is 1 where it is not given. Components outside 0...1 are kept.
+ (CIColor*)colorWithRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue;
+ (CIColor*)colorWithRed:(CGFloat)red green:(CGFloat)green blue:(CGFloat)blue alpha:(CGFloat)alpha;

// A color from its string representation. Missing components read as 0, a missing alpha as 1.
+ (CIColor*)colorWithString:(NSString*)representation;

// The four components in the order red, green, blue, alpha; owned by the color.
- (const CGFloat*)components;
- (size_t)numberOfComponents;

// One component each.
- (CGFloat)red;
- (CGFloat)green;
- (CGFloat)blue;
- (CGFloat)alpha;

// The space of the components: sRGB; owned by the color.
- (CGColorSpaceRef)colorSpace;

// The components separated by spaces: "1 0.5 0 1".
- (NSString*)stringRepresentation;

@end
