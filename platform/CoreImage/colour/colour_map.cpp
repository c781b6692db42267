// colour_map.cpp - a colour for every brightness, out of a picture.
//
// The lowest row of the gradient image is rendered once, before the first tile. Luminance 0...1 runs along its whole width:
// a place there lies between the middles of two pixels, and beyond the outermost middles the colour stays. Between the pixels of
// a picture lies the mean of what is stored, which is decoded afterwards.

#include <algorithm>
#include <cmath>
#include <utility>

#include "colour/colour.h"
#include "core/engine.h"
#include "core/luminance.h"
#include "core/transfer.h"

namespace core_image {
namespace {

// Why a limit: luminance does not tell more places apart, and a row must fit into memory.
constexpr double kWidestGradient = 1 << 20;

class MapStage : public Stage {
  public:
    MapStage(Prepared input, PixelBlock gradient, bool isEncoded)
        : input_(std::move(input)), gradient_(std::move(gradient)), isEncoded_(isEncoded) {}

    bool isPointwise() const override { return input_.isPointwise(); }

    void render(const Tile& tile) const override {
        ForEachStrip(tile, isPointwise(), [this](const Tile& strip) {
            input_.render(strip);
            for (std::int64_t y = strip.region.y; y < strip.region.top(); ++y) mapRow(strip.row(y), strip.width());
        });
    }

  private:
    void mapRow(float* pixels, std::size_t count) const {
        constexpr float kRed = kLuminance[0], kGreen = kLuminance[1], kBlue = kLuminance[2];
        const float* colours = gradient_.row(gradient_.region().y);
        const auto width = static_cast<float>(gradient_.region().width);
        for (float* pixel = pixels; pixel != pixels + count * kFloatsPerPixel; pixel += kFloatsPerPixel) {
            const float alpha = std::isfinite(pixel[3]) ? pixel[3] : 0;
            const float luminance = (pixel[0] * kRed + pixel[1] * kGreen + pixel[2] * kBlue) / alpha;
            // Written so that what is no number, as where alpha is 0, becomes 0.
            const float bounded = luminance > 0 ? std::min(luminance, 1.0f) : 0;
            const float place = std::clamp(bounded * width - 0.5f, 0.0f, width - 1);
            const auto left = static_cast<std::size_t>(place);
            const std::size_t right = std::min(left + 1, static_cast<std::size_t>(width) - 1);
            const float share = place - static_cast<float>(left);
            for (std::size_t channel = 0; channel < kFloatsPerPixel; ++channel) {
                const float from = colours[left * kFloatsPerPixel + channel];
                const float to = colours[right * kFloatsPerPixel + channel];
                pixel[channel] = (from + (to - from) * share) * alpha;
            }
        }
        if (isEncoded_) DecodePremultipliedRow(pixels, count);
    }

    Prepared input_;
    PixelBlock gradient_;
    bool isEncoded_;
};

class MapImage : public Image {
  public:
    MapImage(ImageRef input, ImageRef gradient, const Region& row)
        : Image(input->extent(), input->depth().with(gradient->depth())),
          input_(std::move(input)),
          gradient_(std::move(gradient)),
          row_(row) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override {
        PixelBlock colours(row_);
        const ImageRef encoded = gradient_->encoded();
        Prepare(encoded != nullptr ? encoded : gradient_, row_).render(colours.tile());
        return std::make_unique<MapStage>(Prepare(input_, region), std::move(colours), encoded != nullptr);
    }

  private:
    ImageRef input_;
    ImageRef gradient_;
    Region row_;
};

}  // namespace

ImageRef ColourMap(const Inputs& inputs) {
    ImageRef input = inputs.image("inputImage");
    ImageRef gradient = inputs.image("inputGradientImage");
    if (input == nullptr || gradient == nullptr) return nullptr;
    const Extent& extent = gradient->extent();
    Region row;
    const Extent lowest = {extent.left, extent.bottom, extent.right, extent.bottom + 1};
    if (!(extent.right - extent.left <= kWidestGradient) || !RegionOfExtent(lowest, &row)) return nullptr;
    return std::make_shared<MapImage>(std::move(input), std::move(gradient), row);
}

}  // namespace core_image
