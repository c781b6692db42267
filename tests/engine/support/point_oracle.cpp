// point_oracle.cpp - builds inputs and random images, and compares pixels with formulas.

#include "support/point_oracle.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "core/cropped.h"
#include "support/declared_keys.h"

using namespace core_image;

FilterValues::Entry& FilterValues::Add(const char* key) {
    entries_.push_back({});
    entries_.back().value.key = key;
    return entries_.back();
}

FilterValues& FilterValues::Image(const char* key, const ImageRef& image) {
    Add(key).image = image;
    return *this;
}

FilterValues& FilterValues::Number(const char* key, double number) {
    Add(key).value.number = number;
    return *this;
}

FilterValues& FilterValues::Vector(const char* key, std::vector<double> elements) {
    Add(key).elements = std::move(elements);
    return *this;
}

FilterValues& FilterValues::Bytes(const char* key, const void* bytes, std::size_t count) {
    InputValue& value = Add(key).value;
    value.bytes = bytes;
    value.count = count;
    return *this;
}

FilterValues& FilterValues::Space(const char* key, ColorSpace space) {
    Add(key).value.space = space;
    return *this;
}

ImageRef FilterValues::Output(const char* filter) const {
    std::vector<InputValue> values;
    for (const Entry& entry : entries_) {
        values.push_back(entry.value);
        values.back().image = &entry.image;
        if (entry.elements.empty()) continue;
        values.back().elements = entry.elements.data();
        values.back().count = entry.elements.size();
    }
    return CallFilter(filter, std::move(values));
}

Slow Unpremultiplied(const Slow& pixel) {
    const double alpha = pixel.alpha;
    if (alpha == 0) return {};
    return {pixel.red / alpha, pixel.green / alpha, pixel.blue / alpha, alpha};
}

Slow Premultiplied(const Slow& color) {
    return {color.red * color.alpha, color.green * color.alpha, color.blue * color.alpha, color.alpha};
}

double Luminance(const Slow& color) { return 0.2125 * color.red + 0.7154 * color.green + 0.0721 * color.blue; }

std::vector<double> RandomNumbers::List(std::size_t count, double low, double high) {
    std::vector<double> numbers(count);
    for (double& number : numbers) number = (*this)(low, high);
    return numbers;
}

namespace {

ImageRef RandomImageAt(const Region& region, unsigned seed, double low, double high, double mostAlpha) {
    RandomNumbers random(seed);
    std::vector<float> pixels;
    for (std::int64_t index = 0; index < region.Right() * region.Top(); ++index) {
        const double kind = random(0, 1);
        const double alpha = kind < 0.1 ? 0 : kind < 0.5 ? 1 : random(0.05, mostAlpha);
        for (int channel = 0; channel < 3; ++channel) {
            const double color = random(low - 0.1, high + 0.1);  // some exactly at the limits
            pixels.push_back(static_cast<float>(std::clamp(color, low, high) * alpha));
        }
        pixels.push_back(static_cast<float>(alpha));
    }
    const auto width = static_cast<std::size_t>(region.Right()), height = static_cast<std::size_t>(region.Top());
    return MakeCroppedImage(ImageOf(width, height, std::move(pixels)), Extent::Of(region));
}

}  // namespace

ImageRef InRangeImage(unsigned seed) { return RandomImageAt(kOffsetRegion, seed, 0, 1, 1); }

ImageRef OutOfRangeImage(unsigned seed) { return RandomImageAt(kOffsetRegion, seed, -0.5, 2, 1.5); }

void ExpectPixels(const ImageRef& image, const std::vector<ImageRef>& inputs, const Formula& formula,
                  double tolerance) {
    const Region region = kOffsetRegion.GrownBy(2);
    const std::vector<float> fast = Pixels(image, region);
    std::vector<std::vector<float>> sources;
    for (const ImageRef& input : inputs) sources.push_back(Pixels(input, region));
    for (std::size_t index = 0; index < fast.size(); index += 4) {
        std::vector<Slow> pixels;
        for (const auto& source : sources)
            pixels.push_back({source[index], source[index + 1], source[index + 2], source[index + 3]});
        const Slow slow = formula(pixels);
        const double expected[] = {slow.red, slow.green, slow.blue, slow.alpha};
        for (std::size_t channel = 0; channel < 4; ++channel) {
            const double allowed = tolerance * std::max(1.0, std::abs(expected[channel]));
            ASSERT_NEAR(fast[index + channel], expected[channel], allowed)
                << "pixel " << index / 4 << ", channel " << channel;
        }
    }
}

std::vector<float> PixelOf(const ImageRef& image) { return Pixels(image, {0, 0, 1, 1}); }

ImageRef OnePixel(float red, float green, float blue, float alpha) { return ImageOf(1, 1, {red, green, blue, alpha}); }

void ExpectNear(const std::vector<float>& numbers, const std::vector<double>& expected, double tolerance) {
    ASSERT_EQ(numbers.size(), expected.size());
    for (std::size_t index = 0; index < numbers.size(); ++index)
        EXPECT_NEAR(numbers[index], expected[index], tolerance) << "number " << index;
}
