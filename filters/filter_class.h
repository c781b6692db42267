// filter_class.h - the parts of a filter class: the accessors of each key, and the pieces of a class record.
//
// Included by the units that tools/generate_filters.py writes. They are compiled as one translation unit, so that each
// accessor, declaration string and key constant exists once in the module, whichever classes share it.
//
// An accessor makes one call into the value bridge. It depends on the key and not on the class. Every value property
// has a setter, even outputImage: the filter decides what such a write does.
//
// Adding a class or a key: a line in catalogue.txt.

#pragma once

#include <iterator>

#include "bridge/value_bridge.h"
#include "filters/constructor.h"
#include "interface/class_definition.h"
#include "interface/entry_point.h"
#include "interface/handles.h"
#include "interface/tables.h"

// clang-format off

// Each key has two declarations and three accessors.
#define KEY(key, typeWord, bridge, Value)                                                                    \
    static const char declarationOf_##key[] = #key " as " typeWord;                                          \
    static const char declarationOfAttribute_##key[] = "Attribute" #key " as CIAttributeQOR";                \
    static Value get##key(ZEVAobjectStruct* self) { return getvalue##bridge(self, @ #key); }                 \
    static void set##key(ZEVAobjectStruct* self, Value value) { setvalue##bridge(self, @ #key, value); }     \
    static ZEVAobjectStruct* getAttribute##key(ZEVAobjectStruct* self) { return getattribute(self, @ #key); }
#include "keys.def"
#undef KEY

static const char declarationOfConstructor[] = "Constructor";

// A method entry.
#define FILTER_METHOD(function, setter, declaration) \
    {{(ZEVAentry)(function), (ZEVAentry)(setter), declaration, kHostFlags}, {0, 0}}

// The two entries of a property: its value and its read-only attribute.
#define FILTER_PROPERTY(key)                                \
    FILTER_METHOD(get##key, set##key, declarationOf_##key), \
    FILTER_METHOD(getAttribute##key, nullptr, declarationOfAttribute_##key)

// The last entry of each class.
#define FILTER_CONSTRUCTOR FILTER_METHOD(Constructor, nullptr, declarationOfConstructor)

// The class record of a unit: a method table under the family's superclass. Every other field is zero.
#define FILTER_CLASS(unit)                                  \
    {.record = {.version = kRecordVersion,                  \
                .className = #unit "QOR",                   \
                .superclassName = "CIFilterQOR",            \
                .methods = unit::Methods,                   \
                .methodCount = std::size(unit::Methods),    \
                .flags = kHostFlags}}

// clang-format on
