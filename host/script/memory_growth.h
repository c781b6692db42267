// memory_growth.h - triggers garbage collection when objects hold much memory outside Lua.
//
// To Lua, a photo of a hundred megabytes is an object of a few bytes, so many of them could pile up. Therefore a full
// collection runs whenever the process has grown by kGrowth since the last one.
//
// Lifetime: one for each state, owned by it. Threads: the host's thread.

#pragma once

#include <cstddef>

#include "host/script/lua.h"

namespace host::script {

class MemoryGrowth {
  public:
    // Collects if the process has grown enough. Call this before a new object becomes a Lua value.
    void Check(lua_State* lua);

  private:
    // The growth of the process that triggers a collection. 64 MB is one photo of a good camera, and little compared
    // with a 32-bit address space.
    static constexpr std::size_t kGrowth = std::size_t{64} << 20;

    // Reading the size takes about as long as making a small object, so only every fourth call does it.
    static constexpr int kCallsPerMeasurement = 4;

    std::size_t residentBytes_ = 0;
    int calls_ = 0;
};

}  // namespace host::script
