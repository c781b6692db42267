// CGAffineTransform.h - maps of the plane that keep lines straight and parallel.
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

// A map from its numbers.
static inline CGAffineTransform CGAffineTransformMake(CGFloat a, CGFloat b, CGFloat c, CGFloat d, CGFloat tx,
                                                      CGFloat ty) {
    CGAffineTransform transform = {a, b, c, d, tx, ty};
    return transform;
}
