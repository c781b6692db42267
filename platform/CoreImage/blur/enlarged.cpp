// enlarged.cpp - interpolates first the rows above one another, then the samples along the row that they give.

#include "blur/enlarged.h"

#include <utility>

#include "blur/sums.h"
#include "core/window.h"
#include "sampling/weighted_sums.h"

namespace core_image {
namespace {

// The position of a pixel between the two samples around it.
std::int64_t Phase(std::int64_t pixel, std::int64_t step) { return FloorRemainder(pixel - step / 2, step); }

// The first of the samples from which a pixel is interpolated.
std::int64_t FirstSample(std::int64_t pixel, std::int64_t step, std::size_t taps) {
    return (pixel - step / 2 - Phase(pixel, step)) / step - (static_cast<std::int64_t>(taps) / 2 - 1);
}

class EnlargedStage : public Stage {
  public:
    EnlargedStage(Prepared coarse, std::int64_t step, std::vector<std::vector<float>> weights)
        : coarse_(std::move(coarse)),
          step_(step),
          taps_(weights.front().size()),
          rowWeights_(std::move(weights)),
          columnWeights_(taps_ * rowWeights_.size() + kMostLanes) {
        for (std::size_t phase = 0; phase < rowWeights_.size(); ++phase) {
            for (std::size_t k = 0; k < taps_; ++k) {
                columnWeights_[k * rowWeights_.size() + phase] = rowWeights_[phase][k];
            }
        }
    }

    void Render(const Tile& tile) const override {
        const Region used = SamplesFor(tile.region, step_, taps_);
        const Window samples(coarse_, used);
        const PixelBlock line(Region{used.x, 0, used.width, 1});
        const auto columnPhase = static_cast<std::size_t>(Phase(tile.region.x, step_));
        const float* rows[kGaussianTaps];  // the most taps
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            const std::int64_t first = FirstSample(y, step_, taps_);
            for (std::size_t k = 0; k < taps_; ++k) {
                rows[k] = samples.GetView().Row(first + static_cast<std::int64_t>(k));
            }
            SumRows(rows, rowWeights_[static_cast<std::size_t>(Phase(y, step_))].data(), taps_, line.GetTile().pixels,
                    line.GetTile().Width() * kFloatsPerPixel);
            InterpolateRow(line.Row(0), columnWeights_.data(), taps_, rowWeights_.size(), columnPhase, tile.Row(y),
                           tile.Width(), tile.floatsPerRow);
        }
    }

  private:
    Prepared coarse_;
    std::int64_t step_;
    std::size_t taps_;
    std::vector<std::vector<float>> rowWeights_;  // of each phase
    std::vector<float> columnWeights_;            // as InterpolateRow takes them
};

}  // namespace

Region SamplesFor(const Region& region, std::int64_t step, std::size_t taps) {
    const std::int64_t x = FirstSample(region.x, step, taps), y = FirstSample(region.y, step, taps);
    const auto count = static_cast<std::int64_t>(taps);
    return {x, y, FirstSample(region.Right() - 1, step, taps) + count - x,
            FirstSample(region.Top() - 1, step, taps) + count - y};
}

std::unique_ptr<const Stage> MakeEnlargedStage(Prepared coarse, std::int64_t step,
                                               std::vector<std::vector<float>> weights) {
    return std::make_unique<EnlargedStage>(std::move(coarse), step, std::move(weights));
}

}  // namespace core_image
