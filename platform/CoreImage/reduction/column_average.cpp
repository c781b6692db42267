// column_average.cpp - the mean of each requested column.

#include <utility>
#include <vector>

#include "reduction/filters.h"
#include "reduction/kernels.h"
#include "reduction/reduce.h"

namespace core_image {
namespace {

// The sum of each column, in doubles like the average of an area.
struct ColumnSums {
    std::int64_t left;
    std::vector<double> sums;

    explicit ColumnSums(const Region& region)
        : left(region.x), sums(static_cast<std::size_t>(region.width) * kFloatsPerPixel) {}

    void Add(const float* pixels, std::size_t count, std::int64_t x, std::int64_t) {
        AddRow(pixels, count * kFloatsPerPixel, &sums[static_cast<std::size_t>(x - left) * kFloatsPerPixel]);
    }
    void Merge(const ColumnSums& above) {
        for (std::size_t index = 0; index < sums.size(); ++index) sums[index] += above.sums[index];
    }
};

// Writes the means of all columns of a region.
void AverageColumns(const ImageRef& input, const Region& region, float* pixels) {
    // For regions higher than any bitmap, some rows are skipped.
    constexpr std::int64_t kMostRows = 1 << 20, kMostSamples = 1 << 12;
    std::int64_t step = 1;
    while (region.height > kMostRows && region.height / step > kMostSamples) step *= 2;
    const Samples samples = SamplesAt(region, /*stepX=*/1, step);
    const ColumnSums columns = Reduce(input, samples, ColumnSums(samples.cells));
    for (const double sum : columns.sums)
        *pixels++ = static_cast<float>(sum / static_cast<double>(samples.cells.height));
}

}  // namespace

// CIColumnAverage: each column's mean.
ImageRef ColumnAverage(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const Region region = ReducedRegion(input, inputs);
    const std::int64_t width = region.width;
    return MakeRowImage(std::move(input), region, width,
                        [region](const ImageRef& image, const Region& wanted, float* pixels) {
                            AverageColumns(image, {region.x + wanted.x, region.y, wanted.width, region.height}, pixels);
                        });
}

}  // namespace core_image
