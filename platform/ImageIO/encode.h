// encode.h - encodes pixels to the bytes of a picture file.
//
// Failure: the system's error number, 0 for none; nothing is printed.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <cstdint>

namespace image_io {

// The pixels to write: RGBA, top row first.
struct Pixels {
    const std::uint8_t* bytes = nullptr;
    std::size_t depth = 8;  // the bits of a component: 8, 16 in the order of the machine, or 32 for floats
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
    bool isPremultiplied = false;
    bool isOpaque = false;  // the alpha byte is ignored

    // The ICC profile of the space, borrowed; null for sRGB.
    const void* profile = nullptr;
    std::size_t profileLength = 0;
};

enum class Compression { kFast, kBalanced, kSmall };

// How many of the color differences of 4 x 2 pixels a format with losses stores: all, one of two in each row, or one
// for each 2 x 2 pixels.
enum class Subsampling { k444, k422, k420 };

// Bytes that are borrowed.
struct Block {
    const void* bytes = nullptr;
    std::size_t length = 0;
};

// How to write a file. A format takes from it what it knows.
struct EncodeOptions {
    double quality = 0.9;  // of a format with losses, 0 (smallest file) to 1 (best quality)
    Compression compression = Compression::kFast;
    Subsampling subsampling = Subsampling::k420;
    bool isLossless = false;
    bool isProgressive = false;
    Block exif, xmp, iptc;  // the data about the picture (metadata.h)
};

// The channels that a picture uses.
struct Channels {
    bool hasColor = false;
    bool hasAlpha = false;

    std::size_t Count() const { return (hasColor ? 3 : 1) + (hasAlpha ? 1 : 0); }
};

// Returns the fewest channels that hold a picture. A profile describes colors, so a picture with one always has color.
[[nodiscard]] Channels ChannelsOf(const Pixels& pixels);

// A file in memory.
struct EncodedFile {
    unsigned char* bytes = nullptr;  // allocated with malloc and freed by the caller
    std::size_t length = 0;
};

// Encode a picture, whose depth the format has. Fail when it is too large for the format (EFBIG) or memory is short
// (ENOMEM); the caller frees the file's bytes in that case too.
[[nodiscard]] int EncodePNG(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file);
[[nodiscard]] int EncodeJPEG(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file);

// Keeps the given channels of a row, in the depth of the pixels. Integers get straight alpha; floats stay as they are.
void PackRow(const Pixels& pixels, Channels channels, std::size_t row, void* to);

// Blends a row of bytes onto white: three bytes per pixel.
void RowOnWhite(const Pixels& pixels, std::size_t row, std::uint8_t* to);

}  // namespace image_io
