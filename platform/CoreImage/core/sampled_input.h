// sampled_input.h - samples of an image, for images with more pixels than there is time to read.
//
// The grid has one sample in the middle of every cell of stepX by stepY pixels; steps of one give every pixel.
// Threads: Render() on many at once.

#pragma once

#include "core/image.h"

namespace core_image {

// Up to this many pixels, each is read. Of more, only this many samples are. No bitmap is that large, but an infinite
// pattern could otherwise take forever.
inline constexpr double kMostPixelsRead = 1 << 28;
inline constexpr double kMostSamplesRead = 1 << 20;

// The samples of a region, which is given in cells.
class SampledInput {
  public:
    SampledInput(const ImageRef& input, const Region& samples, std::int64_t stepX, std::int64_t stepY)
        : prepared_(
              Prepare(input, {samples.x * stepX, samples.y * stepY, samples.width * stepX, samples.height * stepY})),
          stepX_(stepX),
          stepY_(stepY) {}

    // As for a prepared image.
    std::optional<View> Held(const Region& region) const {
        return stepX_ == 1 && stepY_ == 1 ? prepared_.Held(region) : std::nullopt;
    }

    void Render(const Tile& tile) const {
        if (stepX_ == 1 && stepY_ == 1) {
            prepared_.Render(tile);
            return;
        }
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            for (std::int64_t x = tile.region.x; x < tile.region.Right(); ++x) {
                float* pixel = tile.Row(y) + static_cast<std::size_t>(x - tile.region.x) * kFloatsPerPixel;
                prepared_.Render({{x * stepX_ + stepX_ / 2, y * stepY_ + stepY_ / 2, 1, 1}, pixel, kFloatsPerPixel});
            }
        }
    }

  private:
    Prepared prepared_;
    std::int64_t stepX_;
    std::int64_t stepY_;
};

}  // namespace core_image
