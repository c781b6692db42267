// object_values.h - host objects as values in Lua.
//
// A value holds one counted reference. It is given back when Lua collects the value, when the scope of a variable
// marked <close> ends, and at the latest when the state is closed. As long as a script has a value for an object, it
// gets the same value again, so equal objects are equal values.

#pragma once

#include "host/runtime/class.h"
#include "host/runtime/reference.h"
#include "host/script/lua.h"

namespace host::script {

// Prepares a state.
void OpenObjectValues(lua_State* lua);

// Pushes the value of an object; nil for none.
void PushObject(lua_State* lua, ObjectReference object);

// Whether an object's value stands at an index, closed or not.
bool IsObject(lua_State* lua, int index);

// The class of the object whose value stands at an index, closed or not.
const Class& ClassOfObjectAt(lua_State* lua, int index);

// The object whose value stands at an index; throws HostError when it has been closed.
ObjectReference ObjectAt(lua_State* lua, int index);

}  // namespace host::script
