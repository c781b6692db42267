// platform_pool.h - an autorelease pool around every call into a module.
//
// Modules send messages, and what those leave behind waits for a pool. With one per call a program can make any number
// of calls in a loop. Everything that crosses the boundary is retained, so nothing is lost with the pool.

#pragma once

#include "host/runtime/call_scope.h"

// The scope to give a Host.
host::CallScope PlatformPool();
