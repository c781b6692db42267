// CGGeometry.cpp - arithmetic on rectangles.
//
// Each function standardizes its arguments, so a negative width or height is fine everywhere.

#include <CoreGraphics/CGGeometry.h>

#include <algorithm>
#include <cmath>
#include <limits>

const CGPoint CGPointZero = {0, 0};
const CGSize CGSizeZero = {0, 0};
const CGRect CGRectZero = {{0, 0}, {0, 0}};
const CGRect CGRectNull = {{std::numeric_limits<CGFloat>::infinity(), std::numeric_limits<CGFloat>::infinity()},
                           {0, 0}};
const CGRect CGRectInfinite = {{-CGFLOAT_MAX / 2, -CGFLOAT_MAX / 2}, {CGFLOAT_MAX, CGFLOAT_MAX}};

CGFloat CGRectGetMinX(CGRect rect) { return CGRectStandardize(rect).origin.x; }

CGFloat CGRectGetMinY(CGRect rect) { return CGRectStandardize(rect).origin.y; }

CGFloat CGRectGetMaxX(CGRect rect) { return std::max(rect.origin.x, rect.origin.x + rect.size.width); }

CGFloat CGRectGetMaxY(CGRect rect) { return std::max(rect.origin.y, rect.origin.y + rect.size.height); }

CGFloat CGRectGetWidth(CGRect rect) { return std::abs(rect.size.width); }

CGFloat CGRectGetHeight(CGRect rect) { return std::abs(rect.size.height); }

bool CGPointEqualToPoint(CGPoint first, CGPoint second) { return first.x == second.x && first.y == second.y; }

bool CGSizeEqualToSize(CGSize first, CGSize second) {
    return first.width == second.width && first.height == second.height;
}

bool CGRectEqualToRect(CGRect first, CGRect second) {
    first = CGRectStandardize(first);
    second = CGRectStandardize(second);
    return CGPointEqualToPoint(first.origin, second.origin) && CGSizeEqualToSize(first.size, second.size);
}

CGRect CGRectStandardize(CGRect rect) {
    if (CGRectIsNull(rect)) return CGRectNull;
    if (rect.size.width < 0) {
        rect.origin.x += rect.size.width;
        rect.size.width = -rect.size.width;
    }
    if (rect.size.height < 0) {
        rect.origin.y += rect.size.height;
        rect.size.height = -rect.size.height;
    }
    return rect;
}

bool CGRectIsEmpty(CGRect rect) { return CGRectIsNull(rect) || rect.size.width == 0 || rect.size.height == 0; }

bool CGRectIsNull(CGRect rect) { return rect.origin.x == CGRectNull.origin.x || rect.origin.y == CGRectNull.origin.y; }

bool CGRectIsInfinite(CGRect rect) { return CGRectEqualToRect(rect, CGRectInfinite); }

CGRect CGRectInset(CGRect rect, CGFloat dx, CGFloat dy) {
    rect = CGRectStandardize(rect);
    if (CGRectIsNull(rect)) return rect;
    rect = CGRectMake(rect.origin.x + dx, rect.origin.y + dy, rect.size.width - 2 * dx, rect.size.height - 2 * dy);
    return rect.size.width < 0 || rect.size.height < 0 ? CGRectNull : rect;
}

CGRect CGRectOffset(CGRect rect, CGFloat dx, CGFloat dy) {
    rect = CGRectStandardize(rect);
    return CGRectMake(rect.origin.x + dx, rect.origin.y + dy, rect.size.width, rect.size.height);
}

CGRect CGRectIntegral(CGRect rect) {
    rect = CGRectStandardize(rect);
    if (CGRectIsNull(rect) || CGRectIsInfinite(rect)) return rect;
    const CGFloat x = std::floor(rect.origin.x);
    const CGFloat y = std::floor(rect.origin.y);
    return CGRectMake(x, y, std::ceil(rect.origin.x + rect.size.width) - x,
                      std::ceil(rect.origin.y + rect.size.height) - y);
}

CGRect CGRectUnion(CGRect first, CGRect second) {
    if (CGRectIsNull(first)) return CGRectStandardize(second);
    if (CGRectIsNull(second)) return CGRectStandardize(first);
    const CGFloat x = std::min(CGRectGetMinX(first), CGRectGetMinX(second));
    const CGFloat y = std::min(CGRectGetMinY(first), CGRectGetMinY(second));
    return CGRectMake(x, y, std::max(CGRectGetMaxX(first), CGRectGetMaxX(second)) - x,
                      std::max(CGRectGetMaxY(first), CGRectGetMaxY(second)) - y);
}

CGRect CGRectIntersection(CGRect first, CGRect second) {
    if (CGRectIsNull(first) || CGRectIsNull(second)) return CGRectNull;
    const CGFloat x = std::max(CGRectGetMinX(first), CGRectGetMinX(second));
    const CGFloat y = std::max(CGRectGetMinY(first), CGRectGetMinY(second));
    const CGFloat width = std::min(CGRectGetMaxX(first), CGRectGetMaxX(second)) - x;
    const CGFloat height = std::min(CGRectGetMaxY(first), CGRectGetMaxY(second)) - y;
    return width < 0 || height < 0 ? CGRectNull : CGRectMake(x, y, width, height);
}
