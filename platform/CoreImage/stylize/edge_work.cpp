// edge_work.cpp - a woodcut: white where a picture is brighter than its surroundings.
//
// Two stages with the same Gaussian G. The luminance y of the picture, 0 outside of it, is compared with its
// surroundings: v = clamp(0.45 + 80 (y - G y)). Smoothed and compared once more, this gives round shapes: the alpha of
// the drawing is clamp(0.5 + 10 (G v - 0.5)), its color is white.
//
// All of this is about one number per pixel. Where a Gaussian is narrow, a tile therefore works on planes of numbers,
// in a quarter of the time of pixels; a wide Gaussian is that of images (blur/blur.h).

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "blur/blur.h"
#include "blur/gaussian_weights.h"
#include "blur/planes.h"
#include "blur/wide_gaussian.h"
#include "core/point.h"
#include "core/window.h"
#include "stylize/filters.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stylize/edge_work.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

constexpr float kBrighterGain = 80, kBrighterOffset = 0.45f, kCutGain = 10, kCutOffset = 0.5f - 10 * 0.5f;

HWY_INLINE void SetAll(Colors& c, Wide value) { c = {value, value, value, value}; }

HWY_INLINE Wide Brighter(Wide light, Wide around) {
    return Clamp01(hn::MulAdd(hn::Sub(light, around), Constant(kBrighterGain), Constant(kBrighterOffset)));
}

HWY_INLINE Wide Cut(Wide brighter) { return Clamp01(hn::MulAdd(brighter, Constant(kCutGain), Constant(kCutOffset))); }

HWY_ATTR void LuminanceRow(float* pixels, std::size_t count) {
    ForEachPixel(pixels, count, [](Colors& c) HWY_ATTR {
        Clip(c);
        SetAll(c, Luminance(c));
    });
}

HWY_ATTR void BrighterRow(float* pixels, const float* const* others, std::size_t count) {
    ForEachPlace<1>(pixels, others, count,
                    [](Colors& c, const auto& blurred) HWY_ATTR { SetAll(c, Brighter(c.red, blurred[0].red)); });
}

HWY_ATTR void CutRow(float* pixels, std::size_t count) {
    ForEachPixel(pixels, count, [](Colors& c) HWY_ATTR { SetAll(c, Cut(c.red)); });
}

// The same for planes, which are one block (kBlockPixels) longer than the row.
HWY_ATTR void LuminancePlaneRow(float* pixels, float* plane, std::size_t count) {
    ForEachIndexedPlace<0>(pixels, nullptr, count, [&](Colors& c, const auto&, std::size_t index) HWY_ATTR {
        Clip(c);
        hn::StoreU(Luminance(c), WideTag(), plane + index);
    });
}

HWY_ATTR void BrighterPlaneRow(const float* light, float* around, std::size_t count) {
    const WideTag d;
    for (std::size_t index = 0; index < count; index += hn::Lanes(d))
        hn::StoreU(Brighter(hn::LoadU(d, light + index), hn::LoadU(d, around + index)), d, around + index);
}

