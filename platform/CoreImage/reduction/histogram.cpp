// histogram.cpp - counts the pixels with each value.
//
// Component v of a pixel is counted in bin floor(v * bins). Values below 0 are counted in the first bin, values of 1
// and above in the last.

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "reduction/filters.h"
#include "reduction/kernels.h"
#include "reduction/reduce.h"

namespace core_image {
namespace {

constexpr double kMostBins = 2048;

struct Histogram {
    std::vector<std::uint32_t> counts;  // four for each bin

    explicit Histogram(std::size_t bins) : counts(bins * kFloatsPerPixel) {}

    void Add(const float* pixels, std::size_t count, std::int64_t, std::int64_t) {
        std::uint32_t counters[kMostBinned * kFloatsPerPixel];
        std::uint32_t* const all = counts.data();
        for (std::size_t start = 0; start < count; start += kMostBinned) {
            const std::size_t some = std::min(kMostBinned, count - start);
            FindBins(pixels + start * kFloatsPerPixel, some, counts.size() / kFloatsPerPixel, counters);
            for (std::size_t index = 0; index < some * kFloatsPerPixel; ++index) ++all[counters[index]];
        }
    }
    void Merge(const Histogram& above) {
        for (std::size_t index = 0; index < counts.size(); ++index) counts[index] += above.counts[index];
    }
};

}  // namespace

// CIAreaHistogram: the share of pixels in each of inputCount equal steps from 0 to 1, times inputScale, each
// component separately.
ImageRef AreaHistogram(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const Region region = ReducedRegion(input, inputs);
    const double scale = inputs.GetNumber("inputScale");
    const double bins = std::clamp(std::round(inputs.GetNumber("inputCount")), 1.0, kMostBins);
    const auto width = static_cast<std::int64_t>(bins);
    return MakeRowImage(
        std::move(input), region, width, [=](const ImageRef& image, const Region& wanted, float* pixels) {
            const auto floats = static_cast<std::size_t>(wanted.width) * kFloatsPerPixel;
            std::fill_n(pixels, floats, 0.0f);
            if (region.IsEmpty()) return;
            const Samples samples = SamplesOf(region);
            const Histogram histogram = Reduce(image, samples, Histogram(static_cast<std::size_t>(width)));
            const std::uint32_t* counts = &histogram.counts[static_cast<std::size_t>(wanted.x) * kFloatsPerPixel];
            for (std::size_t index = 0; index < floats; ++index) {
                pixels[index] = static_cast<float>(counts[index] * scale / samples.Count());
            }
        });
}

}  // namespace core_image
