// column_average.cpp - the mean of each column, of those columns that are wanted.

#include "reduction/reduce.h"
#include "reduction/reduction.h"

namespace core_image {
namespace {

// Writes the means of all columns of a region.
void AverageColumns(const ImageRef& input, const Region& region, float* pixels) {
    constexpr std::int64_t kColumns = 64, kRows = 64;
    // Higher than any bitmap: not all rows are looked at.
    constexpr std::int64_t kMostRows = 1 << 20, kMostSamples = 1 << 12;
    std::int64_t step = 1;
    while (region.height > kMostRows && region.height / step > kMostSamples) step *= 2;
    const Samples samples = SamplesAt(region, /*stepX=*/1, step);
    const Region& cells = samples.cells;
    const SampledInput sampled(input, cells, samples.stepX, samples.stepY);
    tbb::parallel_for<std::int64_t>(0, (region.width + kColumns - 1) / kColumns, [&](std::int64_t index) {
        const Region strip = cells.intersection({cells.x + index * kColumns, cells.y, kColumns, cells.height});
        std::vector<double> sums(static_cast<std::size_t>(strip.width) * kFloatsPerPixel);
        const PixelBlock block(Region{0, 0, strip.width, kRows});
        for (std::int64_t y = strip.y; y < strip.top(); y += kRows) {
            const Tile tile = {strip.intersection({strip.x, y, strip.width, kRows}), block.tile().pixels,
                               block.tile().floatsPerRow};
            sampled.render(tile);
            for (std::int64_t row = tile.region.y; row < tile.region.top(); ++row) {
                const float* from = tile.row(row);
                for (std::size_t number = 0; number < sums.size(); ++number) {
                    sums[number] += static_cast<double>(from[number]);
                }
            }
        }
        float* to = pixels + static_cast<std::size_t>(index * kColumns) * kFloatsPerPixel;
        for (std::size_t number = 0; number < sums.size(); ++number) {
            to[number] = static_cast<float>(sums[number] / static_cast<double>(cells.height));
        }
    });
}

}  // namespace

ImageRef ColumnAverage(const Inputs& inputs) {
    ImageRef input = inputs.image("inputImage");
    if (input == nullptr) return nullptr;
    const Region region = ReducedRegion(input, inputs);
    const std::int64_t width = region.width;
    return MakeRowImage(std::move(input), width, [region](const ImageRef& image, const Region& wanted, float* pixels) {
        AverageColumns(image, {region.x + wanted.x, region.y, wanted.width, region.height}, pixels);
    });
}

}  // namespace core_image
