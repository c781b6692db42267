// value_object.mm - creates and finalizes value objects.

#include "companion/value_object.h"

#include "plugin/host_services.h"

ZEVAobjectStruct* NewValueObject(const char* className, id value) {
    if (value == nil) return nullptr;
    ZEVAobjectStruct* object = ZEVAnewInstance(className);
    if (object != nullptr) reinterpret_cast<ValueObject*>(object)->wrapped = [value retain];
    return object;
}

id WrappedIn(ZEVAobjectStruct* object) {
    return object != nullptr ? reinterpret_cast<ValueObject*>(object)->wrapped : nil;
}

void ReleaseWrapped(ZEVAobjectStruct* object) { [reinterpret_cast<ValueObject*>(object)->wrapped release]; }
