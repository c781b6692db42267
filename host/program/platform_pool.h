// platform_pool.h - what the program gives the host of the platform: an autorelease pool around every call into a
// module, and why Core Image made no image. It also tells Core Image and Image I/O the limits of memory and threads.
//
// Modules send messages, and the objects that these autorelease wait for a pool. With one pool per call a program can
// make any number of calls in a loop. Everything that crosses the boundary is retained, so it survives the pool.
//
// Threads: the host's thread.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "host/runtime/call_scope.h"
#include "host/runtime/failure_source.h"

// Returns the scope for HostOptions::callScope.
[[nodiscard]] host::CallScope PlatformPool();

// Returns the functions for HostOptions::failures.
[[nodiscard]] host::FailureSource PlatformFailures();

// Returns the memory limit of Core Image in bytes; the largest number while no module has loaded Core Image, and for an
// engine that has none.
[[nodiscard]] std::uint64_t PlatformMemoryLimit();

// Sets the memory limit of Core Image to a number of bytes, 0 for its own default, divided by a number of processes.
// Does nothing while no module has loaded Core Image.
void LimitPlatformMemory(std::uint64_t bytes, std::size_t processes);

// Limits the threads of Core Image and Image I/O, makes Core Image use an instruction set, and lets pictures be on the
// disk when they count as written. The same holds. Pinning returns false when this processor does not have the set.
void LimitPlatformThreads(unsigned threads);
[[nodiscard]] bool PinInstructionSet(const std::string& name);
void SyncPictures();

// Returns the function that removes the temporary files of pictures that are being written, which a signal handler may
// call; null while no module has loaded Image I/O.
[[nodiscard]] void (*UnfinishedPicturesRemover())();

// Returns the name of the instruction set that Core Image uses; empty while no module has loaded Core Image, and for an
// engine that does not tell.
[[nodiscard]] std::string InstructionSet();
