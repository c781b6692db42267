// affine_transform.mm - NSAffineTransformQOR, an affine map: x' = a x + c y + tx, y' = b x + d y + ty.
//
//   NSAffineTransformQOR.Make(1, 0, 0, 1, 20, 0)                 A  B  C  D  TX  TY
//   NSAffineTransformQOR.Identity():Scale(2, 2):Rotate(0.5)      Translate  Concat  Inverse  Apply
//
// A transform is immutable. Each step returns a new transform, which applies the old one first and then the step.
// Angles are in radians, counterclockwise, like the angles of the filters.
//
// Elements are stored as CGFloat, which is single precision in 32-bit builds.

#import <CoreImage/CoreImage.h>

#include <cmath>

#include "companion/class_record.h"
#include "companion/host_text.h"
#include "companion/value_object.h"

namespace {

NSAffineTransformStruct ElementsOf(ZEVAobjectStruct* self) {
    NSAffineTransform* transform = WrappedIn(self);
    return transform != nil ? [transform transformStruct] : NSAffineTransformStruct{};
}

ZEVAobjectStruct* NewTransform(double a, double b, double c, double d, double tx, double ty) {
    NSAffineTransform* transform = [NSAffineTransform transform];
    [transform setTransformStruct:{static_cast<CGFloat>(a), static_cast<CGFloat>(b), static_cast<CGFloat>(c),
                                   static_cast<CGFloat>(d), static_cast<CGFloat>(tx), static_cast<CGFloat>(ty)}];
    return NewValueObject("NSAffineTransformQOR", transform);
}

// Returns a transform that applies `first` and then the transform with the given elements.
ZEVAobjectStruct* NewAfter(ZEVAobjectStruct* first, double a, double b, double c, double d, double tx, double ty) {
    const NSAffineTransformStruct e = ElementsOf(first);
    return NewTransform(e.m11 * a + e.m12 * c, e.m11 * b + e.m12 * d, e.m21 * a + e.m22 * c, e.m21 * b + e.m22 * d,
                        e.tX * a + e.tY * c + tx, e.tX * b + e.tY * d + ty);
}

ZEVAobjectStruct* NewIdentity() { return NewTransform(1, 0, 0, 1, 0, 0); }

ZEVAobjectStruct* Translate(ZEVAobjectStruct* self, double x, double y) { return NewAfter(self, 1, 0, 0, 1, x, y); }

ZEVAobjectStruct* Scale(ZEVAobjectStruct* self, double x, double y) { return NewAfter(self, x, 0, 0, y, 0, 0); }

ZEVAobjectStruct* Rotate(ZEVAobjectStruct* self, double radians) {
    const double cosine = std::cos(radians);
    const double sine = std::sin(radians);
    return NewAfter(self, cosine, sine, -sine, cosine, 0, 0);
}

// Raises for nil.
ZEVAobjectStruct* Concat(ZEVAobjectStruct* self, ZEVAobjectStruct* next) {
    if (WrappedIn(next) == nil) {
        RaiseAbout(@"NSAffineTransformQOR.Concat", @"the transform is nil", @"no transform was created");
        return nullptr;
    }
    const NSAffineTransformStruct e = ElementsOf(next);
    return NewAfter(self, e.m11, e.m12, e.m21, e.m22, e.tX, e.tY);
}

// Raises for a transform that maps the plane to a line or a point.
ZEVAobjectStruct* NewInverse(ZEVAobjectStruct* self) {
    const NSAffineTransformStruct e = ElementsOf(self);
    const double determinant = double{e.m11} * double{e.m22} - double{e.m12} * double{e.m21};
    if (determinant == 0 || !std::isfinite(determinant)) {
        RaiseAbout(@"NSAffineTransformQOR.Inverse", @"the transform is not invertible", @"no transform was created");
        return nullptr;
    }
    const double a = e.m22 / determinant;
    const double b = -e.m12 / determinant;
    const double c = -e.m21 / determinant;
    const double d = e.m11 / determinant;
    return NewTransform(a, b, c, d, -(e.tX * a + e.tY * c), -(e.tX * b + e.tY * d));
}

// Transforms a point, the first two numbers of a vector. Raises for nil.
ZEVAobjectStruct* Apply(ZEVAobjectStruct* self, ZEVAobjectStruct* point) {
    CIVector* from = WrappedIn(point);
    if (from == nil) {
        RaiseAbout(@"NSAffineTransformQOR.Apply", @"the point is nil", @"no point was created");
        return nullptr;
    }
    const NSAffineTransformStruct e = ElementsOf(self);
    const double x = [from X];
    const double y = [from Y];
    return NewValueObject("CIVectorQOR", [CIVector vectorWithX:static_cast<CGFloat>(x * e.m11 + y * e.m21 + e.tX)
                                                             Y:static_cast<CGFloat>(x * e.m12 + y * e.m22 + e.tY)]);
}

double GetA(ZEVAobjectStruct* self) { return ElementsOf(self).m11; }
double GetB(ZEVAobjectStruct* self) { return ElementsOf(self).m12; }
double GetC(ZEVAobjectStruct* self) { return ElementsOf(self).m21; }
double GetD(ZEVAobjectStruct* self) { return ElementsOf(self).m22; }
double GetTX(ZEVAobjectStruct* self) { return ElementsOf(self).tX; }
double GetTY(ZEVAobjectStruct* self) { return ElementsOf(self).tY; }

ZEVAmethod transformMethods[] = {
    COMPANION_METHOD("A as double", GetA),
    COMPANION_METHOD("B as double", GetB),
    COMPANION_METHOD("C as double", GetC),
    COMPANION_METHOD("D as double", GetD),
    COMPANION_METHOD("TX as double", GetTX),
    COMPANION_METHOD("TY as double", GetTY),
    COMPANION_METHOD("Translate(x as double, y as double) as NSAffineTransformQOR", Translate),
    COMPANION_METHOD("Scale(x as double, y as double) as NSAffineTransformQOR", Scale),
    COMPANION_METHOD("Rotate(radians as double) as NSAffineTransformQOR", Rotate),
    COMPANION_METHOD("Concat(next as NSAffineTransformQOR) as NSAffineTransformQOR", Concat),
    COMPANION_METHOD("Inverse() as NSAffineTransformQOR", NewInverse),
    COMPANION_METHOD("Apply(point as CIVectorQOR) as CIVectorQOR", Apply),
};

ZEVAmethod transformSharedMethods[] = {
    COMPANION_METHOD("Identity() as NSAffineTransformQOR", NewIdentity),
    COMPANION_METHOD("Make(a as double, b as double, c as double, d as double, tx as double, ty as double) "
                     "as NSAffineTransformQOR",
                     NewTransform),
};

}  // namespace

ZEVAclassDefinition NSAffineTransformClass =
    COMPANION_VALUE_CLASS("NSAffineTransformQOR", transformMethods, transformSharedMethods);
