// separable.cpp - several rows are summed together, because they share most of what they read.

#include "blur/separable.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "sampling/weighted_sums.h"

namespace core_image {
namespace {

constexpr std::int64_t kRowsTogether = 16;

}  // namespace

void SumAround(const View& source, const std::vector<float>& weights, const Tile& tile) {
    const auto reach = static_cast<std::int64_t>(weights.size() / 2);
    const Region& region = tile.region;
    const PixelBlock lines({region.x - reach, 0, region.width + 2 * reach, kRowsTogether});
    float* sums[kRowsTogether];
    for (std::int64_t i = 0; i < kRowsTogether; ++i) sums[i] = lines.GetTile().Row(i);
    std::vector<const float*> rows;
    for (std::int64_t y = region.y; y < region.Top(); y += kRowsTogether) {
        const std::int64_t count = std::min(kRowsTogether, region.Top() - y);
        rows.clear();
        for (std::int64_t row = y - reach; row < y + reach + count; ++row) {
            rows.push_back(source.PixelAt(region.x - reach, row));
        }
        SumRowsTogether(rows.data(), weights.data(), weights.size(), sums, static_cast<std::size_t>(count),
                        lines.GetTile().Width() * kFloatsPerPixel);
        for (std::int64_t i = 0; i < count; ++i) {
            RowsAhead ahead = {{source, y + count + reach + i}, {tile, y + i + 1}};
            SumAlong(sums[i], kFloatsPerPixel, weights.data(), weights.size(), tile.Row(y + i),
                     tile.Width() * kFloatsPerPixel, &ahead);
        }
    }
}

}  // namespace core_image
