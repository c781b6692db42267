// class_template.h - the parts of a class from a catalogue: the accessors of each key, and the pieces of a class
// record.
//
// Included by the units that generate_classes.py writes, behind the headers that their catalogue names. The units are
// compiled as one translation unit, so that each accessor, declaration string and key exists once in the module,
// whichever classes share it.
//
// An accessor makes one call into the catalogue's bridge: the routines that keep values, a pair for each row
// `type WORD BRIDGE VALUE`. It depends on the key and not on the class. Every property has a setter, and the bridge
// decides what a write does.
//
//   VALUE getvalueBRIDGE(ZEVAobjectStruct* self, key)
//   void setvalueBRIDGE(ZEVAobjectStruct* self, key, VALUE value)
//
// Threads: the host's thread.

#pragma once

#include <iterator>

#include "interface/class_definition.h"
#include "interface/entry_point.h"
#include "interface/handles.h"
#include "interface/tables.h"

// clang-format off

// A key as the bridge takes it: its name, unless a header of the catalogue has defined something else.
#ifndef CLASS_KEY
#ifdef __OBJC__
#define CLASS_KEY(key) @ #key
#else
#define CLASS_KEY(key) #key
#endif
#endif

// Each key has a declaration and two accessors.
#define KEY(key, typeWord, bridge, Value)                                                                    \
    static const char declarationOf_##key[] = #key " as " typeWord;                                          \
    static Value get##key(ZEVAobjectStruct* self) { return getvalue##bridge(self, CLASS_KEY(key)); }         \
    static void set##key(ZEVAobjectStruct* self, Value value) { setvalue##bridge(self, CLASS_KEY(key), value); }
#include "keys.def"
#undef KEY

[[maybe_unused]] static const char declarationOfConstructor[] = "Constructor";

// An entry of a method table.
#define CLASS_METHOD(function, setter, declaration) \
    {{(ZEVAentry)(function), (ZEVAentry)(setter), declaration, kHostFlags}, {0, 0}}

// The entry of a property.
#define CLASS_PROPERTY(key) CLASS_METHOD(get##key, set##key, declarationOf_##key)

// The last entry of a class with a constructor.
#define CLASS_CONSTRUCTOR CLASS_METHOD(Constructor, nullptr, declarationOfConstructor)

// The class record of a unit: its method table and the given fields, from the name to the finalizer. Others are zero.
#define CLASS_RECORD(unit, ...)                             \
    {.record = {.version = kRecordVersion,                  \
                __VA_ARGS__,                                \
                .methods = unit::Methods,                   \
                .methodCount = std::size(unit::Methods),    \
                .flags = kHostFlags}}

// clang-format on
