// allowed_paths.h - the files that a restricted script may open and save: those whose paths are among its arguments.
//
// A member's parameter is a path if it is declared as "path as string".

#pragma once

#include <span>
#include <string>

#include "host/runtime/declaration.h"
#include "host/script/lua.h"

namespace host::script {

// Restricts a state to these paths.
void AllowPaths(lua_State* lua, std::span<const std::string> paths);

// Throws HostError that names the subject if the parameter is a path and the string at the stack index is not allowed.
// Does nothing in a state without restriction.
void CheckPath(lua_State* lua, int index, const std::string& subject, const Parameter& parameter);

}  // namespace host::script
