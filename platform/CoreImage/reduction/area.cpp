// area.cpp - a rectangle as one pixel.

#include <array>

#include "reduction/kernels.h"
#include "reduction/reduce.h"
#include "reduction/reduction.h"

namespace core_image {
namespace {

// The sum in doubles: floats would lose what single pixels add to the sum of millions.
struct Average {
    std::array<double, kFloatsPerPixel> sum{};

    void add(const float* pixels, std::size_t count, std::int64_t, std::int64_t) {
        AddPixels(pixels, count, sum.data());
    }
    void merge(const Average& above) {
        for (std::size_t channel = 0; channel < kFloatsPerPixel; ++channel) sum[channel] += above.sum[channel];
    }
    void write(double count, float* pixel) const {
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
    void add(const float* pixels, std::size_t count, std::int64_t, std::int64_t) {
        (kLargest ? LargestOf : SmallestOf)(pixels, count, extreme.data());
    }
    void merge(const Extreme& above) { add(above.extreme.data(), 1, 0, 0); }
    void write(double, float* pixel) const { std::copy_n(extreme.data(), kFloatsPerPixel, pixel); }
};

// The pixel of the largest alpha, or of the smallest.
template <bool kLargest>
struct ExtremeAlpha {
    std::array<float, kFloatsPerPixel> found{};
    std::int64_t x = 0;
    std::int64_t y = 0;
    bool isFound = false;

    void add(const float* pixels, std::size_t count, std::int64_t left, std::int64_t row) {
        if (isFound) {
            Extreme<kLargest> best;
            best.add(pixels, count, left, row);
            const float alpha = best.extreme[3];
            if (!isBetter(alpha) && !(alpha == found[3] && isEarlier(left, row))) return;
        }
        for (std::size_t index = 0; index < count; ++index, pixels += kFloatsPerPixel) {
            consider(pixels, left + static_cast<std::int64_t>(index), row);
        }
    }
    void merge(const ExtremeAlpha& above) {
        if (above.isFound) consider(above.found.data(), above.x, above.y);
    }
    void write(double, float* pixel) const { std::copy_n(found.data(), kFloatsPerPixel, pixel); }

  private:
    bool isBetter(float alpha) const { return kLargest ? alpha > found[3] : alpha < found[3]; }

    // A band is not walked row by row over its whole width, so a place further left can come later.
    bool isEarlier(std::int64_t pixelX, std::int64_t pixelY) const { return pixelY < y || (pixelY == y && pixelX < x); }

    void consider(const float* pixel, std::int64_t pixelX, std::int64_t pixelY) {
        const float alpha = pixel[3];
        if (isFound && !isBetter(alpha) && !(alpha == found[3] && isEarlier(pixelX, pixelY))) return;
        std::copy_n(pixel, kFloatsPerPixel, found.data());
        x = pixelX;
        y = pixelY;
        isFound = true;
    }
};

template <class Accumulator>
ImageRef Area(const Inputs& inputs) {
    ImageRef input = inputs.image("inputImage");
    if (input == nullptr) return nullptr;
    const Region region = ReducedRegion(input, inputs);
    return MakeRowImage(std::move(input), 1, [region](const ImageRef& image, const Region&, float* pixel) {
        std::fill_n(pixel, kFloatsPerPixel, 0.0f);
        if (region.isEmpty()) return;
        const Samples samples = SamplesOf(region);
        Reduce(image, samples, Accumulator()).write(samples.count(), pixel);
    });
}

}  // namespace

ImageRef AreaAverage(const Inputs& inputs) { return Area<Average>(inputs); }
ImageRef AreaMaximum(const Inputs& inputs) { return Area<Extreme<true>>(inputs); }
ImageRef AreaMinimum(const Inputs& inputs) { return Area<Extreme<false>>(inputs); }
ImageRef AreaMaximumAlpha(const Inputs& inputs) { return Area<ExtremeAlpha<true>>(inputs); }
ImageRef AreaMinimumAlpha(const Inputs& inputs) { return Area<ExtremeAlpha<false>>(inputs); }

}  // namespace core_image
