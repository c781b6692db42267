// attribute.mm - a key's attributes as a host object.
//
// Unlike the rest of the bridge this has no guard: an exception that the filter raises passes through to the caller.

#import <CoreImage/CoreImage.h>

#include "bridge/host_objects.h"
#include "bridge/value_bridge.h"
#include "interface/handles.h"
#include "plugin/host_services.h"

namespace {

// The filter's attributes, fetched once and cached in the filter object; nil while the filter has none.
NSDictionary* AttributesOf(FilterObject* object) {
    if (object->attributeCache == nil) {
        NSDictionary* attributes = [object->filter attributes];
        if (attributes == nil) return nil;
        object->attributeCache = [attributes retain];
    }
    return object->attributeCache;
}

}  // namespace

ZEVAobjectStruct* getattribute(ZEVAobjectStruct* self, NSString* key) {
    if (key == nil) return nullptr;
    id attribute = [AttributesOf(reinterpret_cast<FilterObject*>(self)) objectForKey:key];
    if (attribute == nil || ![attribute isKindOfClass:[NSDictionary class]]) return nullptr;
    ZEVAobjectStruct* object = ZEVAnewInstance("CIAttributeQOR");
    if (object == nullptr) return nullptr;
    auto* described = reinterpret_cast<AttributeObject*>(object);
    described->key = [key retain];
    described->attribute = [attribute retain];
    return object;
}
