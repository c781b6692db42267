// script.cpp - creates a state and runs a program in it.

#include "host/script/script.h"

#include <new>

#include "host/script/binding.h"

namespace host::script {

namespace {

// Makes os.exit close the state by default, so that it releases all objects.
constexpr char kPrelude[] = "local exit = os.exit; function os.exit(code, close) exit(code, close ~= false) end";

void SetArguments(lua_State* lua, const std::string& name, std::span<const std::string> arguments) {
    lua_createtable(lua, static_cast<int>(arguments.size()), 1);
    lua_pushlstring(lua, name.data(), name.size());
    lua_rawseti(lua, -2, 0);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        lua_pushlstring(lua, arguments[i].data(), arguments[i].size());
        lua_rawseti(lua, -2, static_cast<lua_Integer>(i + 1));
    }
    lua_setglobal(lua, "arg");
}

// Makes require search the folder of the program first.
void SetFolder(lua_State* lua, const std::filesystem::path& folder) {
    lua_getglobal(lua, "package");
    lua_getfield(lua, -1, "path");
    const std::string path = (folder / "?.lua").string() + ";" + lua_tostring(lua, -1);
    lua_pop(lua, 1);
    lua_pushlstring(lua, path.data(), path.size());
    lua_setfield(lua, -2, "path");
    lua_pop(lua, 1);
}

int Open(lua_State* lua) {
    luaL_openlibs(lua);
    if (luaL_dostring(lua, kPrelude) != LUA_OK) return lua_error(lua);
    return OpenBinding(lua);
}

// Replaces an error value by a table with its text and the traceback, which is no longer available after the call.
int AddTraceback(lua_State* lua) {
    luaL_tolstring(lua, 1, nullptr);
    lua_createtable(lua, 2, 0);
    lua_insert(lua, -2);
    lua_rawseti(lua, -2, 1);
    luaL_traceback(lua, lua, nullptr, 1);
    lua_pushliteral(lua, "\n");
    lua_concat(lua, 2);
    lua_rawseti(lua, -2, 2);
    return 1;
}

std::string TextAt(lua_State* lua, int index) {
    const char* text = lua_tostring(lua, index);
    return text != nullptr ? text : "an error without a message";
}

}  // namespace

Script::Script(Host&) : lua_(luaL_newstate()) {
    if (lua_ == nullptr) throw std::bad_alloc();
    lua_State* lua = lua_.get();
    lua_pushcfunction(lua, Open);
    if (lua_pcall(lua, 0, 0, 0) != LUA_OK) throw ScriptError(TextAt(lua, -1), "");
}

void Script::RunFile(const std::string& path, std::span<const std::string> arguments) {
    lua_State* lua = lua_.get();
    const bool isStandardInput = path == "-";
    if (!isStandardInput) SetFolder(lua, std::filesystem::path(path).parent_path());
    SetArguments(lua, path, arguments);
    Run(luaL_loadfile(lua, isStandardInput ? nullptr : path.c_str()), arguments);
}

void Script::RunText(const std::string& text, const std::string& name, std::span<const std::string> arguments) {
    SetArguments(lua_.get(), name, arguments);
    Run(luaL_loadbuffer(lua_.get(), text.data(), text.size(), ("=" + name).c_str()), arguments);
}

void Script::Run(int loadStatus, std::span<const std::string> arguments) {
    lua_State* lua = lua_.get();
    if (loadStatus != LUA_OK) {
        const std::string reason = TextAt(lua, -1);
        lua_settop(lua, 0);
        throw ScriptError(reason, "");
    }
    lua_pushcfunction(lua, AddTraceback);
    lua_insert(lua, -2);
    luaL_checkstack(lua, static_cast<int>(arguments.size()), "too many arguments");
    for (const std::string& argument : arguments) lua_pushlstring(lua, argument.data(), argument.size());
    if (lua_pcall(lua, static_cast<int>(arguments.size()), 0, -2 - static_cast<int>(arguments.size())) != LUA_OK) {
        // When out of memory, the error is a plain string.
        std::string text = TextAt(lua, -1);
        std::string traceback;
        if (lua_istable(lua, -1)) {
            lua_rawgeti(lua, -1, 1);
            text = TextAt(lua, -1);
            lua_rawgeti(lua, -2, 2);
            traceback = TextAt(lua, -1);
        }
        lua_settop(lua, 0);
        throw ScriptError(text, traceback);
    }
    lua_settop(lua, 0);
}

}  // namespace host::script
