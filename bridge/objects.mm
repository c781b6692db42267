// objects.mm - moves images, colors, vectors, transforms and color spaces between a filter and the host.
//
// Adding a type: a pair of one-line routines at the end, and a structure in host_objects.h if it has further fields.

#import <CoreImage/CoreImage.h>

#include "bridge/guard.h"
#include "bridge/host_objects.h"
#include "bridge/value_bridge.h"
#include "interface/handles.h"
#include "plugin/host_services.h"

namespace {

// Reads the key and passes the value, whatever its class, to wrap, which returns a new host object or null.
template <typename Wrap>
ZEVAobjectStruct* GetWrapped(ZEVAobjectStruct* self, NSString* key, Wrap wrap) {
    ZEVAobjectStruct* result = nullptr;
    Guarded([&] {
        CIFilter* filter = FilterOf(self);
        if (key == nil || filter == nil) return;
        id value = [filter valueForKey:key];
        if (value == nil || !ZEVACanCreateInstances()) return;
        result = wrap(value);
    });
    return result;
}

// Returns a new object of the class that owns the value through one retain; null on failure.
ZEVAobjectStruct* NewValueObject(const char* className, id value) {
    ZEVAobjectStruct* object = ZEVAnewInstance(className);
    if (object != nullptr) reinterpret_cast<ValueObject*>(object)->wrapped = [value retain];
    return object;
}

// Like NewValueObject, for an image. Clears the CGImage, which the class's initialize function may have set.
ZEVAobjectStruct* NewImageObject(id image) {
    ZEVAobjectStruct* object = NewValueObject("CIImageQOR", image);
    if (object != nullptr) reinterpret_cast<ImageObject*>(object)->cgImage = CGImageRetain(nullptr);
    return object;
}

// Like NewValueObject, for a color space. An object without the family's tag belongs to an unknown class. It is dropped
// without being released, because releasing it would run that class's code.
ZEVAobjectStruct* NewColorSpaceObject(id colorSpace) {
    ZEVAobjectStruct* object = ZEVAnewInstance("CGColorSpaceQOR");
    if (object == nullptr) object = ZEVAnewInstance("CFObjectQOR");
    if (object == nullptr) return nullptr;
    auto* wrapper = reinterpret_cast<CoreFoundationObject*>(object);
    if (wrapper->cfTag != kCoreFoundationTag) return nullptr;
    wrapper->cfTag = kCoreFoundationTag;
    wrapper->wrapped = CFRetain(reinterpret_cast<CFTypeRef>(colorSpace));
    return object;
}

// The object that a host value object wraps; nil for null. The class of the value object is not checked.
id WrappedIn(ZEVAobjectStruct* value) {
    return value != nullptr ? reinterpret_cast<ValueObject*>(value)->wrapped : nil;
}

// Sets the key to the wrapped object. The key keeps its value when there is nothing wrapped.
void SetWrapped(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value) {
    Guarded([&] {
        CIFilter* filter = FilterOf(self);
        id wrapped = WrappedIn(value);
        if (key == nil || filter == nil || wrapped == nil) return;
        [filter setValue:wrapped forKey:key];
    });
}

}  // namespace

ZEVAobjectStruct* getvalueCIImage(ZEVAobjectStruct* self, NSString* key) {
    return GetWrapped(self, key, NewImageObject);
}

void setvalueCIImage(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value) { SetWrapped(self, key, value); }

ZEVAobjectStruct* getvalueCIColor(ZEVAobjectStruct* self, NSString* key) {
    return GetWrapped(self, key, [](id color) { return NewValueObject("CIColorQOR", color); });
}

void setvalueCIColor(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value) { SetWrapped(self, key, value); }

ZEVAobjectStruct* getvalueCIVector(ZEVAobjectStruct* self, NSString* key) {
    return GetWrapped(self, key, [](id vector) { return NewValueObject("CIVectorQOR", vector); });
}

void setvalueCIVector(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value) { SetWrapped(self, key, value); }

ZEVAobjectStruct* getvalueNSAffineTransform(ZEVAobjectStruct* self, NSString* key) {
    return GetWrapped(self, key, [](id transform) { return NewValueObject("NSAffineTransformQOR", transform); });
}

void setvalueNSAffineTransform(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value) {
    SetWrapped(self, key, value);
}

ZEVAobjectStruct* getvalueCGColorSpace(ZEVAobjectStruct* self, NSString* key) {
    return GetWrapped(self, key, NewColorSpaceObject);
}

void setvalueCGColorSpace(ZEVAobjectStruct* self, NSString* key, ZEVAobjectStruct* value) {
    Guarded([&] {
        CIFilter* filter = FilterOf(self);
        if (key == nil || filter == nil) return;
        [filter setValue:WrappedIn(value) forKey:key];
    });
}
