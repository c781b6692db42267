// memory_growth.cpp - reads the size of the process from the system.

#include "host/script/memory_growth.h"

#include <fcntl.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdio>

namespace host::script {

namespace {

// The resident size of this process in bytes; 0 if the system does not report it.
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
    if (++calls_ % kCallsPerMeasurement != 0) return;
    const std::size_t bytes = ResidentBytes();
    if (residentBytes_ == 0 || bytes < residentBytes_) residentBytes_ = bytes;
    if (bytes - residentBytes_ < kGrowth) return;
    lua_gc(lua, LUA_GCCOLLECT);
    // Return freed memory to the system. Otherwise it would count as used, and the next collection would come too late.
    malloc_trim(0);
    residentBytes_ = ResidentBytes();
}

}  // namespace host::script
