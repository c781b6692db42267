// exception_classes.h - the exceptions that every host has: RuntimeException and the ones below it.
//
// RuntimeException has the properties Message (a string, nil at first) and ErrorNumber (an integer), readable and
// writable. They are classes like any module's: records with accessors.
// Adding one: a line in exception_classes.cpp.

#pragma once

#include <span>

#include "interface/class_definition.h"

namespace host {

// The records, RuntimeException first.
std::span<const ZEVAclassDefinition> ExceptionClasses();

}  // namespace host
