// core_foundation_object.mm - CFObjectQOR, which wraps a Core Foundation object; the superclass of CGColorSpaceQOR.
//
// The filter module recognizes these objects by a tag. Subclasses inherit the initialize function that sets it.

#include "bridge/host_objects.h"
#include "companion/class_record.h"

namespace {

void Initialize(ZEVAobjectStruct* self) { reinterpret_cast<CoreFoundationObject*>(self)->cfTag = kCoreFoundationTag; }

void FinalizeCoreFoundationObject(ZEVAobjectStruct* self) {
    CFTypeRef wrapped = reinterpret_cast<CoreFoundationObject*>(self)->wrapped;
    if (wrapped != nullptr) CFRelease(wrapped);
}

}  // namespace

ZEVAclassDefinition CFObjectClass = {
    .record = {.version = kRecordVersion,
               .className = "CFObjectQOR",
               .instanceDataSize = COMPANION_DATA_SIZE(CoreFoundationObject),
               .initialize = Initialize,
               .finalize = FinalizeCoreFoundationObject,
               .flags = kHostFlags},
};
