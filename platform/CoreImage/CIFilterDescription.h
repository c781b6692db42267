// CIFilterDescription.h - the attributes of a filter, its keys, and the function that renders it.
//
// Everything comes from attributes.json, which is compiled in (filter_attributes.h).
// Lifetime: a description is made when its filter is first used, and is never freed.
// Threads:  any; what is made on demand is made under a lock.

#pragma once

#import <Foundation/Foundation.h>

#include "engine/filter_table.h"

struct FilterDescriptionRow;

// The kind of value that an input holds, from its class attribute.
enum class InputKind { kNumber, kVector, kColor, kImage, kTransform, kData, kObject };

// One input key.
struct InputDescription {
    NSString* key;
    const char* name;   // the same key, for the engine
    NSUInteger length;  // of the key
    InputKind kind;
    id defaultValue;  // nil when there is none
};

@interface CIFilterDescription : NSObject {
  @public
    NSString* _name;
    NSArray* _inputKeys;
    NSArray* _categories;
    InputDescription* _inputs;  // sorted by key
    NSUInteger _inputCount;
    core_image::FilterFunction _function;  // null for a filter that does not render

  @private
    const FilterDescriptionRow* _row;
    NSDictionary* _attributes;  // nil until they are asked for
}

// Returns the description of a filter; nil for an unknown name.
+ (CIFilterDescription*)descriptionWithName:(NSString*)name;

// Returns the names of all filters, sorted.
+ (NSArray*)names;

// Returns the attributes as -[CIFilter attributes] shows them.
- (NSDictionary*)attributes;

// Returns the index of an input; NSNotFound for a key that is not an input.
- (NSUInteger)indexOfKey:(NSString*)key;

@end
