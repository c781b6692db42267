// files.h - whole files in and out, without a word printed when that fails.
//
// Threads: any.

#pragma once

#include <cstddef>

namespace image_io {

// The content of a file.
struct FileContent {
    void* bytes = nullptr;  // allocated with malloc, for the caller to free
    std::size_t length = 0;
};

// Reads a file. False, and nothing allocated, when it is not there, is no ordinary file, or is larger than memory.
bool ReadFile(const char* path, FileContent* content);

// Writes a file under its final name only when it is whole; whatever had that name stays as it was until then.
// False when it could not be written; nothing is left behind.
bool WriteFile(const char* path, const void* bytes, std::size_t length);

}  // namespace image_io
