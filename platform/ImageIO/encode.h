// encode.h - rows of pixels into the bytes of a picture file.
//
// Threads: any; nothing is shared. Nothing is printed.

#pragma once

#include <cstddef>
#include <cstdint>

namespace image_io {

// Pixels to write: 8-bit RGBA, the topmost row first.
struct Pixels {
    const std::uint8_t* bytes = nullptr;
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
    bool premultiplied = false;
    bool opaque = false;  // alpha is not looked at

    // The ICC profile of the space, borrowed; null for sRGB.
    const void* profile = nullptr;
    std::size_t profileLength = 0;
};

// A file in memory.
struct EncodedFile {
    unsigned char* bytes = nullptr;  // allocated with malloc, for the caller to free
    std::size_t length = 0;
};

// Encode a picture; false when it is too large for the kind of file or memory is short. The file's bytes may be allocated even
// then. Quality is 0 (smallest) to 1 (best).
bool EncodePNG(const Pixels& pixels, EncodedFile* file);
bool EncodeJPEG(const Pixels& pixels, double quality, EncodedFile* file);

// One row with straight alpha.
void StraightRow(const Pixels& pixels, std::size_t row, std::uint8_t* to);

// One row without alpha, on white: three bytes a pixel.
void RowOnWhite(const Pixels& pixels, std::size_t row, std::uint8_t* to);

}  // namespace image_io
