// decode.h - decodes the bytes of a picture file to pixels.
//
// The decoders use libraries that report errors with longjmp. Their functions therefore hold no objects with
// destructors, and everything they allocate is reachable from outside the function that a jump may leave.
//
// Failure: a status; nothing is printed.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <cstdint>

namespace image_io {

// The result of decoding, with the values of CGImageSourceStatus.
enum class Status {
    kUnexpectedEnd = -5,
    kInvalidData = -4,
    kUnknownType = -3,
    kReadingHeader = -2,
    kComplete = 0,
};

// RGBA, top row first, without padding. Integers have straight alpha, floats are premultiplied.
struct Picture {
    std::uint8_t* pixels = nullptr;  // allocated with malloc and freed by the caller
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t depth = 8;  // the bits of a component: 8, 16 in the order of the machine, or 32 for floats
    bool isGray = false;    // the file stores gray; red, green and blue are then equal

    // The ICC profile of the pixels; null if there is none. Allocated and freed like the pixels.
    void* profile = nullptr;
    std::size_t profileLength = 0;

    // The bytes that decoding the picture as a whole takes beside its pixels; set where that is much.
    std::size_t workingBytes = 0;

    // What is wrong with the file, in words; empty where the status says all that is known.
    char reason[160] = "";

    std::size_t BytesPerPixel() const { return depth / 2; }
    std::size_t BytesPerRow() const { return width * BytesPerPixel(); }
};

// The most pixels of a picture that is read. A few bytes of a file can claim a picture that fits in no memory. The
// default is in the manual page, too.
[[nodiscard]] std::size_t PixelLimit();
void SetPixelLimit(std::size_t pixels);

// Sets the size of a picture, which comes from a file, and allocates the pixels in the picture's depth. Returns false
// and allocates nothing when the size is 0, exceeds the limit, or does not fit in memory.
[[nodiscard]] bool Allocate(std::size_t width, std::size_t height, Picture* picture);

// Frees the pixels and the profile of a picture.
void Free(Picture* picture);

// Converts a gray picture with a gray profile to sRGB and drops the profile. Keeps an RGB profile. Drops any other
// profile.
void ApplyGrayProfile(Picture* picture);

// Decodes a file, whose format its first bytes tell. Fills the picture only when the status is kComplete; its profile,
// if any, is an RGB profile. Of a picture that is too large, only the size is set; of any that failed, the reason.
[[nodiscard]] Status Decode(const std::uint8_t* bytes, std::size_t length, Picture* picture);

// The limit of Allocate(): returns whether a picture of a size may be decoded.
[[nodiscard]] bool IsAllowedSize(std::size_t width, std::size_t height);

// Decode a file that begins with the signature of its kind. The picture may hold memory whatever the status is.
[[nodiscard]] Status DecodePNG(const std::uint8_t* bytes, std::size_t length, Picture* picture);
[[nodiscard]] Status DecodeJPEG(const std::uint8_t* bytes, std::size_t length, Picture* picture);

}  // namespace image_io
