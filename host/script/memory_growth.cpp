// memory_growth.cpp - asks the system how large the process is.

#include "host/script/memory_growth.h"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>

namespace host::script {

namespace {

// How many bytes of this process are in memory; 0 when the system does not say.
std::size_t ResidentBytes() {
    static const int file = open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
    static const long pageSize = sysconf(_SC_PAGESIZE);
    char text[128] = {};
    if (pread(file, text, sizeof text - 1, 0) <= 0) return 0;
    unsigned long total = 0;
    unsigned long resident = 0;
    if (std::sscanf(text, "%lu %lu", &total, &resident) != 2) return 0;
    return resident * static_cast<std::size_t>(pageSize);
}

}  // namespace

void MemoryGrowth::Check(lua_State* lua) {
    if (++calls_ % kCallsPerLook != 0) return;
    const std::size_t bytes = ResidentBytes();
    if (residentBytes_ == 0 || bytes < residentBytes_) residentBytes_ = bytes;
    if (bytes - residentBytes_ < kGrowth) return;
    lua_gc(lua, LUA_GCCOLLECT);
    // What was freed must not look used, or the next look would come the later the more there is of it.
    malloc_trim(0);
    residentBytes_ = ResidentBytes();
}

}  // namespace host::script
