// CIFilterDescription.h - what is known of a filter: its attributes, its keys, and the function that renders it.
//
// Everything comes from attributes.json, which is part of the library and read when the first filter is asked for.
// Lifetime: descriptions are made once and live for good.
// Threads:  descriptions never change and may be used on any thread.

#pragma once

#import <Foundation/Foundation.h>

#include "engine/filter_table.h"

// What kind of value an input holds, by its class attribute.
enum class InputKind { number, vector, color, image, transform, data, object };

// One input key.
struct InputDescription {
    NSString* key;
    const char* name;   // the same key, for the engine
    NSUInteger length;  // of the key
    InputKind kind;
    id defaultValue;  // nil where there is none
};

@interface CIFilterDescription : NSObject {
  @public
    NSString* _name;
    NSDictionary* _attributes;
    NSArray* _inputKeys;
    NSArray* _categories;
    InputDescription* _inputs;  // sorted by key
    NSUInteger _inputCount;
    core_image::FilterFunction _function;  // null: does not render
}

// The description of a filter; nil for a name that is not known.
+ (CIFilterDescription*)descriptionWithName:(NSString*)name;

// The names of all filters, sorted.
+ (NSArray*)names;

// Where an input stands among the inputs; NSNotFound for a key that is none.
- (NSUInteger)indexOfKey:(NSString*)key;

@end
