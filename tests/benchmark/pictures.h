// pictures.h - what the benchmarks render: two pictures, a small one and tables, the same for the engine and for other libraries.
//
// Floats are red, green, blue and alpha, linear, opaque; the topmost row first. Like a photo, neighbors are alike and every
// brightness occurs; unlike one, nothing repeats, so that no library may profit from flat places.
// Lifetime: made on first use and kept for good.
// Threads:  made by one thread; reading is for all.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace benchmarks {

inline constexpr std::size_t kWidth = 4000;
inline constexpr std::size_t kHeight = 3000;
inline constexpr std::size_t kSmallEdge = 64;
inline constexpr std::size_t kChannels = 4;

// A picture of floats.
struct Picture {
    std::size_t width;
    std::size_t height;
    std::vector<float> pixels;

    std::size_t bytesPerRow() const { return width * kChannels * sizeof(float); }
};

// The picture that filters work on, one to combine it with, and a small one.
const Picture& First();
const Picture& Second();
const Picture& Small();

// The first picture as bytes, encoded with the curve of sRGB.
const std::vector<std::uint8_t>& FirstAsBytes();

// A cube of colors, red fastest, with an alpha of 1: neither the identity nor a matrix.
inline constexpr std::size_t kCubeEdge = 32;
const std::vector<float>& Cube();

}  // namespace benchmarks
