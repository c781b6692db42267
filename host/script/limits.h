// limits.h - how much memory and how many steps a script may use.
//
// Lua's memory holds the script's tables, strings and functions, but not pictures and MemoryBlocks. A step is one
// instruction of the Lua machine. A library function counts as one step however long it takes, and so does rendering.
//
// Lifetime: Limits must outlive the state. Threads: the host's thread.

#pragma once

#include <cstddef>
#include <cstdint>

#include "host/script/lua.h"

namespace host::script {

class Limits {
  public:
    // Limits in bytes and in steps; 0 means no limit.
    Limits(std::size_t memory, std::uint64_t steps) : memory_(memory), steps_(steps) {}
    Limits(const Limits&) = delete;

    // Begins to count the memory and the steps of a state that luaL_newstate made. Exceeding the memory is Lua's error
    // "not enough memory"; exceeding the steps is an error that no pcall can hold up.
    void Watch(lua_State* lua);

  private:
    static void* Allocate(void* limits, void* block, std::size_t oldSize, std::size_t newSize);
    static void CountSteps(lua_State* lua, lua_Debug*);

    const std::size_t memory_;
    const std::uint64_t steps_;
    std::size_t usedMemory_ = 0;
    std::uint64_t usedSteps_ = 0;
};

}  // namespace host::script
