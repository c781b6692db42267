// lua.h - the headers of Lua, for the library that is compiled as C++.
//
// A Lua error is a C++ exception of a type that no other code can catch by name. It passes through our frames and
// destroys their references and strings like any exception. A module never calls Lua, so no Lua error passes through a
// module's frames.

#pragma once

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}
