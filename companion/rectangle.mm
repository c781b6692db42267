// rectangle.mm - converts a vector of four numbers to a rectangle.

#include "companion/rectangle.h"

#import <CoreImage/CoreImage.h>

#include "companion/value_object.h"

NSString* RectangleIn(ZEVAobjectStruct* vector, CGRect* rectangle) {
    CIVector* numbers = WrappedIn(vector);
    if (numbers == nil) return @"the rectangle is nil";
    if ([numbers count] != 4) {
        return [NSString stringWithFormat:@"a rectangle has 4 numbers, got %u", static_cast<unsigned>([numbers count])];
    }
    *rectangle = [numbers CGRectValue];
    return nil;
}
