// filter.mm - CIFilterQOR, the superclass of all filter classes.
//
//   filter.DisplayName      "Gaussian Blur"
//   filter.Categories       "CICategoryBlur, CICategoryStillImage, CICategoryVideo, CICategoryBuiltIn"
//
// It owns what the filters' module puts into an object: the filter and its attributes.

#import <CoreImage/CoreImage.h>

#include "bridge/guard.h"
#include "bridge/host_objects.h"
#include "companion/class_record.h"
#include "companion/host_text.h"

namespace {

// An entry of what the platform says of the filter; nil before the filter's constructor ran.
id AttributeOf(ZEVAobjectStruct* self, NSString* key) {
    return [[reinterpret_cast<FilterObject*>(self)->filter attributes] objectForKey:key];
}

ZEVAstringStruct* GetDisplayName(ZEVAobjectStruct* self) {
    ZEVAstringStruct* result = nullptr;
    Guarded([&] { result = NewHostString(AttributeOf(self, kCIAttributeFilterDisplayName)); });
    return result;
}

// The names of the categories, with commas between them.
ZEVAstringStruct* GetCategories(ZEVAobjectStruct* self) {
    ZEVAstringStruct* result = nullptr;
    Guarded([&] {
        NSArray* names = AttributeOf(self, kCIAttributeFilterCategories);
        result = NewHostString([names componentsJoinedByString:@", "]);
    });
    return result;
}

void Finalize(ZEVAobjectStruct* self) {
    auto* object = reinterpret_cast<FilterObject*>(self);
    [object->attributeCache release];
    [object->filter release];
}

ZEVAmethod methods[] = {
    COMPANION_METHOD("DisplayName as string", GetDisplayName),
    COMPANION_METHOD("Categories as string", GetCategories),
};

}  // namespace

ZEVAclassDefinition CIFilterClass = {
    .record = {.version = kRecordVersion,
               .className = "CIFilterQOR",
               .instanceDataSize = COMPANION_DATA_SIZE(FilterObject),
               .finalize = Finalize,
               .methods = methods,
               .methodCount = std::size(methods),
               .flags = kHostFlags},
};
