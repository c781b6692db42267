// mapped_file.h - a file as memory whose pages are read when they are used.
//
// Another process may shorten the file meanwhile. The pages that it loses read as zeros then, and the mapping says so,
// instead of the signal SIGBUS ending the process. For that the first mapping installs a handler of the signal. At the
// first other address that causes the signal, the handler that was there before takes its place again.
//
// Failure: null, with the reason in errno.
// Threads: any.

#pragma once

#include <cstddef>

namespace image_io {

struct MappedFile;

// Maps the first bytes of an open file. Unmap() frees the mapping.
[[nodiscard]] MappedFile* Map(int file, std::size_t length);
void Unmap(MappedFile* mapping);

[[nodiscard]] void* BytesOf(const MappedFile& mapping);

// Whether the file has been found shorter than its mapping.
[[nodiscard]] bool HasBeenShortened(const MappedFile& mapping);

}  // namespace image_io
