// memory_growth.h - when a script's dropped objects should be collected because of what they hold.
//
// Lua sees a photo of a hundred megabytes as an object of a few bytes, and would let many of them wait. So whenever the
// process has grown by kGrowth since the last look at it, everything that the script has dropped is collected.
//
// Lifetime: one per state, within it. Threads: the host's thread.

#pragma once

#include <cstddef>

#include "host/script/lua.h"

namespace host::script {

class MemoryGrowth {
  public:
    // Collects if the process has grown enough. To be called where the script gets a new object, before that is made.
    void Check(lua_State* lua);

  private:
    // How much a process may grow. Why 64 MB: one photo of a good camera, and little beside a 32-bit address space.
    static constexpr std::size_t kGrowth = std::size_t{64} << 20;

    // Asking the system takes about as long as making a small object, so only one call of so many does.
    static constexpr int kCallsPerLook = 4;

    std::size_t residentBytes_ = 0;
    int calls_ = 0;
};

}  // namespace host::script
