// gaussian_gradient.cpp - a round spot: color0 in the middle, color1 from the radius on.
//
// t = clamp(distance / radius); the color is color1 + (color0 - color1) (1 - t t (3 - 2 t)), of premultiplied
// colors.

#include <algorithm>
#include <cmath>

#include "core/field.h"
#include "generator/filters.h"

namespace core_image {
namespace {

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
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            const double v = (static_cast<double>(y) + 0.5 - centerY_) * inverse;
            float* to = tile.Row(y);
            for (std::int64_t x = tile.region.x; x < tile.region.Right(); ++x, to += kFloatsPerPixel) {
                const double u = (static_cast<double>(x) + 0.5 - centerX_) * inverse;
                const double t = radius_ > 0 ? std::min(1.0, std::sqrt(u * u + v * v)) : 1;
                WriteMix(color1_, color0_, static_cast<float>(1 - t * t * (3 - 2 * t)), to);
            }
        }
    }

  private:
    double centerX_, centerY_, radius_;
    Pixel color0_, color1_;
};

}  // namespace

// CIGaussianGradient: from inputColor0 at inputCenter to inputColor1 at inputRadius and beyond.
ImageRef GaussianGradient(const Inputs& inputs) { return MakeFieldImage(std::make_shared<GradientField>(inputs)); }

}  // namespace core_image
