// tiff_stream.h - TIFF files in memory, as libtiff reads and writes them.
//
// Failure: the library's first error is kept in the stream; nothing is printed.
// Threads: one at a time.

#pragma once

#include <tiffio.h>

#include <cstddef>
#include <cstdint>

namespace image_io {

// The most memory that a file can ask for at once. A few bytes can claim a tile that fits in no memory.
constexpr tmsize_t kMostTiffAtOnce = 1 << 30;

// A file in memory. Of one that is read, the bytes are borrowed. Those of one that is written are allocated with
// malloc, and whoever has the stream frees them.
struct TiffStream {
    const std::uint8_t* bytes = nullptr;
    std::size_t length = 0;
    std::size_t at = 0;
    bool hasEnded = false;  // whether more was to be read than there is
    std::uint8_t* written = nullptr;
    std::size_t capacity = 0;
    char fault[120] = "";
};

// Open a file, which is closed with TIFFClose before the stream ends. Return null when that fails. A large file has
// more than 4 GB.
[[nodiscard]] TIFF* OpenToRead(TiffStream* stream);
[[nodiscard]] TIFF* OpenToWrite(TiffStream* stream, bool isLarge);

// Adds bytes to the end of a file that is written. Returns false when memory is short.
[[nodiscard]] bool Append(TiffStream* stream, const void* bytes, std::size_t length);

}  // namespace image_io
