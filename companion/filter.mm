// filter.mm - CIFilterQOR, the superclass of all filter classes.
//
//   filter.DisplayName      "Gaussian Blur"
//   filter.Categories       "CICategoryBlur, CICategoryStillImage, CICategoryVideo, CICategoryBuiltIn"
//
// It releases what the filter module stores in an object: the filter and its attributes.

#import <CoreImage/CoreImage.h>

#include "bridge/host_objects.h"
#include "companion/class_record.h"
#include "companion/host_text.h"

namespace {

// Returns an entry of the filter's attributes; nil before the filter's constructor has run.
id AttributeOf(ZEVAobjectStruct* self, NSString* key) {
    return [[reinterpret_cast<FilterObject*>(self)->filter attributes] objectForKey:key];
}

ZEVAstringStruct* GetDisplayName(ZEVAobjectStruct* self) {
    return NewHostString(AttributeOf(self, kCIAttributeFilterDisplayName));
}

// Returns the names of the categories, separated by commas.
ZEVAstringStruct* GetCategories(ZEVAobjectStruct* self) {
    NSArray* names = AttributeOf(self, kCIAttributeFilterCategories);
    return NewHostString([names componentsJoinedByString:@", "]);
}

void FinalizeFilter(ZEVAobjectStruct* self) {
    auto* object = reinterpret_cast<FilterObject*>(self);
    [object->attributeCache release];
    [object->filter release];
}

ZEVAmethod filterMethods[] = {
    COMPANION_METHOD("DisplayName as string", GetDisplayName),
    COMPANION_METHOD("Categories as string", GetCategories),
};

}  // namespace

ZEVAclassDefinition CIFilterClass = {
    .record = {.version = kRecordVersion,
               .className = "CIFilterQOR",
               .instanceDataSize = COMPANION_DATA_SIZE(FilterObject),
               .finalize = FinalizeFilter,
               .methods = filterMethods,
               .methodCount = std::size(filterMethods),
               .flags = kHostFlags},
};
