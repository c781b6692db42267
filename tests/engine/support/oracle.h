// oracle.h - helpers for tests of filters that use neighboring pixels: random images anywhere in the plane, their
// pixels as doubles, filters called with a few values, and comparison with a slow function.
//
// Threads: call from the test's thread; rendering uses all threads.

#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <deque>
#include <functional>
#include <memory>
#include <random>
#include <vector>

#include "core/cropped.h"
#include "engine/filter_table.h"
#include "sampling/affine.h"
#include "support/declared_keys.h"
#include "support/engine_images.h"

namespace oracle {

using namespace core_image;

// Random numbers, the same in each run. The environment variable ZEVA_SEED gives others; `make seeds` tries many.
class Random {
  public:
    Random() {
        if (const char* given = std::getenv("ZEVA_SEED")) generator_.seed(static_cast<unsigned>(std::atoi(given)));
    }
    double Between(double least, double most) { return std::uniform_real_distribution<>(least, most)(generator_); }
    std::int64_t Whole(std::int64_t least, std::int64_t most) {
        return std::uniform_int_distribution<std::int64_t>(least, most)(generator_);
    }

  private:
    std::mt19937 generator_;
};

// An image and its pixels, which are 0 outside of its region.
struct Source {
    ImageRef image;
    Region region;
    std::vector<float> pixels;  // top row first

    double At(std::int64_t x, std::int64_t y, std::size_t channel) const {
        if (!region.Contains(x, y)) return 0;
        return static_cast<double>(
            pixels[static_cast<std::size_t>((region.Top() - 1 - y) * region.width + x - region.x) * 4 + channel]);
    }
};

// Returns a channel of the pixel at integer coordinates. Bilinear interpolates the four pixels nearest to a point.
using At = std::function<double(std::int64_t x, std::int64_t y, std::size_t channel)>;
inline double Bilinear(const At& at, double x, double y, std::size_t channel) {
    const double left = std::floor(x - 0.5), bottom = std::floor(y - 0.5);
    const double right = x - 0.5 - left, above = y - 0.5 - bottom;
    const auto i = static_cast<std::int64_t>(left), j = static_cast<std::int64_t>(bottom);
    return (1 - above) * ((1 - right) * at(i, j, channel) + right * at(i + 1, j, channel)) +
           above * ((1 - right) * at(i, j + 1, channel) + right * at(i + 1, j + 1, channel));
}

// Returns a channel of a source that is extended beyond its region by its outermost pixels.
inline double AtNearest(const Source& source, std::int64_t x, std::int64_t y, std::size_t channel) {
    const Region& all = source.region;
    return source.At(std::clamp(x, all.x, all.Right() - 1), std::clamp(y, all.y, all.Top() - 1), channel);
}

// Returns a channel of a clipped pixel: alpha is clipped to 0...1, then colors to 0...alpha.
inline double Clipped(const Source& source, std::int64_t x, std::int64_t y, std::size_t channel) {
    const double alpha = std::clamp(source.At(x, y, 3), 0.0, 1.0);
    return channel == 3 ? alpha : std::clamp(source.At(x, y, channel), 0.0, alpha);
}

// Returns an image of these pixels, top row first, in a region of the plane.
inline Source SourceOf(const Region& region, const std::vector<float>& pixels) {
    auto kept = std::make_shared<std::vector<float>>(pixels);
    BitmapSource bitmap;
    bitmap.pixels = kept->data();
    bitmap.width = static_cast<std::size_t>(region.width);
    bitmap.height = static_cast<std::size_t>(region.height);
    bitmap.bytesPerRow = bitmap.width * 4 * sizeof(float);
    bitmap.format = PixelFormat::kFloats;
    bitmap.alpha = Alpha::kPremultiplied;
    bitmap.transfer = Transfer::kLinear;
    Affine move;
    move.tx = static_cast<double>(region.x);
    move.ty = static_cast<double>(region.y);
    return {MakeAffineImage(MakeBitmapImage(bitmap, kept), move), region, pixels};
}

// Returns a random image of odd size at a random position. Some pixels are opaque, some transparent, some beyond 0...1.
inline Source RandomSource(Random& random) {
    const Region region = {random.Whole(-50, 50), random.Whole(-50, 50), 2 * random.Whole(2, 20) + 1,
                           2 * random.Whole(2, 20) + 1};
    std::vector<float> pixels;
    for (std::int64_t index = 0; index < region.width * region.height; ++index) {
        const double alpha = std::clamp(random.Between(-0.3, 1.3), 0.0, 1.0);
        for (int channel = 0; channel < 3; ++channel) {
            pixels.push_back(static_cast<float>(random.Between(-0.5, 2) * alpha));
        }
        pixels.push_back(static_cast<float>(alpha));
    }
    return SourceOf(region, pixels);
}

// An input of a filter; elements hold a number, a vector, a color or a transform.
//
// Output returns the image that a filter makes. With a null inputImage the filter gets no inputs at all.
struct Value {
    const char* key;
    std::vector<double> elements;
    ImageRef image = nullptr;
};
inline ImageRef OutputOf(const char* filter, const std::vector<Value>& values) {
    std::vector<InputValue> all(values.size());
    for (std::size_t index = 0; index < values.size(); ++index) {
        InputValue& value = all[index];
        value.key = values[index].key;
        value.image = &values[index].image;
        if (values[index].elements.empty()) continue;
        value.number = values[index].elements[0];
        value.elements = values[index].elements.data();
        value.count = values[index].elements.size();
    }
    return CallFilter(filter, std::move(all));
}
inline ImageRef Output(const char* filter, const ImageRef& input, std::vector<Value> values) {
    if (input == nullptr) return OutputOf(filter, {});
    values.push_back({"inputImage", {}, input});
    return OutputOf(filter, values);
}
inline ImageRef Generated(const char* filter, const std::vector<Value>& values) { return OutputOf(filter, values); }

// Compares all pixels of a region with a function. The tolerance is relative to the larger of 1 and the expected value.
using Slow = std::function<double(std::int64_t x, std::int64_t y, std::size_t channel)>;
inline void ExpectPixels(const ImageRef& image, const Region& region, const Slow& slow, double tolerance = 1e-5) {
    const std::vector<float> pixels = Pixels(image, region, {4096, 29, 17});
    for (std::size_t index = 0; index < pixels.size(); ++index) {
        const auto pixel = static_cast<std::int64_t>(index / 4);
        const std::int64_t x = region.x + pixel % region.width, y = region.Top() - 1 - pixel / region.width;
        const double expected = slow(x, y, index % 4);
        ASSERT_NEAR(static_cast<double>(pixels[index]), expected, tolerance * std::max(1.0, std::abs(expected)))
            << "at " << x << ", " << y << " channel " << index % 4;
    }
}

// Expects finite pixels near the origin and far away from it. Accepts null.
inline void ExpectFinite(const ImageRef& image) {
    if (image == nullptr) return;
    for (const Region& region : {Region{-3, -3, 9, 9}, Region{1000000, -1000000, 3, 3}}) {
        const std::vector<float> pixels = Pixels(image, region);
        for (const float number : pixels) ASSERT_TRUE(std::isfinite(number));
    }
}

// Numbers that are likely to cause trouble.
inline const double kHostile[] = {0,    -1,    1e-300, 1e-9,     0.5,       3,           1e9,
                                  1e30, -1e30, 1e308,  HUGE_VAL, -HUGE_VAL, std::nan("")};

}  // namespace oracle
