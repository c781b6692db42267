// enlarged.cpp - interpolates first the rows above one another, then the samples along the row that they give.

#include "blur/enlarged.h"

#include <utility>

#include "core/window.h"
#include "sampling/weighted_sums.h"

namespace core_image {
namespace {

std::int64_t FloorDivide(std::int64_t number, std::int64_t divisor) {
    return number >= 0 ? number / divisor : -((-number + divisor - 1) / divisor);
}

// The first of the samples from which a pixel is interpolated.
std::int64_t FirstSample(std::int64_t pixel, std::int64_t step, std::size_t taps) {
    return FloorDivide(pixel - step / 2, step) - (static_cast<std::int64_t>(taps) / 2 - 1);
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
        const std::size_t columnPhase = Phase(tile.region.x);
        std::vector<const float*> rows(taps_);
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            const std::int64_t first = FirstSample(y, step_, taps_);
            for (std::size_t k = 0; k < taps_; ++k) {
                rows[k] = samples.GetView().Row(first + static_cast<std::int64_t>(k));
            }
            SumRows(rows.data(), rowWeights_[Phase(y)].data(), taps_, line.GetTile().pixels,
                    line.GetTile().Width() * kFloatsPerPixel);
            InterpolateRow(line.Row(0), columnWeights_.data(), taps_, rowWeights_.size(), columnPhase, tile.Row(y),
                           tile.Width());
        }
    }

  private:
    // The position of a pixel between the two samples around it.
    std::size_t Phase(std::int64_t pixel) const {
        const std::int64_t place = pixel - step_ / 2;
        return static_cast<std::size_t>(place - FloorDivide(place, step_) * step_);
    }

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
