// area.cpp - a rectangle as one pixel.

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <utility>

#include "reduction/filters.h"
#include "reduction/kernels.h"
#include "reduction/reduce.h"

namespace core_image {
namespace {

// Summed in doubles: in a sum of millions, floats would lose the contribution of single pixels.
struct Average {
    std::array<double, kFloatsPerPixel> sum{};

    void Add(const float* pixels, std::size_t count, std::int64_t, std::int64_t) {
        AddPixels(pixels, count, sum.data());
    }
    void Merge(const Average& above) {
        for (std::size_t channel = 0; channel < kFloatsPerPixel; ++channel) sum[channel] += above.sum[channel];
    }
    void Write(double count, float* pixel) const {
        for (std::size_t channel = 0; channel < kFloatsPerPixel; ++channel) {
            pixel[channel] = static_cast<float>(sum[channel] / count);
        }
    }
};

// The largest of each component, or the smallest.
template <bool kLargest>
struct Extreme {
    std::array<float, kFloatsPerPixel> extreme;

    Extreme() {
        constexpr float kFar = std::numeric_limits<float>::max();
        extreme.fill(kLargest ? -kFar : kFar);
    }
    void Add(const float* pixels, std::size_t count, std::int64_t, std::int64_t) {
        (kLargest ? LargestOf : SmallestOf)(pixels, count, extreme.data());
    }
    void Merge(const Extreme& above) { Add(above.extreme.data(), 1, 0, 0); }
    void Write(double, float* pixel) const { std::copy_n(extreme.data(), kFloatsPerPixel, pixel); }
};

// The pixel of the largest alpha, or of the smallest.
template <bool kLargest>
struct ExtremeAlpha {
    std::array<float, kFloatsPerPixel> found{};
    std::int64_t x = 0;
    std::int64_t y = 0;
    bool isFound = false;

    void Add(const float* pixels, std::size_t count, std::int64_t left, std::int64_t row) {
        if (isFound) {
            Extreme<kLargest> best;
            best.Add(pixels, count, left, row);
            const float alpha = best.extreme[3];
            if (!IsBetter(alpha) && !(alpha == found[3] && IsEarlier(left, row))) return;
        }
        for (std::size_t index = 0; index < count; ++index, pixels += kFloatsPerPixel) {
            Consider(pixels, left + static_cast<std::int64_t>(index), row);
        }
    }
    void Merge(const ExtremeAlpha& above) {
        if (above.isFound) Consider(above.found.data(), above.x, above.y);
    }
    void Write(double, float* pixel) const { std::copy_n(found.data(), kFloatsPerPixel, pixel); }

  private:
    bool IsBetter(float alpha) const { return kLargest ? alpha > found[3] : alpha < found[3]; }

    // A band is not walked row by row over its whole width, so a place further left can come later.
    bool IsEarlier(std::int64_t pixelX, std::int64_t pixelY) const { return pixelY < y || (pixelY == y && pixelX < x); }

    void Consider(const float* pixel, std::int64_t pixelX, std::int64_t pixelY) {
        const float alpha = pixel[3];
        if (std::isnan(alpha)) return;
        if (isFound && !IsBetter(alpha) && !(alpha == found[3] && IsEarlier(pixelX, pixelY))) return;
        std::copy_n(pixel, kFloatsPerPixel, found.data());
        x = pixelX;
        y = pixelY;
        isFound = true;
    }
};

template <class Accumulator>
ImageRef Area(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const Region region = ReducedRegion(input, inputs);
    return MakeRowImage(std::move(input), region, 1, [region](const ImageRef& image, const Region&, float* pixel) {
        std::fill_n(pixel, kFloatsPerPixel, 0.0f);
        if (region.IsEmpty()) return;
        const Samples samples = SamplesOf(region);
        Reduce(image, samples, Accumulator()).Write(samples.Count(), pixel);
    });
}

}  // namespace

// CIAreaAverage, CIAreaMaximum, CIAreaMinimum: each component separately.
ImageRef AreaAverage(const Inputs& inputs) { return Area<Average>(inputs); }
ImageRef AreaMaximum(const Inputs& inputs) { return Area<Extreme<true>>(inputs); }
ImageRef AreaMinimum(const Inputs& inputs) { return Area<Extreme<false>>(inputs); }
// CIAreaMaximumAlpha, CIAreaMinimumAlpha: the pixel with that alpha; of several the lowest, then the leftmost.
ImageRef AreaMaximumAlpha(const Inputs& inputs) { return Area<ExtremeAlpha<true>>(inputs); }
ImageRef AreaMinimumAlpha(const Inputs& inputs) { return Area<ExtremeAlpha<false>>(inputs); }

}  // namespace core_image
