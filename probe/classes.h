// classes.h - the classes that the probe registers, and how their tables are written.
//
// Each file of checks defines the classes that its checks use. Superclasses are registered first (module.cpp).
//
// Lifetime: the host keeps pointers into records and tables for the life of the process. They are constants of the
//           file, because a module for macOS runs no code before its entry point.

#pragma once

#include <iterator>

#include "interface/class_definition.h"

// A row of a method table: a method, constructor or read-only property, and a property that can be written. Macros,
// because a function could not make a constant of these casts.
#define PROBE_MEMBER(declaration, function)                                           \
    {                                                                                 \
        {reinterpret_cast<ZEVAentry>(function), nullptr, declaration, kHostFlags}, {} \
    }
#define PROBE_PROPERTY(declaration, getter, setter)                                                             \
    {                                                                                                           \
        {reinterpret_cast<ZEVAentry>(getter), reinterpret_cast<ZEVAentry>(setter), declaration, kHostFlags}, {} \
    }

namespace probe {

extern ZEVAclassDefinition reportClass;     // the report: counts, text, JSON
extern ZEVAclassDefinition spareClass;      // nothing else uses it
extern ZEVAclassDefinition bareClass;       // no functions, tables or data
extern ZEVAclassDefinition tableClass;      // properties only
extern ZEVAclassDefinition baseClass;       // data, an initializer, a finalizer and a property
extern ZEVAclassDefinition derivedClass;    // the same, with baseClass as its superclass
extern ZEVAclassDefinition nestClass;       // its initializer and its finalizer use services
extern ZEVAclassDefinition endClass;        // a subclass of baseClass whose finalizer raises
extern ZEVAclassDefinition exceptionClass;  // what the probe raises; a subclass of RuntimeException
extern ZEVAclassDefinition callsClass;      // what programs call: members of every kind and type
extern ZEVAclassDefinition raisingClass;    // its initializer raises

// Has the host raise an exception of exceptionClass. Returns whether it could be made and handed over.
bool RaiseException();

// Watches one object of baseClass: whether it has ended since.
void WatchEnd(ZEVAobjectStruct* object);
[[nodiscard]] bool HasEnded();

}  // namespace probe
