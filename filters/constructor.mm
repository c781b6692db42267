// constructor.mm - creates the filter of a filter object.

#include "filters/constructor.h"

#import <CoreImage/CoreImage.h>

#include "bridge/host_objects.h"
#include "interface/handles.h"
#include "plugin/host_exception.h"

void ConstructFilter(ZEVAobjectStruct* self, NSString* filterName) {
    auto* object = reinterpret_cast<FilterObject*>(self);
    if (object->filter != nil) {
        RaiseException("UnsupportedOperationException", "Constructor called too often. Object is already initialized.",
                       0);
        return;
    }
    CIFilter* filter = [CIFilter filterWithName:filterName];
    if (filter == nil) return;
    object->filter = [filter retain];
    [object->filter setDefaults];
}
