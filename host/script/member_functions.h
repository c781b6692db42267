// member_functions.h - methods as functions in Lua.
//
// Each method has one function, made when a script first uses it, so comparing a method with itself yields true.

#pragma once

#include "host/runtime/class.h"
#include "host/script/lua.h"

namespace host::script {

// Prepares a state.
void OpenMemberFunctions(lua_State* lua);

// Pushes the function of a method. It takes the object first, then the arguments. Errors name the class `isa`.
void PushMethod(lua_State* lua, const Class& isa, const Member& method);

// Pushes the function of a shared method, which takes only the arguments.
void PushSharedMethod(lua_State* lua, const Class& isa, const Member& method);

}  // namespace host::script
