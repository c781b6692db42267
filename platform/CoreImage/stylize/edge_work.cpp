// edge_work.cpp - a woodcut: whatever is darker than its surroundings becomes black.
//
// The luminance of premultiplied light, clipped to 0...1, is blurred by two Gaussians: slightly (y) and by the
// radius (g). The contrast is (y - g) / (g + 0.02); the tone is clamp(1 + 8 (contrast + 0.05)). So an even area is
// white, and a pixel that is darker than its surroundings by more than a sixth is black.

#include <utility>

#include "blur/blur.h"
#include "core/point.h"
#include "sampling/repeat.h"
#include "stylize/filters.h"
#include "stylize/framed.h"
#include "stylize/stylize.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stylize/edge_work.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

HWY_ATTR void LuminanceRow(float* pixels, std::size_t count) {
    ForEachPixel(pixels, count, [](Colors& c) HWY_ATTR {
        Clip(c);
        c.red = c.green = c.blue = Luminance(c);
    });
}

HWY_ATTR void WoodcutRow(float* pixels, const float* const* others, std::size_t count) {
    ForEachPlace<2>(pixels, others, count, [](Colors& c, const auto& blurred) HWY_ATTR {
        const Wide own = blurred[0].red, around = blurred[1].red;
        const Wide contrast = hn::Div(hn::Sub(own, around), hn::Add(around, Constant(0.02f)));
        const Wide tone = Clamp01(hn::MulAdd(hn::Add(contrast, Constant(0.05f)), Constant(8), Constant(1)));
        c.red = c.green = c.blue = hn::Mul(tone, c.alpha);
    });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(LuminanceRow);
HWY_EXPORT(WoodcutRow);

// The narrow blur, used where the radius is at least three times as wide.
constexpr double kGrain = 1;

class LuminanceFunction : public PointFunction {
  public:
    void ApplyToRun(float* pixels, std::size_t count) const override {
        HWY_DYNAMIC_DISPATCH(LuminanceRow)(pixels, count);
    }
};

class Woodcut : public CombiningFunction {
  public:
    void ApplyToRun(float* pixels, const float* const* others, std::size_t count) const override {
        HWY_DYNAMIC_DISPATCH(WoodcutRow)(pixels, others, count);
    }
};

}  // namespace

ImageRef MakeWoodcutImage(ImageRef input, double grain, double radius) {
    const Extent extent = input->GetExtent();
    ImageRef tone = MakePointImage(MakeClampedImage(std::move(input)), std::make_unique<LuminanceFunction>());
    ImageRef own = MakeGaussianBlurImage(tone, FramedRadius(grain, extent));
    ImageRef around = MakeGaussianBlurImage(tone, FramedRadius(radius, extent));
    return MakeCombinedImage({std::move(tone), std::move(own), std::move(around)}, std::make_unique<Woodcut>(), extent);
}

// CIEdgeWork: the woodcut by inputRadius.
//
// The contrast of two Gaussians: with the wide one outlines grow from thin to bold with the radius; the narrow one
// keeps the grain of a photo from speckling even areas. The image is extended by its outermost pixels, so that its
// frame is not an outline.
ImageRef EdgeWork(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    const double radius = inputs.GetNumber("inputRadius");
    return input == nullptr ? nullptr : MakeWoodcutImage(std::move(input), std::min(radius / 3, kGrain), radius);
}

}  // namespace core_image
#endif
