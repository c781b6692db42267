// number.mm - moves numbers between a filter and the host.

#import <CoreImage/CoreImage.h>

#include "bridge/guard.h"
#include "bridge/host_objects.h"
#include "bridge/value_bridge.h"

double getvalueNSNumber(ZEVAobjectStruct* self, NSString* key) {
    double result = 0.0;
    Guarded([&] {
        CIFilter* filter = FilterOf(self);
        if (key == nil || filter == nil) return;
        id value = [filter valueForKey:key];
        if (value == nil) return;
        result = [value doubleValue];
    });
    return result;
}

void setvalueNSNumber(ZEVAobjectStruct* self, NSString* key, double value) {
    if (key == nil) return;
    Guarded([&] {
        CIFilter* filter = FilterOf(self);
        if (filter == nil) return;
        NSNumber* number = [NSNumber numberWithFloat:static_cast<float>(value)];
        if (number == nil) return;
        [filter setValue:number forKey:key];
    });
}
