// allowed_paths.cpp - keeps the allowed paths as the keys of a table in the registry.

#include "host/script/allowed_paths.h"

#include "host/runtime/errors.h"
#include "host/script/values.h"

namespace host::script {

namespace {

// Registry key of the table; it has none if all paths are allowed.
constexpr char kPaths = 0;

}  // namespace

void AllowPaths(lua_State* lua, std::span<const std::string> paths) {
    lua_createtable(lua, 0, static_cast<int>(paths.size()));
    for (const std::string& path : paths) {
        lua_pushlstring(lua, path.data(), path.size());
        lua_pushboolean(lua, 1);
        lua_rawset(lua, -3);
    }
    lua_rawsetp(lua, LUA_REGISTRYINDEX, &kPaths);
}

void CheckPath(lua_State* lua, int index, const std::string& subject, const Parameter& parameter) {
    if (parameter.name != "path" || lua_type(lua, index) != LUA_TSTRING) return;
    if (lua_rawgetp(lua, LUA_REGISTRYINDEX, &kPaths) == LUA_TTABLE) {
        lua_pushvalue(lua, index);
        const bool isAllowed = lua_rawget(lua, -2) != LUA_TNIL;
        lua_pop(lua, 1);
        if (!isAllowed) {
            throw HostError(subject, "a restricted script may only use the paths among its arguments, got " +
                                         DescribeAt(lua, index));
        }
    }
    lua_pop(lua, 1);
}

}  // namespace host::script
