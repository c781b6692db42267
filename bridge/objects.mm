// objects.mm - images, colors, vectors, transforms and color spaces between a filter and the host.
//
// Adding a type: a pair of one-line routines at the end, and its structure in host_objects.h if it has further fields.

#import <CoreImage/CoreImage.h>

#include "bridge/guard.h"
#include "bridge/host_objects.h"
#include "bridge/value_bridge.h"
#include "plugin/host_services.h"

namespace {

// Reads the key and hands what the filter holds, whatever its class, to wrap, which makes the host object or answers
// null.
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

// A new object of the class that holds the value with one retain.
ZEVAobjectStruct* NewValueObject(const char* className, id value) {
    ZEVAobjectStruct* object = ZEVAnewInstance(className);
    if (object != nullptr) reinterpret_cast<ValueObject*>(object)->wrapped = [value retain];
    return object;
}

// The same for an image. Its CGImage is cleared, whatever the class's constructor put there: none is ever derived.
ZEVAobjectStruct* NewImageObject(id image) {
    ZEVAobjectStruct* object = NewValueObject("CIImageQOR", image);
    if (object != nullptr) reinterpret_cast<ImageObject*>(object)->cgImage = CGImageRetain(nullptr);
    return object;
}

// The same for a color space. An object without the family's tag is no wrapper of ours and is dropped as it is:
// releasing it would run a class that we know nothing of.
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

// What a host value object wraps. The class of the object is not looked at: its first field is taken as it stands.
id WrappedIn(ZEVAobjectStruct* value) {
    return value != nullptr ? reinterpret_cast<ValueObject*>(value)->wrapped : nil;
}

// Stores what the value object wraps; without anything to store the key keeps its value.
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
