// value.h - a value of the host's language, as it goes into a module and comes out of one.
//
// A MemoryBlock is an object of the class "MemoryBlock".
// Lifetime: a string or an object in a value is a counted reference.

#pragma once

#include <string>
#include <variant>

#include "host/runtime/reference.h"

namespace host {

// Nothing, a number, a 32-bit integer, a truth value, a string or an object; the last two are never null.
using Value = std::variant<std::monostate, double, std::int32_t, bool, StringReference, ObjectReference>;

// A string value of UTF-8 text.
Value TextValue(std::string_view text);

// A value's kind and, where it is short, its content, for messages: `double 2.5`, `string "abc"`, `nil`, a class name.
std::string Describe(const Value& value);

// A number as people write it: the shortest text that reads back as the same double.
std::string NumberText(double number);

}  // namespace host
