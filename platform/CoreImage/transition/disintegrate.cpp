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

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transition/disintegrate.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Writes a row of coverages in red and shadows in green, of pixels of the mask, those to the left of and below them,
// and of its shadow. The time is in two parts, because the difference from the mask is divided by small numbers. No
// multiplication is fused with an addition: a row's end is computed pixel by pixel, and must give the same bits.
HWY_ATTR void CoverRow(const float* masks, const float* lefts, const float* belows, const float* shadows,
                       const float (&time)[2], float softness, float* to, std::size_t count) {
    const auto cover = [&](auto d, std::size_t index, auto green) HWY_ATTR {
        const std::size_t at = index * kFloatsPerPixel;
        // The least change of a mask: smaller ones count as this.
        const auto least = hn::Set(d, 0.001f);
        const auto mask = green(masks + at), shadow = green(shadows + at);
        const auto apart = [&](auto other) HWY_ATTR { return hn::Abs(hn::Sub(mask, other)); };
        const auto change = hn::Add(hn::Max(apart(green(lefts + at)), apart(green(belows + at))), least);
        // 0 where a number is darker than the time, 1 where it is brighter.
        const auto remaining = [&](auto number, auto width) HWY_ATTR {
            const auto beyond = hn::Sub(hn::Sub(number, hn::Set(d, time[0])), hn::Set(d, time[1]));
            const auto share = hn::Add(hn::Div(beyond, width), hn::Set(d, 0.5f));
            return hn::Max(hn::Min(share, hn::Set(d, 1.0f)), hn::Zero(d));
        };
        return std::pair(remaining(mask, change), remaining(shadow, hn::Mul(change, hn::Set(d, softness))));
    };
    const hn::ScalableTag<float> d;
    std::size_t index = 0;
    for (; index + hn::Lanes(d) <= count; index += hn::Lanes(d)) {
        const auto [covered, shadowed] = cover(d, index, [&](const float* from) HWY_ATTR {
            auto red = hn::Zero(d), green = red, blue = red, alpha = red;
            hn::LoadInterleaved4(d, from, red, green, blue, alpha);
            return green;
        });
        hn::StoreInterleaved4(covered, shadowed, hn::Zero(d), hn::Zero(d), d, to + index * kFloatsPerPixel);
    }
    const hn::CappedTag<float, 1> one;
    for (; index < count; ++index) {
        const auto [covered, shadowed] =
            cover(one, index, [&](const float* from) HWY_ATTR { return hn::Set(one, from[1]); });
        float* const pixel = to + index * kFloatsPerPixel;
        pixel[0] = hn::GetLane(covered);
        pixel[1] = hn::GetLane(shadowed);
        pixel[2] = pixel[3] = 0;
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(CoverRow);

// The least width of a shadow's edge, relative to the image's own.
constexpr double kSharpest = 1e-6;

// The pixels of the mask on which a region depends: each is compared with its left and lower neighbors.
Region MaskOf(const Region& region) { return {region.x - 1, region.y - 1, region.width + 1, region.height + 1}; }

class CoverStage : public Stage {
  public:
    CoverStage(Prepared mask, Prepared shadow, double time, double softness)
        : mask_(std::move(mask)), shadow_(std::move(shadow)), time_(time), softness_(softness) {}

    void Render(const Tile& tile) const override {
        const Window masks(mask_, MaskOf(tile.region)), shadows(shadow_, tile.region);
        const auto high = static_cast<float>(time_);
        const float time[2] = {high, static_cast<float>(time_ - static_cast<double>(high))};
        const std::int64_t x = tile.region.x;
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            const View& mask = masks.GetView();
            HWY_DYNAMIC_DISPATCH(CoverRow)
            (mask.PixelAt(x, y), mask.PixelAt(x - 1, y), mask.PixelAt(x, y - 1), shadows.GetView().Row(y), time,
             static_cast<float>(softness_), tile.Row(y), tile.Width());
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
#endif
