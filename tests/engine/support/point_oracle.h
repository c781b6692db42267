// point_oracle.h - helpers for tests of pointwise filters: inputs by key, images with all kinds of pixels, and
// comparison with a formula in doubles.
//
// Threads: call from the test's thread; rendering uses all threads.

#pragma once

#include <cstddef>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "engine/filter_table.h"
#include "support/engine_images.h"

// The input values of one filter by key. The caller keeps bytes alive.
class FilterValues {
  public:
    FilterValues& Image(const char* key, const core_image::ImageRef& image);
    FilterValues& Number(const char* key, double number);
    FilterValues& Vector(const char* key, std::vector<double> elements);  // or a color
    FilterValues& Bytes(const char* key, const void* bytes, std::size_t count);
    FilterValues& Space(const char* key, core_image::ColorSpace space);

    // Returns the image that the filter makes of these values.
    core_image::ImageRef Output(const char* filter) const;

  private:
    struct Entry {
        core_image::InputValue value;  // without its pointers into this entry
        core_image::ImageRef image;
        std::vector<double> elements;
    };

    Entry& Add(const char* key);

    std::vector<Entry> entries_;
};

// A pixel in doubles, as a slow formula computes it.
struct Slow {
    double red = 0, green = 0, blue = 0, alpha = 0;
};
Slow Unpremultiplied(const Slow& pixel);
Slow Premultiplied(const Slow& color);
double Luminance(const Slow& color);

// The region of the random images: odd sizes, away from the origin.
inline constexpr core_image::Region kOffsetRegion = {5, 3, 61, 37};

// Return an image in that region with opaque, translucent and transparent pixels. Colors and alpha are in 0...1, or
// colors are in -0.5...2 and alpha is up to 1.5.
core_image::ImageRef InRangeImage(unsigned seed);
core_image::ImageRef OutOfRangeImage(unsigned seed);

// Random numbers from a fixed seed.
class RandomNumbers {
  public:
    explicit RandomNumbers(unsigned seed) : engine_(seed) {}
    double operator()(double low, double high) { return std::uniform_real_distribution<double>(low, high)(engine_); }
    std::vector<double> List(std::size_t count, double low, double high);

  private:
    std::mt19937 engine_;
};

// Compares every pixel of an image in and around kOffsetRegion with a formula of its inputs' pixels, all
// premultiplied. The tolerance is relative to the larger of 1 and the expected value.
using Formula = std::function<Slow(const std::vector<Slow>& inputs)>;
void ExpectPixels(const core_image::ImageRef& image, const std::vector<core_image::ImageRef>& inputs,
                  const Formula& formula, double tolerance = 1e-5);

// Return the pixel of an image at (0, 0), and an image of one pixel at (0, 0).
std::vector<float> PixelOf(const core_image::ImageRef& image);
core_image::ImageRef OnePixel(float red, float green, float blue, float alpha);

// Compares two lists of numbers element by element.
void ExpectNear(const std::vector<float>& numbers, const std::vector<double>& expected, double tolerance = 1e-6);