HWY_ATTR void CutPlaneRow(const float* brighter, float* pixels, std::size_t count) {
    ForEachIndexedPlace<0>(pixels, nullptr, count, [&](Colors& c, const auto&, std::size_t index) HWY_ATTR {
        SetAll(c, Cut(hn::LoadU(WideTag(), brighter + index)));
    });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(LuminanceRow);
HWY_EXPORT(BrighterRow);
HWY_EXPORT(CutRow);
HWY_EXPORT(LuminancePlaneRow);
HWY_EXPORT(BrighterPlaneRow);
HWY_EXPORT(CutPlaneRow);

class LuminanceFunction : public PointFunction {
  public:
    void ApplyToRun(float* pixels, std::size_t count) const override {
        HWY_DYNAMIC_DISPATCH(LuminanceRow)(pixels, count);
    }
};

class BrighterFunction : public CombiningFunction {
  public:
    void ApplyToRun(float* pixels, const float* const* others, std::size_t count) const override {
        HWY_DYNAMIC_DISPATCH(BrighterRow)(pixels, others, count);
    }
};

class CutFunction : public PointFunction {
  public:
    void ApplyToRun(float* pixels, std::size_t count) const override { HWY_DYNAMIC_DISPATCH(CutRow)(pixels, count); }
};

class NarrowStage : public Stage {
  public:
    NarrowStage(Prepared input, const Extent& extent, const std::vector<float>& weights)
        : input_(std::move(input)), extent_(extent), weights_(weights) {}

    void Render(const Tile& tile) const override {
        const auto reach = static_cast<std::int64_t>(weights_.size() / 2);
        const RunMemory memory(1);
        Plane light(tile.region.GrownBy(2 * reach));
        const Window window(input_, light.GetRegion());
        ForEachRun(light.GetRegion(), [&](const Run& run) {
            ToBlocks(window.GetView().PixelAt(run.x, run.y), run.count, memory.Run(0));
            HWY_DYNAMIC_DISPATCH(LuminancePlaneRow)
            (memory.Run(0), light.Row(run.y) + (run.x - light.GetRegion().x), run.count);
        });
        Plane brighter(tile.region.GrownBy(reach)), smooth(tile.region);
        BlurPlane(light, weights_, brighter);
        MakeBrighter(light, brighter);
        BlurPlane(brighter, weights_, smooth);
        ForEachRun(tile.region, [&](const Run& run) {
            HWY_DYNAMIC_DISPATCH(CutPlaneRow)(smooth.Row(run.y) + (run.x - tile.region.x), memory.Run(0), run.count);
            FromBlocks(memory.Run(0), run.count, tile.Part(run.GetRegion()).pixels);
        });
    }

  private:
    // Compares with blurred light, in place. Outside of the picture nothing is brighter than its surroundings.
    void MakeBrighter(const Plane& light, Plane& around) const {
        const Region &all = around.GetRegion(), inside = Clip(all, extent_);
        for (std::int64_t y = all.y; y < all.Top(); ++y) {
            float* row = around.Row(y);
            if (inside.IsEmpty() || y < inside.y || y >= inside.Top()) {
                std::fill_n(row, all.width, 0.0f);
                continue;
            }
            HWY_DYNAMIC_DISPATCH(BrighterPlaneRow)
            (light.Row(y) + (all.x - light.GetRegion().x), row, static_cast<std::size_t>(all.width));
            std::fill(row, row + (inside.x - all.x), 0.0f);
            std::fill(row + (inside.Right() - all.x), row + all.width, 0.0f);
        }
    }

    Prepared input_;
    const Extent& extent_;               // owned by the image, which outlives the rendering
    const std::vector<float>& weights_;  // likewise
};

class NarrowImage : public Image {
  public:
    NarrowImage(ImageRef input, double sigma)
        : Image(input->GetExtent().GrownBy(std::ceil(3 * sigma)), input->GetDepth()),
          input_(std::move(input)),
          weights_(GaussianWeights(sigma)) {}

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddByTiles(input_, Source(region)); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<NarrowStage>(Prepare(input_, Source(region)), input_->GetExtent(), weights_);
    }

  private:
    // Both Gaussians read as many pixels to each side as they have weights on one.
    Region Source(const Region& region) const {
        return region.GrownBy(static_cast<std::int64_t>(weights_.size() / 2 * 2));
    }

    ImageRef input_;
    std::vector<float> weights_;
};

}  // namespace

// CIEdgeWork: white drawing on nothing, with the Gaussians of sigma inputRadius.
//
// Measured at a radius of 3: the two stages, their sigma, the second gain, the extent and that nothing shows outside of
// the picture. The first gain and its offset are within what fits. Without a radius nothing is brighter than its
// surroundings, so nothing is drawn.
ImageRef EdgeWork(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr || input->GetExtent().IsEmpty()) return input;
    const double radius = inputs.GetNumber("inputRadius");
    if (radius > 0 && radius < kNarrowestWideSigma) return std::make_shared<NarrowImage>(std::move(input), radius);
    const Extent extent = input->GetExtent();
    ImageRef light = MakePointImage(std::move(input), std::make_unique<LuminanceFunction>());
    ImageRef around = MakeGaussianBlurImage(light, radius);
    // Outside of the picture nothing is brighter than its surroundings.
    ImageRef brighter =
        MakeCombinedImage({std::move(light), std::move(around)}, std::make_unique<BrighterFunction>(), extent);
    return MakePointImage(MakeGaussianBlurImage(std::move(brighter), radius), std::make_unique<CutFunction>());
}

}  // namespace core_image
#endif
