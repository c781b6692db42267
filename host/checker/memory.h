// memory.h - reading memory that may not be there: what a module's pointers point to.

#pragma once

#include <optional>
#include <string>

namespace checker {

// Copies size bytes from an address; false when not all of them can be read.
bool ReadMemory(const void* address, void* to, std::size_t size);

// A structure at an address; none when it cannot be read.
template <typename Structure>
std::optional<Structure> ReadAt(const void* address) {
    Structure structure;
    if (!ReadMemory(address, &structure, sizeof structure)) return std::nullopt;
    return structure;
}

// The text at an address, up to its zero; none when it cannot be read or is longer than any sensible text.
std::optional<std::string> ReadText(const char* address);

// Whether an address lies in memory that can be run.
bool IsCode(const void* address);

}  // namespace checker
