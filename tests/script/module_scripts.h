// module_scripts.h - the host of the tests that run scripts over both modules.

#pragma once

#include "host/runtime/host.h"

// The host of this process, with companion and filters, an autorelease pool around every call. What it has to say is
// dropped.
host::Host& HostWithModules();
