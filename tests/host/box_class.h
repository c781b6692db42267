// box_class.h - "Box", a class with a member of each kind, for the tests of the host and of the parts above it.
//
// Tests register it as a module would: host.Classes().Register(&kBoxClass.record).

#pragma once

#include "host/runtime/object.h"
#include "interface/class_definition.h"
#include "interface/handles.h"

// The data of a Box: one field for each kind of value.
struct Box {
    ZEVAobjectStruct object;
    double number;
    std::int32_t integer;
    std::int32_t truth;
    ZEVAstringStruct* string;
    ZEVAobjectStruct* held;
};

inline Box* BoxOf(ZEVAobjectStruct* self) { return reinterpret_cast<Box*>(self); }

extern const ZEVAclassDefinition kBoxClass;
