// exception_classes.h - the built-in exception classes: RuntimeException and its subclasses.
//
// RuntimeException has two writable properties: Message (a string, initially nil) and ErrorNumber (an integer). Like
// the classes of a module, the exception classes consist of records with accessors.
// Adding one: an entry in exception_classes.cpp.

#pragma once

#include <span>

#include "interface/class_definition.h"

namespace host {

// The records; RuntimeException comes first.
std::span<const ZEVAclassDefinition> ExceptionClasses();

}  // namespace host
