// separable.cpp - several rows are summed together, because they share most of what they read. Many weights along a
// row are summed in parts.

#include "blur/separable.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "sampling/weighted_sums.h"

namespace core_image {
namespace {

constexpr std::int64_t kRowsTogether = 16;

// A part is made with every fourth weight: pixels that are four apart have the same place in a cache line, so no vector
// is loaded from two lines. With few weights, adding the parts takes longer than that.
constexpr std::size_t kParts = 4, kFewestWeightsOfParts = 16;

// out[i] = sum over k of weights[k] * in[i + k], in pixels.
class RowSums {
  public:
    // A row has at most this many pixels.
    RowSums(const std::vector<float>& weights, std::int64_t mostPixels)
        : weights_(weights.size() < kFewestWeightsOfParts ? 1 : kParts),
          sums_(Region{0, 0, mostPixels + static_cast<std::int64_t>(kParts), static_cast<std::int64_t>(kParts)}) {
        for (std::size_t k = 0; k < weights.size(); ++k) weights_[k % weights_.size()].push_back(weights[k]);
        neighbors_.resize(weights_[0].size());
    }

    void operator()(const float* in, float* out, std::size_t pixels) {
        for (std::size_t k = 0; k < neighbors_.size(); ++k) neighbors_[k] = in + k * weights_.size() * kFloatsPerPixel;
        if (weights_.size() == 1) return Sum(0, out, pixels);
        constexpr float kOnes[kParts] = {1, 1, 1, 1};
        const float* shifted[kParts];
        for (std::size_t part = 0; part < kParts; ++part) {
            float* sums = sums_.GetTile().Row(static_cast<std::int64_t>(part));
            Sum(part, sums, pixels + part);
            shifted[part] = sums + part * kFloatsPerPixel;
        }
        SumRows(shifted, kOnes, kParts, out, pixels * kFloatsPerPixel);
    }

  private:
    void Sum(std::size_t part, float* out, std::size_t pixels) const {
        const std::vector<float>& weights = weights_[part];
        SumRows(neighbors_.data(), weights.data(), weights.size(), out, pixels * kFloatsPerPixel);
    }

    std::vector<std::vector<float>> weights_;  // of each part
    PixelBlock sums_;                          // of the parts
    std::vector<const float*> neighbors_;
};

}  // namespace

void SumAround(const View& source, const std::vector<float>& weights, const Tile& tile) {
    const auto reach = static_cast<std::int64_t>(weights.size() / 2);
    const Region& region = tile.region;
    const PixelBlock lines({region.x - reach, 0, region.width + 2 * reach, kRowsTogether});
    float* sums[kRowsTogether];
    for (std::int64_t i = 0; i < kRowsTogether; ++i) sums[i] = lines.GetTile().Row(i);
    RowSums sumRow(weights, region.width);
    std::vector<const float*> rows;
    for (std::int64_t y = region.y; y < region.Top(); y += kRowsTogether) {
        const std::int64_t count = std::min(kRowsTogether, region.Top() - y);
        rows.clear();
        for (std::int64_t row = y - reach; row < y + reach + count; ++row) {
            rows.push_back(source.PixelAt(region.x - reach, row));
        }
        SumRowsTogether(rows.data(), weights.data(), weights.size(), sums, static_cast<std::size_t>(count),
                        lines.GetTile().Width() * kFloatsPerPixel);
        for (std::int64_t i = 0; i < count; ++i) sumRow(sums[i], tile.Row(y + i), tile.Width());
    }
}

}  // namespace core_image
