// files.h - reads and writes whole files.
//
// Paths are bytes: they need not be text.
//
// Failure: the system's error number, 0 for none; nothing is printed.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>

namespace image_io {

// The content of a file.
struct FileContent {
    void* bytes = nullptr;  // allocated with calloc and freed by the caller
    std::size_t length = 0;
};

// Reads a file; on 32 bits at most its first GB. Fails and allocates nothing when the file does not exist, is not a
// regular file (EINVAL), or does not fit in memory (ENOMEM).
[[nodiscard]] int ReadFile(const char* path, FileContent* content);

// Writes a file. A link is followed.
//
// A regular file gets its name only when it is complete; until then an existing file of that name stays as it is. The
// new file takes over the mode of the existing one, and its owner and group where that is permitted. An existing file
// without write permission is refused. Anything else that exists, such as a pipe or a device, is written to directly.
//
// When this fails, no temporary file is left behind.
[[nodiscard]] int WriteFile(const char* path, const void* bytes, std::size_t length);

}  // namespace image_io
