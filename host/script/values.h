// values.h - converts values between Lua and the host.
//
//   Lua         host
//   nil         nil
//   boolean     boolean
//   integer     integer; double if it needs more than 32 bits
//   float       double
//   string      string with the same bytes
//   object      object
//
// Other Lua values have no equivalent in the host.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/runtime/class.h"
#include "host/runtime/declaration.h"
#include "host/runtime/value.h"
#include "host/script/lua.h"

namespace host::script {

// Converts the value at a stack index; empty if the host has no equivalent. Throws HostError for a closed object.
[[nodiscard]] std::optional<Value> ValueAt(lua_State* lua, int index);

// Describes the value at a stack index, for messages.
[[nodiscard]] std::string DescribeAt(lua_State* lua, int index);

// The member name at a stack index, valid while it is on the stack. Throws HostError that names the class if the value
// is not a string.
[[nodiscard]] std::string_view NameAt(lua_State* lua, int index, const std::string& className);

// Pushes a value.
void PushValue(lua_State* lua, Value value);

// Converts the value at a stack index, which a script assigns to a property. Throws HostError that names the subject
// (class and property) if the host has no equivalent. The host checks whether the property is writable.
[[nodiscard]] Value PropertyValueAt(lua_State* lua, int index, const std::string& subject, const Member* property);

// Converts the arguments of a call, from a stack index to the top of the stack. Throws HostError that names the subject
// (class and method) if the host has no equivalent of one. The host checks their number and types.
[[nodiscard]] std::vector<Value> ArgumentsFrom(lua_State* lua, int first, const std::string& subject,
                                               const std::vector<Parameter>& parameters);

}  // namespace host::script
