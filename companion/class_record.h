// class_record.h - the list of the companion's classes, and macros that build their records.
//
// The host calls every method through the guard, so a function of a class may send any message: what the platform
// raises becomes a host exception, and the method returns null or 0.
//
// Each class has its own file: accessors, then a method table, then the record. bridge/host_objects.h defines the
// data of the objects, because the filter module reads it too.
//
// Lifetime: the host keeps pointers to records and tables, so they are static and never change after registration.
// Adding a class: a file with its record, and a line in COMPANION_CLASSES.

#pragma once

#include <iterator>
#include <type_traits>

#include "bridge/guard.h"
#include "interface/class_definition.h"
#include "interface/handles.h"
#include "interface/tables.h"
#include "interface/word.h"

// Every record, in the order of registration.
#define COMPANION_CLASSES(CLASS)  \
    CLASS(CIFilterClass)          \
    CLASS(CIImageClass)           \
    CLASS(CIColorClass)           \
    CLASS(CIVectorClass)          \
    CLASS(NSAffineTransformClass) \
    CLASS(CFObjectClass)          \
    CLASS(CGColorSpaceClass)      \
    CLASS(CIAttributeClass)       \
    CLASS(NSExceptionClass)

#define DECLARE_CLASS(record) extern ZEVAclassDefinition record;
COMPANION_CLASSES(DECLARE_CLASS)
#undef DECLARE_CLASS

// A function as the host calls it: inside the guard.
template <auto kFunction>
struct GuardedFunction;

template <typename Result, typename... Arguments, Result (*kFunction)(Arguments...)>
struct GuardedFunction<kFunction> {
    static Result Call(Arguments... arguments) {
        if constexpr (std::is_void_v<Result>) {
            Guarded([&] { kFunction(arguments...); });
        } else {
            Result result = Result();
            Guarded([&] { result = kFunction(arguments...); });
            return result;
        }
    }
};

// One method or read-only property.
#define COMPANION_METHOD(declaration, function)                                                                    \
    {                                                                                                              \
        {reinterpret_cast<ZEVAentry>(GuardedFunction<function>::Call), nullptr, declaration, kHostFlags}, { 0, 0 } \
    }

// The size of a structure's instance data in bytes, without the header that every object has.
#define COMPANION_DATA_SIZE(structure) static_cast<ZEVAword>(sizeof(structure) - kZEVAobjectHeaderSize)

// The record of a class whose objects wrap one platform object, with its arrays of methods.
#define COMPANION_VALUE_CLASS(name, methodList, sharedMethodList)        \
    {                                                                    \
        .record = {.version = kRecordVersion,                            \
                   .className = name,                                    \
                   .instanceDataSize = COMPANION_DATA_SIZE(ValueObject), \
                   .finalize = ReleaseWrapped,                           \
                   .methods = methodList,                                \
                   .methodCount = std::size(methodList),                 \
                   .flags = kHostFlags,                                  \
                   .sharedMethods = sharedMethodList,                    \
                   .sharedMethodCount = std::size(sharedMethodList)},    \
    }
