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

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Copies the greens of pixels.
HWY_INLINE void CopyGreens(const float* pixels, std::size_t count, float* greens) {
    const WideTag d;
    std::size_t index = 0;
    for (; index + hn::Lanes(d) <= count; index += hn::Lanes(d)) {
        Colors c;
        hn::LoadInterleaved4(d, pixels + index * kFloatsPerPixel, c.red, c.green, c.blue, c.alpha);
        hn::StoreU(c.green, d, greens + index);
    }
    for (; index < count; ++index) greens[index] = pixels[index * kFloatsPerPixel + 1];
}

// Writes a run of coverages in red and shadows in green, in blocks, from pixels of the mask, those below them, and of
// the moved mask. The time is in two parts, because the difference from the mask is divided by small numbers.
HWY_ATTR void CoverRun(const float* masks, const float* belows, const float* shadows, const float (&time)[2],
                       float sharpness, float* blocks, std::size_t count) {
    // The first mask is that of the pixel on the left.
    HWY_ALIGN float mask[1 + kRunPixels] = {}, below[kRunPixels] = {}, shadow[kRunPixels] = {};
    CopyGreens(masks - kFloatsPerPixel, 1 + count, mask);
    CopyGreens(belows, count, below);
    CopyGreens(shadows, count, shadow);
    // The least change of a mask: smaller ones count as this.
    const Wide least = Constant(0.001f);
    for (std::size_t pixel = 0; pixel < count; pixel += hn::MaxLanes(WideTag())) {
        const Wide own = hn::LoadU(WideTag(), mask + 1 + pixel);
        const auto apart = [&](const float* others)
                               HWY_ATTR { return hn::Abs(hn::Sub(own, hn::LoadU(WideTag(), others + pixel))); };
        const Wide steepness = hn::Div(Constant(1), hn::Add(hn::Max(apart(mask), apart(below)), least));
        // 0 where a number is darker than the time, 1 where it is brighter.
        const auto remaining = [&](Wide number, Wide slope) HWY_ATTR {
            const Wide beyond = hn::Sub(hn::Sub(number, Constant(time[0])), Constant(time[1]));
            return hn::Max(hn::Min(hn::MulAdd(beyond, slope, Constant(0.5f)), Constant(1)), Constant(0));
        };
        const Wide moved = hn::LoadU(WideTag(), shadow + pixel);
        StoreColors({remaining(own, steepness), remaining(moved, hn::Mul(steepness, Constant(sharpness))), Constant(0),
                     Constant(0)},
                    blocks + PlaceInBlocks(pixel));
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(CoverRun);

// The least width of a shadow's edge, relative to the image's own.
constexpr double kSharpest = 1e-6;

// The pixels of the mask on which a region depends: each is compared with its left and lower neighbors.
Region MaskOf(const Region& region) { return {region.x - 1, region.y - 1, region.width + 1, region.height + 1}; }

class CoverStage : public Stage {
  public:
    CoverStage(Prepared mask, Prepared shadow, const Region& region, double time, double softness)
        : mask_(std::move(mask)),
          shadow_(std::move(shadow)),
          isInMemory_(mask_.IsInMemory(region) && shadow_.IsInMemory(region)),
          time_{static_cast<float>(time), static_cast<float>(time - static_cast<double>(static_cast<float>(time)))},
          sharpness_(static_cast<float>(1 / softness)) {}

    // Otherwise the mask would be rendered for each row and the one above.
    bool IsPointwise() const override { return isInMemory_; }

    void RenderRun(const Run& run, float* blocks, float*) const override {
        const Region region = run.GetRegion();
        Cover(Window(mask_, MaskOf(region)).GetView(), Window(shadow_, region).GetView(), run, blocks);
    }

    void Render(const Tile& tile) const override {
        const Window masks(mask_, MaskOf(tile.region)), shadows(shadow_, tile.region);
        const RunMemory memory(1);
        ForEachRun(tile.region, [&](const Run& run) {
            Cover(masks.GetView(), shadows.GetView(), run, memory.Run(0));
            FromBlocks(memory.Run(0), run.count, tile.Part(run.GetRegion()).pixels);
        });
    }

  private:
    void Cover(const View& masks, const View& shadows, const Run& run, float* blocks) const {
        HWY_DYNAMIC_DISPATCH(CoverRun)
        (masks.PixelAt(run.x, run.y), masks.PixelAt(run.x, run.y - 1), shadows.PixelAt(run.x, run.y), time_, sharpness_,
         blocks, run.count);
    }

    Prepared mask_, shadow_;
    bool isInMemory_;
    float time_[2];
    float sharpness_;
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
        return std::make_unique<CoverStage>(Prepare(mask_, MaskOf(region)), Prepare(shadow_, region), region, time_,
                                            softness_);
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
