// files.h - reads and writes whole files.
//
// Failure: false; nothing is printed.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>

namespace image_io {

// The content of a file.
struct FileContent {
    void* bytes = nullptr;  // allocated with calloc and freed by the caller
    std::size_t length = 0;
};

// Reads a file; on 32 bits at most its first GB. Returns false and allocates nothing when the file does not exist, is
// not a regular file, or does not fit in memory.
[[nodiscard]] bool ReadFile(const char* path, FileContent* content);

// Writes a file. It gets its final name only when it is complete; until then an existing file of that name stays as
// it is. Returns false when it cannot be written, and leaves no temporary file behind.
[[nodiscard]] bool WriteFile(const char* path, const void* bytes, std::size_t length);

}  // namespace image_io
