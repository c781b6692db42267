// limits.cpp - an allocator that counts bytes, and a hook that counts steps.

#include "host/script/limits.h"

#include <cstdlib>

namespace host::script {

namespace {

// How many steps a thread of Lua runs between two calls of the hook.
constexpr int kStepsPerCall = 1000;

// The limits of a state. Lua copies this space of the main thread to each new thread.
Limits*& LimitsOf(lua_State* lua) { return *static_cast<Limits**>(lua_getextraspace(lua)); }

}  // namespace

void Limits::Watch(lua_State* lua) {
    if (memory_ > 0) {
        usedMemory_ = static_cast<std::size_t>(lua_gc(lua, LUA_GCCOUNT)) * 1024 +
                      static_cast<std::size_t>(lua_gc(lua, LUA_GCCOUNTB));
        lua_setallocf(lua, Allocate, this);
    }
    if (steps_ > 0) {
        LimitsOf(lua) = this;
        lua_sethook(lua, CountSteps, LUA_MASKCOUNT, kStepsPerCall);
    }
}

void* Limits::Allocate(void* limits, void* block, std::size_t oldSize, std::size_t newSize) {
    Limits& self = *static_cast<Limits*>(limits);
    if (block == nullptr) oldSize = 0;  // it was the type of the new block
    if (newSize > oldSize && self.usedMemory_ + (newSize - oldSize) > self.memory_) return nullptr;
    void* moved = nullptr;
    if (newSize == 0) {
        std::free(block);
    } else {
        moved = std::realloc(block, newSize);
        if (moved == nullptr) return nullptr;
    }
    self.usedMemory_ += newSize - oldSize;
    return moved;
}

void Limits::CountSteps(lua_State* lua, lua_Debug*) {
    Limits& limits = *LimitsOf(lua);
    limits.usedSteps_ += kStepsPerCall;
    if (limits.usedSteps_ < limits.steps_) return;
    // From here on every step fails, so the error leaves a loop around pcall, too.
    lua_sethook(lua, CountSteps, LUA_MASKCOUNT, 1);
    luaL_where(lua, 0);
    lua_pushfstring(lua, "the limit of %I steps is reached", static_cast<LUAI_UACINT>(limits.steps_));
    lua_concat(lua, 2);
    lua_error(lua);
}

}  // namespace host::script
