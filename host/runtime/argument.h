// argument.h - checks a value against a declared type and converts it to an argument of a call.

#pragma once

#include <optional>

#include "host/runtime/call.h"
#include "host/runtime/declaration.h"
#include "host/runtime/value.h"

namespace host {

// The value as an argument of the type; empty when the value does not fit.
//
// An integer fits a double, and a double without a fraction fits an integer. Nil fits strings and objects. An object
// must be an instance of the type's class or of a descendant. The argument borrows from the value.
[[nodiscard]] std::optional<Argument> ArgumentFor(const Type& type, const Value& value);

}  // namespace host
