// value.h - a value of the host's language, passed to a module or returned by one.
//
// A MemoryBlock is an object of the class "MemoryBlock".
// Lifetime: a value owns one counted reference to its string or object.

#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <variant>

#include "host/runtime/reference.h"

namespace host {

// Nil, a number, a 32-bit integer, a truth value, a string or an object. Strings and objects are never null here.
using Value = std::variant<std::monostate, double, std::int32_t, bool, StringReference, ObjectReference>;

// A string value that holds UTF-8 text.
[[nodiscard]] Value TextValue(std::string_view text);

// The shortest text that reads back as the same double.
[[nodiscard]] std::string NumberText(double number);

}  // namespace host
