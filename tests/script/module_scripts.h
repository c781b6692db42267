// module_scripts.h - the host of the tests whose scripts use both modules.

#pragma once

#include "host/runtime/host.h"

// The host of this process, with the companion and the filters loaded and an autorelease pool around each call. Its
// messages are discarded.
host::Host& HostWithModules();
