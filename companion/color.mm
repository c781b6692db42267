// color.mm - CIColorQOR, a colour: red, green, blue and alpha, not premultiplied, in sRGB.
//
//   CIColorQOR.RGBA(1, 0.5, 0, 1)      Red  Green  Blue  Alpha
//
// Components keep what fits the platform's number type: single precision on 32 bits.

#import <CoreImage/CoreImage.h>

#include "companion/class_record.h"
#include "companion/value_object.h"

namespace {

CIColor* ColorOf(ZEVAobjectStruct* self) { return WrappedIn(self); }

ZEVAobjectStruct* NewRGBA(double red, double green, double blue, double alpha) {
    return NewValueObject("CIColorQOR", [CIColor colorWithRed:static_cast<CGFloat>(red)
                                                        green:static_cast<CGFloat>(green)
                                                         blue:static_cast<CGFloat>(blue)
                                                        alpha:static_cast<CGFloat>(alpha)]);
}

double GetRed(ZEVAobjectStruct* self) { return [ColorOf(self) red]; }
double GetGreen(ZEVAobjectStruct* self) { return [ColorOf(self) green]; }
double GetBlue(ZEVAobjectStruct* self) { return [ColorOf(self) blue]; }
double GetAlpha(ZEVAobjectStruct* self) { return [ColorOf(self) alpha]; }

ZEVAmethod methods[] = {
    COMPANION_METHOD("Red as double", GetRed),
    COMPANION_METHOD("Green as double", GetGreen),
    COMPANION_METHOD("Blue as double", GetBlue),
    COMPANION_METHOD("Alpha as double", GetAlpha),
};

ZEVAmethod sharedMethods[] = {
    COMPANION_METHOD("RGBA(red as double, green as double, blue as double, alpha as double) as CIColorQOR", NewRGBA),
};

}  // namespace

ZEVAclassDefinition CIColorClass = COMPANION_VALUE_CLASS("CIColorQOR");
