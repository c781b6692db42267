// gaussian_gradient.cpp - a round spot: color0 in the middle, color1 from the radius on.
//
// t = clamp(distance / radius); the color is color1 + (color0 - color1) (1 - t t (3 - 2 t)), of premultiplied
// colors.

#include <algorithm>

#include "core/field.h"
#include "core/run.h"
#include "generator/filters.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "generator/gaussian_gradient.cpp"
#include <hwy/foreach_target.h>

#include "core/places-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Writes how far a run of pixels is from color1 to color0, given the inverse of the radius and how far above the center
// the run is, in radii. There is room for whole vectors.
HWY_ATTR void SharesOfRun(const Run& run, double centerX, double inverse, double up, float* shares) {
    const PlaceTag d;
    const hn::Rebind<float, PlaceTag> single;
    for (std::size_t index = 0; index < run.count; index += hn::Lanes(d)) {
        const auto x = CentersFrom(run.x + static_cast<std::int64_t>(index));
        const auto right = hn::Mul(hn::Sub(x, Number(centerX)), Number(inverse));
        const auto share = SmoothFall(Length(right, Number(up)));
        hn::StoreU(hn::DemoteTo(single, share), single, shares + index);
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(SharesOfRun);

class GradientField : public Field {
  public:
    explicit GradientField(const Inputs& inputs)
        : centerX_(inputs.GetElement("inputCenter", 0)),
          centerY_(inputs.GetElement("inputCenter", 1)),
          radius_(inputs.GetNumber("inputRadius")),
          color0_(inputs.GetColor("inputColor0")),
          color1_(inputs.GetColor("inputColor1")) {}

    void Render(const Tile& tile) const override {
        // A radius too small to divide by leaves no spot.
        const double inverse = radius_ > 1 / kLargestNumber ? 1 / radius_ : kLargestNumber;
        ForEachRun(tile.region, [&](const Run& run) {
            float shares[kRunPixels] = {};
            if (radius_ > 0) {
                const double up = (static_cast<double>(run.y) + 0.5 - centerY_) * inverse;
                HWY_DYNAMIC_DISPATCH(SharesOfRun)(run, centerX_, inverse, up, shares);
            }
            float* to = tile.Part(run.GetRegion()).pixels;
            for (std::size_t index = 0; index < run.count; ++index, to += kFloatsPerPixel) {
                const float share = shares[index];
                to[0] = color1_.red + share * (color0_.red - color1_.red);
                to[1] = color1_.green + share * (color0_.green - color1_.green);
                to[2] = color1_.blue + share * (color0_.blue - color1_.blue);
                to[3] = color1_.alpha + share * (color0_.alpha - color1_.alpha);
            }
        });
    }

  private:
    double centerX_, centerY_, radius_;
    Pixel color0_, color1_;
};

}  // namespace

// CIGaussianGradient: from inputColor0 at inputCenter to inputColor1 at inputRadius and beyond.
ImageRef GaussianGradient(const Inputs& inputs) { return MakeFieldImage(std::make_shared<GradientField>(inputs)); }

}  // namespace core_image
#endif
