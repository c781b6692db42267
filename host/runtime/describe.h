// describe.h - a value in words, for messages.

#pragma once

#include <string>

#include "host/runtime/value.h"

namespace host {

// The kind of a value and, if it is short, its content: `double 2.5`, `string "abc"`, `nil`. For an object, the name of
// its class.
[[nodiscard]] std::string Describe(const Value& value);

}  // namespace host
