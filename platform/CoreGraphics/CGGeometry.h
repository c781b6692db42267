// CGGeometry.h - points, sizes and rectangles.
//
// A rectangle may have a negative width or height; the functions read it as the standardized one. Two rectangles are special:
// the null one (no place at all, what disjoint rectangles share) and the infinite one. The origin is the lower left corner.
// Threads: plain values, safe anywhere.

#pragma once

#include <CoreGraphics/CGBase.h>

// A place.
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

// The constants of each; CGRectInfinite reaches half of the largest number in every direction.
CG_EXTERN const CGPoint CGPointZero;
CG_EXTERN const CGSize CGSizeZero;
CG_EXTERN const CGRect CGRectZero;
CG_EXTERN const CGRect CGRectNull;
CG_EXTERN const CGRect CGRectInfinite;

// The three values from their components.
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

// The edges and lengths of the standardized rectangle.
CG_EXTERN CGFloat CGRectGetMinX(CGRect rect);
CG_EXTERN CGFloat CGRectGetMinY(CGRect rect);
CG_EXTERN CGFloat CGRectGetMaxX(CGRect rect);
CG_EXTERN CGFloat CGRectGetMaxY(CGRect rect);
CG_EXTERN CGFloat CGRectGetWidth(CGRect rect);
CG_EXTERN CGFloat CGRectGetHeight(CGRect rect);

// Whether two points, sizes or rectangles are the same; rectangles are standardized first.
CG_EXTERN bool CGPointEqualToPoint(CGPoint first, CGPoint second);
CG_EXTERN bool CGSizeEqualToSize(CGSize first, CGSize second);
CG_EXTERN bool CGRectEqualToRect(CGRect first, CGRect second);

// The same rectangle with positive width and height.
CG_EXTERN CGRect CGRectStandardize(CGRect rect);

// Whether a rectangle has no area (the null one has none), is the null one, is the infinite one.
CG_EXTERN bool CGRectIsEmpty(CGRect rect);
CG_EXTERN bool CGRectIsNull(CGRect rect);
CG_EXTERN bool CGRectIsInfinite(CGRect rect);

// The rectangle moved in by dx and dy on every side; null when nothing is left. Negative distances grow it.
CG_EXTERN CGRect CGRectInset(CGRect rect, CGFloat dx, CGFloat dy);

// The rectangle moved.
CG_EXTERN CGRect CGRectOffset(CGRect rect, CGFloat dx, CGFloat dy);

// The smallest rectangle with whole edges that contains this one.
CG_EXTERN CGRect CGRectIntegral(CGRect rect);

// The smallest rectangle around both; the null rectangle adds nothing.
CG_EXTERN CGRect CGRectUnion(CGRect first, CGRect second);

// What two rectangles share; null when they share nothing.
CG_EXTERN CGRect CGRectIntersection(CGRect first, CGRect second);
