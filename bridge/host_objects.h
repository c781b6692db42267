// host_objects.h - the instance data that the bridge reads and writes in place, one structure per kind of host object.
//
// The data lies directly behind the host's object header. The classes belong to the sibling module; these structures
// are what the bridge requires of them. The host object owns each reference in its fields, and its class releases them.
// Adding one: a structure that begins with the header, its fields in order, and its offsets asserted below.

#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

#include <cstddef>
#include <cstdint>

#include "bridge/core_foundation_tag.h"
#include "interface/handles.h"
#include "interface/word.h"

@class CIFilter;

// An object of any filter class, with the instance data of "CIFilterQOR".
struct FilterObject {
    unsigned char header[kZEVAobjectHeaderSize];
    CIFilter* filter;              // nil until a constructor call has succeeded
    NSDictionary* attributeCache;  // the filter's attributes, nil until the first attribute is read
};

// An object that wraps one Objective-C object: "CIImageQOR", "CIColorQOR", "CIVectorQOR", "NSAffineTransformQOR".
struct ValueObject {
    unsigned char header[kZEVAobjectHeaderSize];
    id wrapped;
};

// A "CIImageQOR".
struct ImageObject {
    unsigned char header[kZEVAobjectHeaderSize];
    id wrapped;
    CGImageRef cgImage;  // null in objects made here
};

// A "CFObjectQOR" or an object of a subclass, such as "CGColorSpaceQOR".
struct CoreFoundationObject {
    unsigned char header[kZEVAobjectHeaderSize];
    CFTypeRef wrapped;
    ZEVAword siblingWord;
    std::uint32_t cfTag;  // kCoreFoundationTag, set by the constructor
};

// A "CIAttributeQOR".
struct AttributeObject {
    unsigned char header[kZEVAobjectHeaderSize];
    NSDictionary* attribute;
    NSString* key;
};

#define ASSERT_FIELD(object, field, word) \
    static_assert(offsetof(object, field) == kZEVAobjectHeaderSize + (word) * sizeof(ZEVAword))
ASSERT_FIELD(FilterObject, filter, 0);
ASSERT_FIELD(FilterObject, attributeCache, 1);
ASSERT_FIELD(ValueObject, wrapped, 0);
ASSERT_FIELD(ImageObject, wrapped, 0);
ASSERT_FIELD(ImageObject, cgImage, 1);
ASSERT_FIELD(CoreFoundationObject, wrapped, 0);
ASSERT_FIELD(CoreFoundationObject, cfTag, 2);
ASSERT_FIELD(AttributeObject, attribute, 0);
ASSERT_FIELD(AttributeObject, key, 1);
#undef ASSERT_FIELD

// The filter of a filter object; nil when no constructor call has succeeded.
[[nodiscard]] inline CIFilter* FilterOf(ZEVAobjectStruct* object) {
    return reinterpret_cast<FilterObject*>(object)->filter;
}
