// filter_class.h - what the filter classes have beside the parts of every class from a catalogue: a read-only attribute
// of each key.
//
// Included by the units that tools/generate_classes.py writes. Adding a class or a key: a line in catalogue.txt.

#pragma once

#include "bridge/value_bridge.h"
#include "filters/constructor.h"
#include "interface/handles.h"

// clang-format off

// The accessor of a key's attribute depends on the key and not on the class.
#define KEY(key, ...)                                                                                        \
    static const char declarationOfAttribute_##key[] = "Attribute" #key " as CIAttributeQOR";                \
    static ZEVAobjectStruct* getAttribute##key(ZEVAobjectStruct* self) { return getattribute(self, @ #key); }
#include "keys.def"
#undef KEY

// clang-format on

// The entry of a key's attribute.
#define FILTER_ATTRIBUTE(key) CLASS_METHOD(getAttribute##key, nullptr, declarationOfAttribute_##key)
