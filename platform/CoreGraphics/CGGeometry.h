// CGGeometry.h - points, sizes and rectangles.
//
// The origin of a rectangle is its lower left corner. Width and height may be negative; the functions standardize
// such a rectangle first. Two rectangles are special: the null rectangle, which is the intersection of disjoint
// rectangles, and the infinite rectangle.
//
// Threads: plain values, safe anywhere.

#pragma once

#include <CoreGraphics/CGBase.h>

// A point in the plane.
typedef struct CGPoint {
    CGFloat x;
    CGFloat y;
} CGPoint;

// A width and a height.
typedef struct CGSize {
    CGFloat width;
    CGFloat height;
} CGSize;

// The rectangle between its origin and the opposite corner.
typedef struct CGRect {
    CGPoint origin;
    CGSize size;
} CGRect;

// Constants. CGRectInfinite extends half of the largest number in every direction.
CG_EXTERN const CGPoint CGPointZero;
CG_EXTERN const CGSize CGSizeZero;
CG_EXTERN const CGRect CGRectZero;
CG_EXTERN const CGRect CGRectNull;
CG_EXTERN const CGRect CGRectInfinite;

// Return a point, size or rectangle with these components.
static inline CGPoint CGPointMake(CGFloat x, CGFloat y) {
    CGPoint point = {x, y};
    return point;
}
static inline CGSize CGSizeMake(CGFloat width, CGFloat height) {
    CGSize size = {width, height};
    return size;
}
static inline CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height) {
    CGRect rect = {{x, y}, {width, height}};
    return rect;
}

// Return the edges, the width and the height of the standardized rectangle.
CG_EXTERN CGFloat CGRectGetMinX(CGRect rect);
CG_EXTERN CGFloat CGRectGetMinY(CGRect rect);
CG_EXTERN CGFloat CGRectGetMaxX(CGRect rect);
CG_EXTERN CGFloat CGRectGetMaxY(CGRect rect);
CG_EXTERN CGFloat CGRectGetWidth(CGRect rect);
CG_EXTERN CGFloat CGRectGetHeight(CGRect rect);

// Return whether two points, sizes or rectangles are equal; rectangles are standardized first.
CG_EXTERN bool CGPointEqualToPoint(CGPoint first, CGPoint second);
CG_EXTERN bool CGSizeEqualToSize(CGSize first, CGSize second);
CG_EXTERN bool CGRectEqualToRect(CGRect first, CGRect second);

// Returns the same rectangle with non-negative width and height.
CG_EXTERN CGRect CGRectStandardize(CGRect rect);

// Return whether a rectangle has no area (true for null as well), is the null rectangle, is the infinite rectangle.
CG_EXTERN bool CGRectIsEmpty(CGRect rect);
CG_EXTERN bool CGRectIsNull(CGRect rect);
CG_EXTERN bool CGRectIsInfinite(CGRect rect);

// Returns the rectangle with each side moved inward by dx or dy; null when nothing is left. Negative distances grow it.
CG_EXTERN CGRect CGRectInset(CGRect rect, CGFloat dx, CGFloat dy);

// Returns the rectangle moved by dx and dy.
CG_EXTERN CGRect CGRectOffset(CGRect rect, CGFloat dx, CGFloat dy);

// Returns the smallest rectangle with integral edges that contains this one.
CG_EXTERN CGRect CGRectIntegral(CGRect rect);

// Returns the smallest rectangle that contains both; the null rectangle adds nothing.
CG_EXTERN CGRect CGRectUnion(CGRect first, CGRect second);

// Returns the intersection of two rectangles; null when they are disjoint.
CG_EXTERN CGRect CGRectIntersection(CGRect first, CGRect second);
