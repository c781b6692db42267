// memory.h - reads through pointers of a module that may be invalid.
//
// Failure: an address that cannot be read gives false or nothing; it never crashes.
// Threads: the host's thread.

#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace checker {

// Copies `size` bytes from an address. Returns false when any of them cannot be read.
[[nodiscard]] bool ReadMemory(const void* address, void* to, std::size_t size);

// Returns the structure at an address, or nothing when it cannot be read.
template <typename Structure>
[[nodiscard]] std::optional<Structure> ReadAt(const void* address) {
    Structure structure;
    if (!ReadMemory(address, &structure, sizeof structure)) return std::nullopt;
    return structure;
}

// Returns the zero-terminated text at an address, or nothing when it cannot be read or is longer than about 4 KB.
[[nodiscard]] std::optional<std::string> ReadText(const char* address);

// Whether an address lies in executable memory.
[[nodiscard]] bool IsCode(const void* address);

}  // namespace checker
