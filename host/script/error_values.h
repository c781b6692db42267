// error_values.h - turns what the host throws into Lua errors.
//
// A HostError becomes a string that begins with the script's line. A HostException becomes a value with the fields
// class, message, number and object; its text (tostring, "..") is "line: class: message".

#pragma once

#include <exception>

#include "host/runtime/errors.h"
#include "host/script/lua.h"

namespace host::script {

// Prepares a state.
void OpenErrorValues(lua_State* lua);

// Pushes the error value of an exception that the host threw.
void PushError(lua_State* lua, const HostException& exception);
void PushError(lua_State* lua, const std::exception& error);

// Runs the work of a Lua C function. The work returns the number of results that it pushed; what it throws becomes a
// Lua error.
//
// lua_error comes last because at that point no object of this frame or of the work is left to destroy.
template <typename Work>
int Protected(lua_State* lua, Work work) {
    try {
        return work();
    } catch (const HostException& exception) {
        PushError(lua, exception);
    } catch (const std::exception& error) {
        PushError(lua, error);
    }
    return lua_error(lua);
}

}  // namespace host::script
