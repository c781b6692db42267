// member_functions.h - methods as functions in Lua.
//
// A method has one function, made when a script first asks for it, so a method is equal to itself.

#pragma once

#include "host/runtime/class.h"
#include "host/script/lua.h"

namespace host::script {

// Prepares a state.
void OpenMemberFunctions(lua_State* lua);

// Pushes the function of a method: it takes the object first, then the arguments. isa is the class to name in errors.
void PushMethod(lua_State* lua, const Class& isa, const Member& method);

// Pushes the function of a shared method: it takes the arguments only.
void PushSharedMethod(lua_State* lua, const Class& isa, const Member& method);

}  // namespace host::script
