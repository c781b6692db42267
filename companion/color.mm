// color.mm - CIColorQOR, a color: red, green, blue and straight alpha in sRGB.
//
//   CIColorQOR.RGBA(1, 0.5, 0, 1)
//   CIColorQOR.Hex("#ff8000")      Red  Green  Blue  Alpha  WithAlpha(0.5)  Text
//
// Components are stored as CGFloat, which is single precision in 32-bit builds.

#import <CoreImage/CoreImage.h>

#include <charconv>
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "companion/class_record.h"
#include "companion/host_text.h"
#include "companion/value_object.h"

namespace {

CIColor* ColorOf(ZEVAobjectStruct* self) { return WrappedIn(self); }

ZEVAobjectStruct* NewRGBA(double red, double green, double blue, double alpha) {
    return NewValueObject("CIColorQOR", [CIColor colorWithRed:static_cast<CGFloat>(red)
                                                        green:static_cast<CGFloat>(green)
                                                         blue:static_cast<CGFloat>(blue)
                                                        alpha:static_cast<CGFloat>(alpha)]);
}

// Reads "rrggbb" or "rrggbbaa", with or without a leading "#". Raises for any other text.
ZEVAobjectStruct* NewHex(ZEVAstringStruct* digits) {
    NSString* text = TextOf(digits);
    const char* first = [text UTF8String];
    if (first != nullptr && *first == '#') ++first;
    const std::size_t length = first != nullptr ? std::strlen(first) : 0;
    std::uint32_t number = 0;
    const char* end = first + length;
    const bool isNumber = length > 0 && std::from_chars(first, end, number, 16).ptr == end;
    if (!isNumber || (length != 6 && length != 8)) {
        NSString* reason =
            [NSString stringWithFormat:@"expected \"#rrggbb\" or \"#rrggbbaa\", got \"%@\"", text != nil ? text : @""];
        RaiseAbout(@"CIColorQOR.Hex", reason, @"no color was created");
        return nullptr;
    }
    if (length == 6) number = number << 8 | 0xff;
    const auto component = [number](int shift) { return static_cast<CGFloat>((number >> shift & 0xff) / 255.0); };
    return NewValueObject("CIColorQOR", [CIColor colorWithRed:component(24)
                                                        green:component(16)
                                                         blue:component(8)
                                                        alpha:component(0)]);
}

// Returns the same color with another alpha.
ZEVAobjectStruct* WithAlpha(ZEVAobjectStruct* self, double alpha) {
    CIColor* color = ColorOf(self);
    if (color == nil) return nullptr;
    return NewValueObject("CIColorQOR", [CIColor colorWithRed:[color red]
                                                        green:[color green]
                                                         blue:[color blue]
                                                        alpha:static_cast<CGFloat>(alpha)]);
}

// Returns the components in the platform's format; nil for an object without a value.
ZEVAstringStruct* GetColorText(ZEVAobjectStruct* self) { return NewHostString([ColorOf(self) stringRepresentation]); }

double GetRed(ZEVAobjectStruct* self) { return [ColorOf(self) red]; }
double GetGreen(ZEVAobjectStruct* self) { return [ColorOf(self) green]; }
double GetBlue(ZEVAobjectStruct* self) { return [ColorOf(self) blue]; }
double GetAlpha(ZEVAobjectStruct* self) { return [ColorOf(self) alpha]; }

ZEVAmethod colorMethods[] = {
    COMPANION_METHOD("Red as double", GetRed),
    COMPANION_METHOD("Green as double", GetGreen),
    COMPANION_METHOD("Blue as double", GetBlue),
    COMPANION_METHOD("Alpha as double", GetAlpha),
    COMPANION_METHOD("WithAlpha(alpha as double) as CIColorQOR", WithAlpha),
    COMPANION_METHOD("Text as string", GetColorText),
};

ZEVAmethod colorSharedMethods[] = {
    COMPANION_METHOD("RGBA(red as double, green as double, blue as double, alpha as double) as CIColorQOR", NewRGBA),
    COMPANION_METHOD("Hex(digits as string) as CIColorQOR", NewHex),
};

}  // namespace

ZEVAclassDefinition CIColorClass = COMPANION_VALUE_CLASS("CIColorQOR", colorMethods, colorSharedMethods);
