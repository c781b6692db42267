// disintegrate.cpp - the image stays where a mask is brighter than the time, and casts a shadow on the target.
//
// With the mask's green m and its change g from pixel to pixel, the coverage of the image is clamp(0.5 + (m - time)
// / g): its edge is a pixel or two wide however steep the mask is. The shadow is computed likewise from the mask
// moved by inputShadowOffset, with an edge inputShadowRadius times as wide. With time the image brightens to 1.25
// and the target from 0.75 to 1.

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/window.h"
#include "sampling/affine.h"
#include "transition/between.h"
#include "transition/filters.h"
#include "transition/formulas.h"

namespace core_image {
namespace {

// The least change of a mask: smaller ones count as this.
constexpr double kLeastChange = 0.001;

// The least width of a shadow's edge, relative to the image's own.
constexpr double kSharpest = 1e-6;

// The channel of the mask that counts.
constexpr std::size_t kGreen = 1;

// How much remains at a pixel of the mask: 0 where it is darker than the time, 1 where it is brighter.
float Remaining(float mask, double time, double change) {
    return static_cast<float>(std::clamp(0.5 + (static_cast<double>(mask) - time) / change, 0.0, 1.0));
}

// The pixels of the mask on which a region depends: each is compared with its left and lower neighbors.
Region MaskOf(const Region& region) { return {region.x - 1, region.y - 1, region.width + 1, region.height + 1}; }

class CoverStage : public Stage {
  public:
    CoverStage(Prepared mask, Prepared shadow, double time, double softness)
        : mask_(std::move(mask)), shadow_(std::move(shadow)), time_(time), softness_(softness) {}

    void Render(const Tile& tile) const override {
        const Window masks(mask_, MaskOf(tile.region)), shadows(shadow_, tile.region);
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            const float* mask = masks.GetView().Row(y) + kGreen;
            const float* below = masks.GetView().Row(y - 1) + kGreen;
            const float* shadow = shadows.GetView().Row(y) + kGreen;
            float* to = tile.Row(y);
            for (std::size_t index = 0; index < tile.Width(); ++index) {
                const float left = *mask;
                mask += kFloatsPerPixel, below += kFloatsPerPixel;
                const double change = std::max(std::abs(*mask - left), std::abs(*mask - *below)) + kLeastChange;
                to[0] = Remaining(*mask, time_, change);
                to[1] = Remaining(*shadow, time_, change * softness_);
                to[2] = to[3] = 0;
                to += kFloatsPerPixel, shadow += kFloatsPerPixel;
            }
        }
    }

  private:
    Prepared mask_, shadow_;
    double time_, softness_;
};

// How much of the image still covers the target, in red, and shadows it, in green.
class CoverImage : public Image {
  public:
    CoverImage(ImageRef mask, ImageRef shadow, double time, double softness)
        : Image(Extent::Infinite(), mask->GetDepth().With(shadow->GetDepth())),
          mask_(std::move(mask)),
          shadow_(std::move(shadow)),
          time_(time),
          softness_(softness) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        needs.AddByTiles(mask_, MaskOf(region));
        needs.AddByTiles(shadow_, region);
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<CoverStage>(Prepare(mask_, MaskOf(region)), Prepare(shadow_, region), time_, softness_);
    }

  private:
    ImageRef mask_, shadow_;
    double time_, softness_;
};

}  // namespace

// CIDisintegrateWithMaskTransition: the image vanishes where inputMaskImage is darker than the time, and casts a
// shadow.
ImageRef DisintegrateWithMaskTransition(const Inputs& inputs) {
    if (inputs.GetImage("inputMaskImage") == nullptr) return nullptr;
    return MakeTransition(inputs, [](const Inputs& values, const Between& between) {
        ImageRef mask = values.GetImage("inputMaskImage");
        Affine move;
        move.tx = values.GetElement("inputShadowOffset", 0);
        move.ty = values.GetElement("inputShadowOffset", 1);
        const double softness = std::max(values.GetNumber("inputShadowRadius"), kSharpest);
        ImageRef cover = std::make_shared<CoverImage>(mask, MakeAffineImage(mask, move), between.time, softness);
        const auto time = static_cast<float>(between.time);
        const DisintegrateFormula formula = {1 + 0.25f * time, 0.75f + 0.25f * time,
                                             static_cast<float>(values.GetNumber("inputShadowDensity"))};
        return MakeFormulaImage({between.image, between.target, std::move(cover)}, formula, between.extent);
    });
}

}  // namespace core_image
