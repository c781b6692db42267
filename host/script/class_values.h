// class_values.h - host classes as values in Lua: a global for each, found when a script first names it.
//
// Calling one constructs an object, by the constructor with as many parameters as there are arguments. Its fields are
// the class's shared members.

#pragma once

#include "host/runtime/class.h"
#include "host/script/lua.h"

namespace host::script {

// Prepares a state and its table of globals.
void OpenClassValues(lua_State* lua);

// The class whose value stands at an index; null for anything else.
const Class* ClassAt(lua_State* lua, int index);

}  // namespace host::script
