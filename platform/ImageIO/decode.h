// decode.h - the bytes of a picture file into rows of pixels.
//
// The decoders are written against libraries that report errors by a jump. Their functions therefore hold nothing that needs a
// destructor, and whatever they allocate is reachable from outside the function that may be jumped out of.
//
// Threads: any; nothing is shared. Nothing is printed.

#pragma once

#include <cstddef>
#include <cstdint>

namespace image_io {

// What became of decoding; the numbers are those of CGImageSourceStatus.
enum class Status {
    unexpectedEnd = -5,
    invalidData = -4,
    unknownType = -3,
    readingHeader = -2,
    complete = 0,
};

// Straight 8-bit RGBA, the topmost row first, without padding.
struct Picture {
    std::uint8_t* pixels = nullptr;  // allocated with malloc, for the caller to free
    std::size_t width = 0;
    std::size_t height = 0;
    bool isGray = false;  // as the file holds it; here red, green and blue are then the same

    // The ICC profile that says what the pixels mean; null without one. Allocated and freed like the pixels.
    void* profile = nullptr;
    std::size_t profileLength = 0;
};

inline constexpr std::size_t kBytesPerPixel = 4;

// Why a limit: a few bytes of a file can claim a picture that no memory holds. This one has 268 million pixels.
inline constexpr std::size_t kLargestPicture = std::size_t{1} << 30;

// Memory for a picture whose size a file claims; false, and nothing allocated, when it is larger than the limit or than memory.
bool Allocate(std::size_t width, std::size_t height, Picture* picture);

// Gives back what a picture holds.
void Free(Picture* picture);

// Brings a gray picture with a profile of gray to sRGB, which needs no profile. Any other profile that is none of red, green and blue
// is dropped.
void ApplyGrayProfile(Picture* picture);

// Decodes a file of either kind. The picture is only filled when the status is complete. Its profile, if any, is one of red, green
// and blue.
Status Decode(const std::uint8_t* bytes, std::size_t length, Picture* picture);

// Decodes a file that begins as its kind does. Pixels may be allocated whatever the status is.
Status DecodePNG(const std::uint8_t* bytes, std::size_t length, Picture* picture);
Status DecodeJPEG(const std::uint8_t* bytes, std::size_t length, Picture* picture);

}  // namespace image_io
