// script.cpp - creates a state and runs a program in it.

#include "host/script/script.h"

#include <cstring>
#include <new>

#include "host/script/allowed_paths.h"
#include "host/script/binding.h"

// The text of prelude.lua.
extern const char kPrelude[];

namespace host::script {

namespace {

// The mode in which Lua refuses precompiled programs.
constexpr const char* kTextOnly = "t";

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

// Opens the libraries that can reach neither files nor native code.
void OpenHarmlessLibraries(lua_State* lua) {
    const luaL_Reg libraries[] = {{LUA_GNAME, luaopen_base},        {LUA_TABLIBNAME, luaopen_table},
                                  {LUA_STRLIBNAME, luaopen_string}, {LUA_MATHLIBNAME, luaopen_math},
                                  {LUA_UTF8LIBNAME, luaopen_utf8},  {LUA_COLIBNAME, luaopen_coroutine}};
    for (const luaL_Reg& library : libraries) {
        luaL_requiref(lua, library.name, library.func, /*glb=*/1);
        lua_pop(lua, 1);
    }
}

// A Lua C function. Its argument says whether the script is restricted.
int Open(lua_State* lua) {
    const bool isRestricted = lua_toboolean(lua, 1) != 0;
    if (isRestricted) {
        OpenHarmlessLibraries(lua);
    } else {
        luaL_openlibs(lua);
    }
    if (luaL_loadbuffer(lua, kPrelude, std::strlen(kPrelude), "=prelude") != LUA_OK) return lua_error(lua);
    lua_pushboolean(lua, isRestricted ? 1 : 0);
    lua_call(lua, 1, 0);
    return OpenBinding(lua);
}

// Runs work that may raise Lua errors, and returns Lua's status; the error is then on the stack.
template <typename Work>
int ProtectedCall(lua_State* lua, Work work) {
    lua_pushcfunction(lua, [](lua_State* inner) {
        (*static_cast<Work*>(lua_touserdata(inner, 1)))();
        return 0;
    });
    lua_pushlightuserdata(lua, &work);
    return lua_pcall(lua, 1, 0, 0);
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

Script::Script(Host&, const ScriptOptions& options)
    : options_(options), limits_(options.memory, options.steps), lua_(luaL_newstate()) {
    if (lua_ == nullptr) throw std::bad_alloc();
    lua_State* lua = lua_.get();
    lua_pushcfunction(lua, Open);
    lua_pushboolean(lua, options.isRestricted ? 1 : 0);
    if (lua_pcall(lua, 1, 0, 0) != LUA_OK) throw ScriptError(TextAt(lua, -1), "");
    limits_.Watch(lua);
}

void Script::Prepare(const std::string& name, std::span<const std::string> arguments) {
    lua_State* lua = lua_.get();
    const int status = ProtectedCall(lua, [&] {
        SetArguments(lua, name, arguments);
        if (options_.isRestricted) AllowPaths(lua, arguments);
    });
    if (status != LUA_OK) Run(status, {});
}

void Script::RunFile(const std::string& path, std::span<const std::string> arguments) {
    lua_State* lua = lua_.get();
    const bool isStandardInput = path == "-";
    if (!isStandardInput && !options_.isRestricted) SetFolder(lua, std::filesystem::path(path).parent_path());
    Prepare(path, arguments);
    Run(luaL_loadfilex(lua, isStandardInput ? nullptr : path.c_str(), kTextOnly), arguments);
}

void Script::RunText(const std::string& text, const std::string& name, std::span<const std::string> arguments) {
    Prepare(name, arguments);
    Run(luaL_loadbufferx(lua_.get(), text.data(), text.size(), ("=" + name).c_str(), kTextOnly), arguments);
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
    const int count = static_cast<int>(arguments.size());
    const int status = lua_pcall(lua, count, 0, -2 - count);
    if (status != LUA_OK) {
        // When out of memory, the error is a plain string.
        std::string text = TextAt(lua, -1);
        if (status == LUA_ERRMEM && options_.memory > 0) {
            text += ", the limit of the script is " + std::to_string(options_.memory >> 20) + " MB";
        }
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
