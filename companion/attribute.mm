// attribute.mm - CIAttributeQOR, the description of one key of a filter.
//
// The platform describes a key by a dictionary whose values have different classes for different keys. Each property
// here reads one entry as one class. A property whose entry is missing or has another class is nil or 0; Has("Min")
// tells whether there is a value.
//
//   number keys      Default  Identity  Min  Max  SliderMin  SliderMax
//   vector keys      DefaultVector  IdentityVector
//   color keys       DefaultColor  IdentityColor
//   transform keys   DefaultTransform  IdentityTransform
//   raw bytes        DefaultData  IdentityData
//   every key        Key  AttributeClass  AttributeType  DisplayName  ParameterSet
//
// Adding a property: a line in ATTRIBUTES.

#import <CoreImage/CoreImage.h>

#include "bridge/host_objects.h"
#include "companion/class_record.h"
#include "companion/host_bytes.h"
#include "companion/host_text.h"
#include "companion/value_object.h"
#include "plugin/host_services.h"

namespace {

// clang-format off
// The properties, the dictionary keys that they read, and the classes of the values.
//        property           dictionary's key            value's class       type word               converted by
#define ATTRIBUTES(ATTRIBUTE) \
ATTRIBUTE(AttributeClass,    @"CIAttributeClass",        NSString,           string,               TextFrom) \
ATTRIBUTE(AttributeType,     @"CIAttributeType",         NSString,           string,               TextFrom) \
ATTRIBUTE(DisplayName,       @"CIAttributeDisplayName",  NSString,           string,               TextFrom) \
ATTRIBUTE(ParameterSet,      @"CIUIParameterSet",        NSString,           string,               TextFrom) \
ATTRIBUTE(Default,           @"CIAttributeDefault",      NSNumber,           double,               NumberFrom) \
ATTRIBUTE(Identity,          @"CIAttributeIdentity",     NSNumber,           double,               NumberFrom) \
ATTRIBUTE(Min,               @"CIAttributeMin",          NSNumber,           double,               NumberFrom) \
ATTRIBUTE(Max,               @"CIAttributeMax",          NSNumber,           double,               NumberFrom) \
ATTRIBUTE(SliderMin,         @"CIAttributeSliderMin",    NSNumber,           double,               NumberFrom) \
ATTRIBUTE(SliderMax,         @"CIAttributeSliderMax",    NSNumber,           double,               NumberFrom) \
ATTRIBUTE(DefaultVector,     @"CIAttributeDefault",      CIVector,           CIVectorQOR,          VectorFrom) \
ATTRIBUTE(IdentityVector,    @"CIAttributeIdentity",     CIVector,           CIVectorQOR,          VectorFrom) \
ATTRIBUTE(DefaultColor,      @"CIAttributeDefault",      CIColor,            CIColorQOR,           ColorFrom) \
ATTRIBUTE(IdentityColor,     @"CIAttributeIdentity",     CIColor,            CIColorQOR,           ColorFrom) \
ATTRIBUTE(DefaultTransform,  @"CIAttributeDefault",      NSAffineTransform,  NSAffineTransformQOR, TransformFrom) \
ATTRIBUTE(IdentityTransform, @"CIAttributeIdentity",     NSAffineTransform,  NSAffineTransformQOR, TransformFrom) \
ATTRIBUTE(DefaultData,       @"CIAttributeDefault",      NSData,             memoryblock,          BytesFrom) \
ATTRIBUTE(IdentityData,      @"CIAttributeIdentity",     NSData,             memoryblock,          BytesFrom)
// clang-format on

// Returns an entry of the dictionary; nil when it is missing or has another class.
id EntryOf(ZEVAobjectStruct* self, NSString* key, Class valueClass) {
    id entry = [reinterpret_cast<AttributeObject*>(self)->attribute objectForKey:key];
    return [entry isKindOfClass:valueClass] ? entry : nil;
}

ZEVAstringStruct* TextFrom(NSString* text) { return NewHostString(text); }

double NumberFrom(NSNumber* number) { return [number doubleValue]; }

ZEVAobjectStruct* VectorFrom(CIVector* vector) { return NewValueObject("CIVectorQOR", vector); }

ZEVAobjectStruct* ColorFrom(CIColor* color) { return NewValueObject("CIColorQOR", color); }

// Copies the transform, because the platform's transforms are mutable.
ZEVAobjectStruct* TransformFrom(NSAffineTransform* transform) {
    return NewValueObject("NSAffineTransformQOR", [[transform copy] autorelease]);
}

ZEVAmemoryBlockStruct* BytesFrom(NSData* data) { return NewHostBlock(data); }

#define DEFINE_GETTER(property, key, valueClass, typeWord, from) \
    auto GetAttribute##property(ZEVAobjectStruct* self) { return from(EntryOf(self, key, [valueClass class])); }
ATTRIBUTES(DEFINE_GETTER)
#undef DEFINE_GETTER

ZEVAstringStruct* GetKey(ZEVAobjectStruct* self) {
    return NewHostString(reinterpret_cast<AttributeObject*>(self)->key);
}

// Returns whether a property has a value. Raises for a name that is not in the list.
std::int32_t Has(ZEVAobjectStruct* self, ZEVAstringStruct* name) {
    NSString* property = TextOf(name);
#define TEST_PROPERTY(property_, key, valueClass, typeWord, from) \
    if ([property isEqualToString:@ #property_]) return EntryOf(self, key, [valueClass class]) != nil ? 1 : 0;
    ATTRIBUTES(TEST_PROPERTY)
#undef TEST_PROPERTY
    RaiseWithMessage([NSString
        stringWithFormat:@"CIAttributeQOR.Has: there is no property \"%@\"", property != nil ? property : @""]);
    return 0;
}

void FinalizeAttribute(ZEVAobjectStruct* self) {
    auto* object = reinterpret_cast<AttributeObject*>(self);
    [object->key release];
    [object->attribute release];
}

#define GETTER_ENTRY(property, key, valueClass, typeWord, from) \
    COMPANION_METHOD(#property " as " #typeWord, GetAttribute##property),
ZEVAmethod attributeMethods[] = {COMPANION_METHOD("Key as string", GetKey),
                                 COMPANION_METHOD("Has(property as string) as boolean", Has), ATTRIBUTES(GETTER_ENTRY)};
#undef GETTER_ENTRY

}  // namespace

ZEVAclassDefinition CIAttributeClass = {
    .record = {.version = kRecordVersion,
               .className = "CIAttributeQOR",
               .instanceDataSize = COMPANION_DATA_SIZE(AttributeObject),
               .finalize = FinalizeAttribute,
               .methods = attributeMethods,
               .methodCount = std::size(attributeMethods),
               .flags = kHostFlags},
};
