// platform_pool.h - what the program gives the host of the platform: an autorelease pool around every call into a
// module, and why Core Image made no image. It also gives Core Image the memory limit.
//
// Modules send messages, and the objects that these autorelease wait for a pool. With one pool per call a program can
// make any number of calls in a loop. Everything that crosses the boundary is retained, so it survives the pool.
//
// Threads: the host's thread.

#pragma once

#include <cstddef>
#include <cstdint>

#include "host/runtime/call_scope.h"
#include "host/runtime/failure_source.h"

// Returns the scope for HostOptions::callScope.
[[nodiscard]] host::CallScope PlatformPool();

// Returns the functions for HostOptions::failures.
[[nodiscard]] host::FailureSource PlatformFailures();

// Sets the memory limit of Core Image to a number of bytes, 0 for its own default, divided by a number of processes.
// Does nothing while no module has loaded Core Image.
void LimitPlatformMemory(std::uint64_t bytes, std::size_t processes);
