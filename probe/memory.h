// memory.h - compares and fills memory whose address a host has given, without trusting it.
//
// The system copies the bytes, through a pipe, and refuses addresses that this process does not have. A wrong address
// becomes a failed check this way, not a crash of the host.
//
// Failure: false for an address without access, and when the system has no pipe.
// Threads: the host's thread.

#pragma once

#include <cstddef>

namespace probe {

// Whether the bytes at an address of the host are those given.
[[nodiscard]] bool IsEqual(const void* at, const void* bytes, std::size_t size);

// Whether each byte at an address of the host is `byte`.
[[nodiscard]] bool IsFilled(const void* at, int byte, std::size_t size);

// Sets each byte at an address of the host.
[[nodiscard]] bool Fill(void* at, int byte, std::size_t size);

}  // namespace probe
