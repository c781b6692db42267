// filter_class.h - what a filter class is made of: the accessors of every key, and the pieces of a class record.
//
// Included by the units that tools/generate_filters.py makes. They are compiled as one, so that each accessor,
// declaration string and key constant stands once in the module, whichever classes share it.
//
// An accessor is one call into the value bridge; it depends on the key alone, never on the class. Every value property
// has a setter, outputImage too: what becomes of such a write is the filter's business.
//
// Adding a class or a key: a line in catalogue.txt.

#pragma once

#include <iterator>

#include "bridge/value_bridge.h"
#include "filters/constructor.h"

// clang-format off

// For each key: its two declarations and its three accessors.
#define KEY(key, typeWord, bridge, Value)                                                                    \
    static const char declarationOf_##key[] = #key " as " typeWord;                                          \
    static const char declarationOfAttribute_##key[] = "Attribute" #key " as CIAttributeQOR";                \
    static Value get##key(ZEVAobjectStruct* self) { return getvalue##bridge(self, @ #key); }                 \
    static void set##key(ZEVAobjectStruct* self, Value value) { setvalue##bridge(self, @ #key, value); }     \
    static ZEVAobjectStruct* getAttribute##key(ZEVAobjectStruct* self) { return getattribute(self, @ #key); }
#include "keys.def"
#undef KEY

static const char declarationOfConstructor[] = "Constructor";

// One method entry.
#define FILTER_METHOD(function, setter, declaration) \
    {{(ZEVAentry)(function), (ZEVAentry)(setter), declaration, kHostFlags}, {0, 0}}

// The two entries of a property: the value, then its read-only attribute.
#define FILTER_PROPERTY(key)                                \
    FILTER_METHOD(get##key, set##key, declarationOf_##key), \
    FILTER_METHOD(getAttribute##key, nullptr, declarationOfAttribute_##key)

// The last entry of every class.
#define FILTER_CONSTRUCTOR FILTER_METHOD(Constructor, nullptr, declarationOfConstructor)

// The class record of a unit: a method table under the family's superclass, and nothing else.
#define FILTER_CLASS(unit)                                  \
    {.record = {.version = kRecordVersion,                  \
                .className = #unit "QOR",                   \
                .superclassName = "CIFilterQOR",            \
                .methods = unit::Methods,                   \
                .methodCount = std::size(unit::Methods),    \
                .flags = kHostFlags}}

// clang-format on
