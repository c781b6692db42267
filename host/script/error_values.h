// error_values.h - what the host throws, as errors in Lua.
//
// A refusal by the host becomes a text with the script's line in front. A host exception becomes a value with the
// fields class, message, number and object, whose text (tostring, "..") is "line: class: message".

#pragma once

#include <exception>

#include "host/runtime/errors.h"
#include "host/script/lua.h"

namespace host::script {

// Prepares a state.
void OpenErrorValues(lua_State* lua);

// Pushes the error value of an exception that came out of the host.
void PushError(lua_State* lua, const HostException& exception);
void PushError(lua_State* lua, const std::exception& error);

// Runs a C function's work, which answers how many results it has pushed; what the host throws becomes an error in Lua.
//
// Why lua_error comes last: at that point nothing is left in this frame or below that would have to end.
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
