// files.h - whole files in and out, without a word printed when that fails.
//
// Threads: any.

#pragma once

#include <cstddef>

namespace image_io {

// The content of a file.
struct FileContent {
    void* bytes = nullptr;  // allocated with calloc; the caller frees it
    std::size_t length = 0;
};

// Reads a file; on 32 bits at most its first GB. Returns false and allocates nothing when the file is missing, is not
// a regular file, or is larger than memory.
bool ReadFile(const char* path, FileContent* content);

// Writes a file under its final name only when it is whole; whatever had that name stays as it was until then.
// False when it could not be written; nothing is left behind.
bool WriteFile(const char* path, const void* bytes, std::size_t length);

}  // namespace image_io
