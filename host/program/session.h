// session.h - what every command begins with: a host with both modules loaded.
//
// The modules lie beside the program: <program>/../modules. The companion comes first, as the filters need its classes.
// Another filter module may be named: one of this machine, or, on 32 bits, object code for macOS.

#pragma once

#include "host/runtime/host.h"

// What the command line says of the host and its modules.
struct SessionOptions {
    double hostVersion = host::HostOptions().version;
    std::filesystem::path module;  // the filter module; that of the build when empty
    std::filesystem::path trace;   // file to tell of every call across the boundary; none when empty
};

// A host of the given version with the companion and the filters. Throws HostError when one of them cannot be loaded.
std::unique_ptr<host::Host> OpenSession(const SessionOptions& options);
