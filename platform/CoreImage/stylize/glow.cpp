// glow.cpp - light or darkness that spreads: an image combined with its blurred copy.
//
// For a channel v, alpha included, blurred to b: bloom is v + intensity max(b - v, 0), gloom is v + intensity min(b
// - v, 0). Outside the image v is 0. Nothing is clipped.

#include <utility>

#include "blur/blur.h"
#include "core/point.h"
#include "stylize/filters.h"
#include "stylize/stylize.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stylize/glow.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Adds to each pixel a function of its difference to the blurred one, times intensity.
template <class Function>
HWY_INLINE void AddDifference(float* pixels, const float* const* others, std::size_t count, float intensity,
                              const Function& function) {
    const auto add = [&](Wide& value, Wide blurred) HWY_ATTR {
        value = hn::MulAdd(function(hn::Sub(blurred, value)), Constant(intensity), value);
    };
    ForEachPlace<1>(pixels, others, count, [&](Colors& c, const auto& given) HWY_ATTR {
        add(c.red, given[0].red);
        add(c.green, given[0].green);
        add(c.blue, given[0].blue);
        add(c.alpha, given[0].alpha);
    });
}

HWY_ATTR void BloomRow(float* pixels, const float* const* others, std::size_t count, float intensity) {
    AddDifference(pixels, others, count, intensity, [](Wide more) HWY_ATTR { return hn::Max(more, Constant(0)); });
}

HWY_ATTR void GloomRow(float* pixels, const float* const* others, std::size_t count, float intensity) {
    AddDifference(pixels, others, count, intensity, [](Wide more) HWY_ATTR { return hn::Min(more, Constant(0)); });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(BloomRow);
HWY_EXPORT(GloomRow);

class GlowFunction : public CombiningFunction {
  public:
    GlowFunction(Glow glow, float intensity) : glow_(glow), intensity_(intensity) {}

    void ApplyToRun(float* pixels, const float* const* others, std::size_t count) const override {
        if (glow_ == Glow::kLight) {
            HWY_DYNAMIC_DISPATCH(BloomRow)(pixels, others, count, intensity_);
        } else {
            HWY_DYNAMIC_DISPATCH(GloomRow)(pixels, others, count, intensity_);
        }
    }

  private:
    Glow glow_;
    float intensity_;
};

ImageRef GlowOf(const Inputs& inputs, Glow glow) {
    ImageRef input = inputs.GetImage("inputImage");
    const double intensity = inputs.GetNumber("inputIntensity");
    if (input == nullptr || intensity == 0) return input;
    ImageRef blurred = MakeGaussianBlurImage(input, inputs.GetNumber("inputRadius"));
    return blurred == input ? input : MakeGlowImage(std::move(input), std::move(blurred), glow, intensity);
}

}  // namespace

ImageRef MakeGlowImage(ImageRef input, ImageRef blurred, Glow glow, double intensity) {
    const Extent extent = blurred->GetExtent();
    return MakeCombinedImage({std::move(input), std::move(blurred)},
                             std::make_unique<GlowFunction>(glow, FiniteFloat(intensity)), extent);
}

// CIBloom: every channel, alpha included, moves by inputIntensity toward a Gaussian blur of sigma inputRadius where
// the blur is larger. CIGloom: where it is smaller. The extent is the blur's. Returns the input itself for an
// intensity of 0.
ImageRef Bloom(const Inputs& inputs) { return GlowOf(inputs, Glow::kLight); }
ImageRef Gloom(const Inputs& inputs) { return GlowOf(inputs, Glow::kDarkness); }

}  // namespace core_image
#endif
