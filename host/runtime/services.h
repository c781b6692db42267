// services.h - what the host lends to modules, found by name.
//
// The functions of services.cpp are called by modules, from C. None of them lets a C++ exception out: what goes wrong
// is reported and answered with null, 0 or nothing. They work for the current Host, since the boundary hands them no
// context.
//
// Owns:    a new object, string or MemoryBlock comes with one reference for the caller; everything else is borrowed.
// Threads: the host's thread.
// Adding one: its function and its line in the list, both in services.cpp.

#pragma once

#include <span>

#include "plugin/zeva.h"

namespace host {

// A service: the name by which modules ask for it, and its function.
struct Service {
    const char* name;
    ZEVAentry entry;
    ZEVAentry tracedEntry;  // the same, telling the Host's trace
};

// All services.
std::span<const Service> Services();

// The resolver that modules get; null for a name that is no service, and for null.
ZEVAentry ResolveService(const char* name);

// The same while there is a trace.
ZEVAentry ResolveTracedService(const char* name);

}  // namespace host
