// encode.h - encodes pixels to the bytes of a picture file.
//
// Failure: the system's error number, 0 for none; nothing is printed.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <cstdint>

namespace image_io {

// The pixels to write: 8-bit RGBA, top row first.
struct Pixels {
    const std::uint8_t* bytes = nullptr;
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
    bool isPremultiplied = false;
    bool isOpaque = false;  // the alpha byte is ignored

    // The ICC profile of the space, borrowed; null for sRGB.
    const void* profile = nullptr;
    std::size_t profileLength = 0;
};

// A file in memory.
struct EncodedFile {
    unsigned char* bytes = nullptr;  // allocated with malloc and freed by the caller
    std::size_t length = 0;
};

// Encode a picture. Fail when it is too large for the format (EFBIG) or memory is short (ENOMEM); the caller frees the
// file's bytes in that case too. Quality is 0 (smallest file) to 1 (best quality).
[[nodiscard]] int EncodePNG(const Pixels& pixels, EncodedFile* file);
[[nodiscard]] int EncodeJPEG(const Pixels& pixels, double quality, EncodedFile* file);

// Converts a row to RGBA with straight alpha: four bytes per pixel.
void StraightRow(const Pixels& pixels, std::size_t row, std::uint8_t* to);

// Blends a row onto white: three bytes per pixel.
void RowOnWhite(const Pixels& pixels, std::size_t row, std::uint8_t* to);

}  // namespace image_io
