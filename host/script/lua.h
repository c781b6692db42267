// lua.h - Lua's own headers, for the Lua that is built as C++.
//
// An error in that Lua is a C++ exception of a type that nobody else names: it passes through our frames, whose
// references and texts end as in any unwinding. Lua never runs below a module's frame, so none of it passes through one.

#pragma once

extern "C" {
#include <lauxlib.h>
#include <lua.h>
#include <lualib.h>
}
