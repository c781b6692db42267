// error_values.cpp - the error value of a host exception, and its text.

#include "host/script/error_values.h"

#include <new>

#include "host/script/object_values.h"

namespace host::script {

namespace {

constexpr const char* kException = "host exception";

void SetField(lua_State* lua, const char* name, const std::string& text) {
    lua_pushlstring(lua, text.data(), text.size());
    lua_setfield(lua, -2, name);
}

// The text of an exception: "script.lua:3: RuntimeException: message".
int ExceptionText(lua_State* lua) {
    lua_getfield(lua, 1, "where");
    lua_getfield(lua, 1, "text");
    lua_concat(lua, 2);
    return 1;
}

// The operator "..": joins both operands as text.
int Concatenation(lua_State* lua) {
    luaL_tolstring(lua, 1, nullptr);
    luaL_tolstring(lua, 2, nullptr);
    lua_concat(lua, 2);
    return 1;
}

}  // namespace

void OpenErrorValues(lua_State* lua) {
    const luaL_Reg functions[] = {{"__tostring", ExceptionText}, {"__concat", Concatenation}, {nullptr, nullptr}};
    luaL_newmetatable(lua, kException);
    luaL_setfuncs(lua, functions, 0);
    lua_pop(lua, 1);
}

void PushError(lua_State* lua, const HostException& exception) {
    lua_newtable(lua);
    SetField(lua, "class", exception.ClassName());
    SetField(lua, "message", exception.Message());
    SetField(lua, "text", exception.what());
    lua_pushinteger(lua, exception.ErrorNumber());
    lua_setfield(lua, -2, "number");
    PushObject(lua, exception.Object());
    lua_setfield(lua, -2, "object");
    luaL_where(lua, 1);
    lua_setfield(lua, -2, "where");
    luaL_setmetatable(lua, kException);
}

void PushError(lua_State* lua, const std::exception& error) {
    const bool isOutOfMemory = dynamic_cast<const std::bad_alloc*>(&error) != nullptr;
    luaL_where(lua, 1);
    lua_pushstring(lua, isOutOfMemory ? "out of memory" : error.what());
    lua_concat(lua, 2);
}

}  // namespace host::script
