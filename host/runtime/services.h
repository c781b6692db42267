// services.h - the services that the host lends to modules, by name.
//
// Modules call the functions of services.cpp from C. None of them lets a C++ exception out: an error is reported,
// and the service returns null, 0 or nothing. They work on the current Host, because the boundary passes no context.
//
// Owns:    a new object, string or MemoryBlock comes with one reference for the caller; everything else is borrowed.
// Threads: the host's thread.
// Adding one: a row in interface/services.def, and its function in services.cpp. Without the function the host does not
//             compile.

#pragma once

#include <span>

#include "interface/entry_point.h"
#include "interface/services.h"

namespace host {

// A service as modules find it.
struct Service {
    const char* name;
    service::Missing missing;
    service::Failure failure;
    ZEVAentry entry;
    ZEVAentry tracedEntry;  // the same function, with each call recorded in the Host's trace
};

// All services, in the order of the list.
[[nodiscard]] std::span<const Service> Services();

// The resolver that modules get. Null for an unknown name, and for null.
[[nodiscard]] ZEVAentry ResolveService(const char* name);

// The resolver that modules get while there is a trace.
[[nodiscard]] ZEVAentry ResolveTracedService(const char* name);

}  // namespace host
