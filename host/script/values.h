// values.h - values between Lua and the host.
//
//   Lua         host
//   nil         nothing
//   boolean     boolean
//   integer     integer; a double when it needs more than 32 bits
//   float       double
//   string      string, the bytes as they are
//   object      object
//
// Nothing else in Lua is a value of the host.

#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/runtime/class.h"
#include "host/script/lua.h"
#include "host/runtime/value.h"

namespace host::script {

// The host's value for what stands at an index of the stack; none when the host has no such value. Throws HostError for
// an object that has been closed.
std::optional<Value> ValueAt(lua_State* lua, int index);

// What stands at an index, in words.
std::string DescribeAt(lua_State* lua, int index);

// The name of the member of a class that a script asks for, from an index of the stack, lent for as long as it stands
// there. Throws HostError for what is no name.
std::string_view NameAt(lua_State* lua, int index, const std::string& className);

// Pushes a value.
void PushValue(lua_State* lua, Value value);

// What a script writes to a property, from an index of the stack. Throws HostError that names subject (class and
// property) for what is no value of the host; whether the property can be written at all, the host says.
Value PropertyValueAt(lua_State* lua, int index, const std::string& subject, const Member* property);

// The arguments of a call, from an index to the top of the stack. Throws HostError that names subject (class and
// method) for what is no value of the host. Which types and how many there must be, the host checks itself.
std::vector<Value> ArgumentsFrom(lua_State* lua, int first, const std::string& subject,
                                 const std::vector<Parameter>& parameters);

}  // namespace host::script
