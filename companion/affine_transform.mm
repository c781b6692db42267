// affine_transform.mm - NSAffineTransformQOR, an affine map: x' = a x + c y + tx, y' = b x + d y + ty.
//
//   NSAffineTransformQOR.Make(1, 0, 0, 1, 20, 0)      A  B  C  D  TX  TY
//
// Numbers keep what fits the platform's number type: single precision on 32 bits.

#import <Foundation/Foundation.h>

#include "companion/class_record.h"
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

double GetA(ZEVAobjectStruct* self) { return ElementsOf(self).m11; }
double GetB(ZEVAobjectStruct* self) { return ElementsOf(self).m12; }
double GetC(ZEVAobjectStruct* self) { return ElementsOf(self).m21; }
double GetD(ZEVAobjectStruct* self) { return ElementsOf(self).m22; }
double GetTX(ZEVAobjectStruct* self) { return ElementsOf(self).tX; }
double GetTY(ZEVAobjectStruct* self) { return ElementsOf(self).tY; }

ZEVAmethod methods[] = {
    COMPANION_METHOD("A as double", GetA),   COMPANION_METHOD("B as double", GetB),
    COMPANION_METHOD("C as double", GetC),   COMPANION_METHOD("D as double", GetD),
    COMPANION_METHOD("TX as double", GetTX), COMPANION_METHOD("TY as double", GetTY),
};

ZEVAmethod sharedMethods[] = {
    COMPANION_METHOD("Make(a as double, b as double, c as double, d as double, tx as double, ty as double) "
                     "as NSAffineTransformQOR",
                     NewTransform),
};

}  // namespace

ZEVAclassDefinition NSAffineTransformClass = COMPANION_VALUE_CLASS("NSAffineTransformQOR");
