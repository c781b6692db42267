// class_values.h - host classes as values in Lua. Each is a global that is looked up when a script first uses it.
//
// Calling a class constructs an object with the constructor that has as many parameters as there are arguments. The
// fields of a class are its shared members.

#pragma once

#include "host/runtime/class.h"
#include "host/script/lua.h"

namespace host::script {

// Prepares a state and its global table.
void OpenClassValues(lua_State* lua);

// The class at a stack index; null if the value is not a class.
[[nodiscard]] const Class* ClassAt(lua_State* lua, int index);

}  // namespace host::script
