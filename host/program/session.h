// session.h - what every command begins with: a host with both modules loaded.
//
// The modules lie beside the program: <program>/../modules. The companion comes first, as the filters need its classes.

#pragma once

#include "host/host.h"

// A host of the given version with the companion and the filters; throws HostError when one of them cannot be loaded.
std::unique_ptr<host::Host> OpenSession(double hostVersion);
