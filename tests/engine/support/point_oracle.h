// point_oracle.h - for tests of filters that work pixel by pixel: their inputs by key, images with everything a pixel can be,
// and the comparison with a formula in doubles.

#pragma once

#include <functional>
#include <random>
#include <string>
#include <vector>

#include "engine/filter_table.h"
#include "support/engine_images.h"

// Values by key for one filter. Bytes must outlive it.
class FilterValues {
  public:
    FilterValues& Image(const char* key, const core_image::ImageRef& image);
    FilterValues& Number(const char* key, double number);
    FilterValues& Vector(const char* key, std::vector<double> elements);  // or a color
    FilterValues& Bytes(const char* key, const void* bytes, std::size_t count);
    FilterValues& Space(const char* key, core_image::ColorSpace space);

    // The image of a filter, by its name.
    core_image::ImageRef Output(const char* filter) const;

  private:
    struct Entry {
        core_image::InputValue value;  // but for the pointers into the entry itself
        core_image::ImageRef image;
        std::vector<double> elements;
    };

    Entry& Add(const char* key);

    std::vector<Entry> entries_;
};

// A pixel in doubles.
struct Slow {
    double red = 0, green = 0, blue = 0, alpha = 0;
};
Slow Unpremultiplied(const Slow& pixel);
Slow Premultiplied(const Slow& color);
double Luminance(const Slow& color);

// Where the random images are: an odd size away from the origin.
inline constexpr core_image::Region kOffsetRegion = {5, 3, 61, 37};

// An image there whose pixels are opaque, translucent and transparent; in range, or with colors of -0.5...2 and alpha up to 1.5.
core_image::ImageRef InRangeImage(unsigned seed);
core_image::ImageRef OutOfRangeImage(unsigned seed);

// Numbers between two others; the seed is printed when a test with it fails.
class RandomNumbers {
  public:
    explicit RandomNumbers(unsigned seed) : engine_(seed) {}
    double operator()(double low, double high) { return std::uniform_real_distribution<double>(low, high)(engine_); }
    std::vector<double> List(std::size_t count, double low, double high);

  private:
    std::mt19937 engine_;
};

// Compares every pixel of an image, on and around kOffsetRegion, with a formula of the pixels of its inputs, all premultiplied.
// The tolerance is relative, to 1 where the number is smaller.
using Formula = std::function<Slow(const std::vector<Slow>& inputs)>;
void ExpectPixels(const core_image::ImageRef& image, const std::vector<core_image::ImageRef>& inputs,
                  const Formula& formula, double tolerance = 1e-5);

// The pixel at (0, 0) of an image; and an image of one pixel there.
std::vector<float> PixelOf(const core_image::ImageRef& image);
core_image::ImageRef OnePixel(float red, float green, float blue, float alpha);

// Compares numbers one by one.
void ExpectNear(const std::vector<float>& numbers, const std::vector<double>& expected, double tolerance = 1e-6);
