// filter.mm - CIFilterQOR, the superclass of all filter classes.
//
// It owns what the filters' module puts into an object: the filter and its attributes. It has no members of its own.

#import <CoreImage/CoreImage.h>

#include "bridge/host_objects.h"
#include "companion/class_record.h"

namespace {

void Finalize(ZEVAobjectStruct* self) {
    auto* object = reinterpret_cast<FilterObject*>(self);
    [object->attributeCache release];
    [object->filter release];
}

}  // namespace

ZEVAclassDefinition CIFilterClass = {
    .record = {.version = kRecordVersion,
               .className = "CIFilterQOR",
               .instanceDataSize = COMPANION_DATA_SIZE(FilterObject),
               .finalize = Finalize,
               .flags = kHostFlags},
};
