// memory_limit.h - sizes of memory as text: "256M", "1.5G".
//
// Failure: UsageError.

#pragma once

#include <cstdint>
#include <string>

// Returns the number of bytes of a size. Throws UsageError for a text that is not a size, and for less than 16 MB.
[[nodiscard]] std::uint64_t MemorySize(const std::string& option, const std::string& text);
