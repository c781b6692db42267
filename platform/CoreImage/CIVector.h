// CIVector.h - an immutable list of numbers: a point, a rectangle, an offset, weights.
//
// Ownership: the class methods return autoreleased objects.
// Threads:   vectors never change and may be used on any thread.

#pragma once

#import <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

@interface CIVector : NSObject <NSCopying> {
  @private
    size_t _count;
    CGFloat* _values;
}

// A vector of the given numbers; nil when there are none.
+ (CIVector*)vectorWithValues:(const CGFloat*)values count:(size_t)count;
+ (CIVector*)vectorWithX:(CGFloat)x;
+ (CIVector*)vectorWithX:(CGFloat)x Y:(CGFloat)y;
+ (CIVector*)vectorWithX:(CGFloat)x Y:(CGFloat)y Z:(CGFloat)z;
+ (CIVector*)vectorWithX:(CGFloat)x Y:(CGFloat)y Z:(CGFloat)z W:(CGFloat)w;
+ (CIVector*)vectorWithCGPoint:(CGPoint)point;
+ (CIVector*)vectorWithCGRect:(CGRect)rect;

// The number of elements, and one of them; 0 beyond the last.
- (size_t)count;
- (CGFloat)valueAtIndex:(size_t)index;

// The first four numbers; 0 for those that are missing.
- (CGFloat)X;
- (CGFloat)Y;
- (CGFloat)Z;
- (CGFloat)W;

// The first two numbers as a point, the first four as a rectangle.
- (CGPoint)CGPointValue;
- (CGRect)CGRectValue;

// The numbers in brackets: "[1 0.5 0]".
- (NSString*)stringRepresentation;

@end
