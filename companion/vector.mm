// vector.mm - CIVectorQOR, a list of numbers: a point, a rectangle, weights.
//
//   CIVectorQOR.Point(150, 150)
//   CIVectorQOR.Rectangle(0, 0, 640, 480)
//   CIVectorQOR.FromNumbers("0 0.25 0, 0.25 1 0.25, 0 0.25 0")      Count  ValueAt(index)  X  Y  Width  Height  Text
//
// Numbers are stored as CGFloat, which is single precision in 32-bit builds.

#import <CoreImage/CoreImage.h>

#include <cstddef>
#include <cstdint>

#include "companion/class_record.h"
#include "companion/host_text.h"
#include "companion/value_object.h"

namespace {

CIVector* VectorOf(ZEVAobjectStruct* self) { return WrappedIn(self); }

ZEVAobjectStruct* NewRectangle(double x, double y, double width, double height) {
    const CGRect rectangle = CGRectMake(static_cast<CGFloat>(x), static_cast<CGFloat>(y), static_cast<CGFloat>(width),
                                        static_cast<CGFloat>(height));
    return NewValueObject("CIVectorQOR", [CIVector vectorWithX:rectangle.origin.x
                                                             Y:rectangle.origin.y
                                                             Z:rectangle.size.width
                                                             W:rectangle.size.height]);
}

ZEVAobjectStruct* NewPoint(double x, double y) {
    return NewValueObject("CIVectorQOR", [CIVector vectorWithX:static_cast<CGFloat>(x) Y:static_cast<CGFloat>(y)]);
}

// Reads one or more numbers, separated by spaces or commas. Raises for anything else.
ZEVAobjectStruct* NewFromNumbers(ZEVAstringStruct* list) {
    NSString* text = TextOf(list);
    if (text == nil) {
        RaiseWithMessage(@"CIVectorQOR.FromNumbers: the list is nil; no vector was created");
        return nullptr;
    }
    NSScanner* scanner = [NSScanner scannerWithString:text];
    [scanner setCharactersToBeSkipped:[NSCharacterSet characterSetWithCharactersInString:@" ,\t\r\n"]];
    NSMutableData* numbers = [NSMutableData data];
    double number = 0;
    while (![scanner isAtEnd] && [scanner scanDouble:&number]) {
        const auto value = static_cast<CGFloat>(number);
        [numbers appendBytes:&value length:sizeof value];
    }
    const NSUInteger count = [numbers length] / sizeof(CGFloat);
    if (![scanner isAtEnd] || count == 0) {
        NSString* rest = [text substringFromIndex:[scanner scanLocation]];
        RaiseWithMessage([NSString
            stringWithFormat:
                @"CIVectorQOR.FromNumbers: expected a number after %u numbers, found \"%@\"; no vector was created",
                static_cast<unsigned>(count), rest]);
        return nullptr;
    }
    return NewValueObject("CIVectorQOR", [CIVector vectorWithValues:static_cast<const CGFloat*>([numbers bytes])
                                                              count:count]);
}

std::int32_t GetCount(ZEVAobjectStruct* self) { return static_cast<std::int32_t>([VectorOf(self) count]); }

// Raises for an index outside the vector.
double ValueAt(ZEVAobjectStruct* self, std::int32_t index) {
    const std::int32_t count = GetCount(self);
    if (index >= 0 && index < count) return [VectorOf(self) valueAtIndex:static_cast<size_t>(index)];
    RaiseWithMessage([NSString stringWithFormat:@"CIVectorQOR.ValueAt: index %d is outside 0...%d",
                                                static_cast<int>(index), static_cast<int>(count - 1)]);
    return 0;
}

// The numbers by name; 0 for a missing one. The third and the fourth are also the width and height of a rectangle.
double GetX(ZEVAobjectStruct* self) { return [VectorOf(self) X]; }
double GetY(ZEVAobjectStruct* self) { return [VectorOf(self) Y]; }
double GetZ(ZEVAobjectStruct* self) { return [VectorOf(self) Z]; }
double GetW(ZEVAobjectStruct* self) { return [VectorOf(self) W]; }

// Returns the numbers in the platform's format; nil for an object without a value.
ZEVAstringStruct* GetVectorText(ZEVAobjectStruct* self) { return NewHostString([VectorOf(self) stringRepresentation]); }

ZEVAmethod vectorMethods[] = {
    COMPANION_METHOD("Count as integer", GetCount),
    COMPANION_METHOD("ValueAt(index as integer) as double", ValueAt),
    COMPANION_METHOD("X as double", GetX),
    COMPANION_METHOD("Y as double", GetY),
    COMPANION_METHOD("Z as double", GetZ),
    COMPANION_METHOD("W as double", GetW),
    COMPANION_METHOD("Width as double", GetZ),
    COMPANION_METHOD("Height as double", GetW),
    COMPANION_METHOD("Text as string", GetVectorText),
};

ZEVAmethod vectorSharedMethods[] = {
    COMPANION_METHOD("Rectangle(x as double, y as double, width as double, height as double) as CIVectorQOR",
                     NewRectangle),
    COMPANION_METHOD("Point(x as double, y as double) as CIVectorQOR", NewPoint),
    COMPANION_METHOD("FromNumbers(list as string) as CIVectorQOR", NewFromNumbers),
};

}  // namespace

ZEVAclassDefinition CIVectorClass = COMPANION_VALUE_CLASS("CIVectorQOR", vectorMethods, vectorSharedMethods);
