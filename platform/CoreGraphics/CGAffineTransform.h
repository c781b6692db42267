// CGAffineTransform.h - affine transforms of the plane.
//
// Threads: plain values, safe anywhere.

#pragma once

#include <CoreGraphics/CGBase.h>

// x' = a x + c y + tx, y' = b x + d y + ty.
typedef struct CGAffineTransform {
    CGFloat a;
    CGFloat b;
    CGFloat c;
    CGFloat d;
    CGFloat tx;
    CGFloat ty;
} CGAffineTransform;

// Returns the transform with these six components.
static inline CGAffineTransform CGAffineTransformMake(CGFloat a, CGFloat b, CGFloat c, CGFloat d, CGFloat tx,
                                                      CGFloat ty) {
    CGAffineTransform transform = {a, b, c, d, tx, ty};
    return transform;
}
