// session.h - what every command begins with: a host with both modules loaded.
//
// The modules lie beside the program: <program>/../modules. The companion comes first, as the filters need its classes.
// Another filter module may be named: one of this machine, or, on 32 bits, object code for macOS.

#pragma once

#include "host/host.h"

// A host of the given version with the companion and the filters, those of the build when no other module is named. Throws
// HostError when one of them cannot be loaded.
std::unique_ptr<host::Host> OpenSession(double hostVersion, const std::filesystem::path& filterModule = {});
