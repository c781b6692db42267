// class_record.h - the pieces of this module's class records, and the list of its classes.
//
// Each class stands in a file of its own: accessors, a method table, a record at the end. What an object holds is laid
// down in bridge/host_objects.h, where the filters read it too.
//
// Adding a class: its file with its record, and a line in COMPANION_CLASSES.

#pragma once

#include <iterator>

#include "interface/class_definition.h"
#include "interface/handles.h"
#include "interface/tables.h"
#include "interface/word.h"

// Every record, in the order in which they are registered.
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

// One method or read-only property.
#define COMPANION_METHOD(declaration, function)                                             \
    {                                                                                       \
        {reinterpret_cast<ZEVAentry>(function), nullptr, declaration, kHostFlags}, { 0, 0 } \
    }

// How many bytes of instance data an object of the structure has.
#define COMPANION_DATA_SIZE(structure) static_cast<ZEVAword>(sizeof(structure) - kZEVAobjectHeaderSize)

// The record of a class whose objects wrap one platform object, with its file's methods and sharedMethods.
#define COMPANION_VALUE_CLASS(name)                                      \
    {                                                                    \
        .record = {.version = kRecordVersion,                            \
                   .className = name,                                    \
                   .instanceDataSize = COMPANION_DATA_SIZE(ValueObject), \
                   .finalize = ReleaseWrapped,                           \
                   .methods = methods,                                   \
                   .methodCount = std::size(methods),                    \
                   .flags = kHostFlags,                                  \
                   .sharedMethods = sharedMethods,                       \
                   .sharedMethodCount = std::size(sharedMethods)},       \
    }
