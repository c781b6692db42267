// object_values.h - host objects as values in Lua.
//
// A value owns one counted reference. It is released when Lua collects the value, when the scope of a variable marked
// <close> ends, or at the latest when the state is closed. While a script holds a value for an object, the object
// always appears as that same value, so values can be compared and used as table keys.

#pragma once

#include "host/runtime/class.h"
#include "host/runtime/reference.h"
#include "host/script/lua.h"

namespace host::script {

// Prepares a state.
void OpenObjectValues(lua_State* lua);

// Pushes the value of an object, or nil for null.
void PushObject(lua_State* lua, ObjectReference object);

// Whether the value at a stack index is an object, closed or not.
[[nodiscard]] bool IsObject(lua_State* lua, int index);

// The class of the object at a stack index, closed or not.
const Class& ClassOfObjectAt(lua_State* lua, int index);

// The object at a stack index. Throws HostError if it was closed.
[[nodiscard]] ObjectReference ObjectAt(lua_State* lua, int index);

}  // namespace host::script
