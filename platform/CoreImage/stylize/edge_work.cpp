// edge_work.cpp - a woodcut: white where a picture is brighter than its surroundings.
//
// Two stages with the same Gaussian G. The luminance y of the picture, 0 outside of it, is compared with its
// surroundings: v = clamp(0.45 + 80 (y - G y)). Smoothed and compared once more, this gives round shapes: the alpha of
// the drawing is clamp(0.5 + 10 (G v - 0.5)), its color is white.

#include <utility>

#include "blur/blur.h"
#include "core/point.h"
#include "stylize/filters.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stylize/edge_work.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

HWY_INLINE void SetAll(Colors& c, Wide value) { c = {value, value, value, value}; }

// clamp(middle + gain value)
HWY_INLINE Wide Threshold(Wide value, float gain, float middle) {
    return Clamp01(hn::MulAdd(value, Constant(gain), Constant(middle)));
}

HWY_ATTR void LuminanceRow(float* pixels, std::size_t count) {
    ForEachPixel(pixels, count, [](Colors& c) HWY_ATTR {
        Clip(c);
        SetAll(c, Luminance(c));
    });
}

HWY_ATTR void BrighterRow(float* pixels, const float* const* others, std::size_t count) {
    ForEachPlace<1>(pixels, others, count, [](Colors& c, const auto& blurred) HWY_ATTR {
        SetAll(c, Threshold(hn::Sub(c.red, blurred[0].red), 80, 0.45f));
    });
}

HWY_ATTR void CutRow(float* pixels, std::size_t count) {
    ForEachPixel(pixels, count, [](Colors& c) HWY_ATTR { SetAll(c, Threshold(c.red, 10, 0.5f - 10 * 0.5f)); });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(LuminanceRow);
HWY_EXPORT(BrighterRow);
HWY_EXPORT(CutRow);

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
