// pictures.h - the inputs of the benchmarks: two large pictures, two smaller ones and tables, the same for the engine
// and for other libraries.
//
// Pictures are linear, opaque RGBA floats, top row first. As in a photo, neighboring pixels are similar and all
// brightness levels occur. Unlike in a photo, nothing repeats, so that no library profits from flat areas.
//
// Lifetime: created on first use, kept for the life of the process.
// Threads:  safe on any thread.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace benchmarks {

inline constexpr std::size_t kWidth = 4000;
inline constexpr std::size_t kHeight = 3000;
inline constexpr std::size_t kResizedWidth = 1024;
inline constexpr std::size_t kResizedHeight = 768;
inline constexpr std::size_t kPhotoWidth = 512;
inline constexpr std::size_t kPhotoHeight = 600;
inline constexpr std::size_t kSmallEdge = 64;
inline constexpr std::size_t kChannels = 4;

// A picture of floats.
struct Picture {
    std::size_t width;
    std::size_t height;
    std::vector<float> pixels;
};

// Return the input picture, the picture to combine it with, a photo for recipes of many steps, and a small picture.
const Picture& First();
const Picture& Second();
const Picture& Photo();
const Picture& Small();

// Returns the first picture as sRGB bytes.
const std::vector<std::uint8_t>& FirstAsBytes();

// Returns a color cube of RGBA floats with an alpha of 1, red varying fastest. It is neither the identity nor a matrix.
inline constexpr std::size_t kCubeEdge = 32;
const std::vector<float>& Cube();

}  // namespace benchmarks
