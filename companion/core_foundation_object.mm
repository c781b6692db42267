// core_foundation_object.mm - CFObjectQOR, an object that wraps a Core Foundation object; superclass of CGColorSpaceQOR.
//
// Every object of the family carries a tag, by which the filters know it; the class below inherits the setting of it.

#include "bridge/host_objects.h"
#include "companion/class_record.h"

namespace {

void Initialize(ZEVAobjectStruct* self) { reinterpret_cast<CoreFoundationObject*>(self)->cfTag = kCoreFoundationTag; }

void Finalize(ZEVAobjectStruct* self) {
    CFTypeRef wrapped = reinterpret_cast<CoreFoundationObject*>(self)->wrapped;
    if (wrapped != nullptr) CFRelease(wrapped);
}

}  // namespace

ZEVAclassDefinition CFObjectClass = {
    .record = {.version = kRecordVersion,
               .className = "CFObjectQOR",
               .instanceDataSize = COMPANION_DATA_SIZE(CoreFoundationObject),
               .initialize = Initialize,
               .finalize = Finalize,
               .flags = kHostFlags},
};
