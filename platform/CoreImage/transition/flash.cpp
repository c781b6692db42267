// flash.cpp - light around inputCenter that grows with the time, first over the image, then fading to the target.
//
// At a distance r the light is (1 - r / (k rho)) (color (rho / r)^2 + N), and none from k rho on; k is
// inputMaxStriationRadius, rho the flash's radius at this time. The rays N = strength ((noise - 0.5) contrast + 0.5)
// are white and depend on the angle only. From inputFadeThreshold on, the flash fades in proportion to the remaining
// time.

#include <algorithm>
#include <array>
#include <cmath>
#include <random>
#include <utility>

#include "core/cropped.h"
#include "core/field.h"
#include "transition/between.h"
#include "transition/filters.h"
#include "transition/formulas.h"

namespace core_image {
namespace {

constexpr double kTurn = 6.283185307179586;

// Within this distance of the center the light is as bright as here.
constexpr double kNearest = 1e-6;

// The brightness of the rays around the circle, interpolated linearly from one ray to the next.
//
// Why this many rays, each the second least of four random numbers: rays two thirds of a degree apart look
// unrelated; most are faint (0.39 plus or minus 0.16) and a few bright (0.9). Why always the same: the frames of one
// flash belong together.
class Rays {
  public:
    Rays() {
        std::mt19937 random;
        for (double& ray : rays_) {
            std::array<double, 4> numbers;
            for (double& number : numbers) number = 0.98 * random() / (std::mt19937::max() + 1.0);
            std::sort(numbers.begin(), numbers.end());
            ray = numbers[1];
        }
    }

    double At(double angle) const {
        const double place = (angle / kTurn + 0.5) * static_cast<double>(rays_.size());
        const auto ray = static_cast<std::size_t>(place);
        const double rest = place - static_cast<double>(ray), here = rays_[ray % rays_.size()];
        return here + rest * (rays_[(ray + 1) % rays_.size()] - here);
    }

  private:
    std::array<double, 680> rays_;
};

// The flash's radius. Why this law: it stays small for long, then fills the extent, and everything at the end. For
// extents that are not square the mean side length counts, taken along the diagonal.
double RadiusAt(double time, double width, double height) {
    const double size = std::hypot(width, height) / std::sqrt(2);
    return 0.3168 * size * time * time * time / (1 - time * time);
}

// The light. Its alpha is computed like its colors.
class Flash : public Field {
  public:
    Flash(const Inputs& inputs, double time)
        : centerX_(inputs.GetElement("inputCenter", 0)),
          centerY_(inputs.GetElement("inputCenter", 1)),
          radius_(RadiusAt(time, inputs.GetElement("inputExtent", 2), inputs.GetElement("inputExtent", 3))),
          reach_(inputs.GetNumber("inputMaxStriationRadius") * radius_),
          contrast_(inputs.GetNumber("inputStriationContrast")),
          strength_(inputs.GetNumber("inputStriationStrength")),
          color_(inputs.GetColor("inputColor")) {}

    void Render(const Tile& tile) const override {
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            const double up = static_cast<double>(y) + 0.5 - centerY_;
            float* to = tile.Row(y);
            for (std::int64_t x = tile.region.x; x < tile.region.Right(); ++x, to += kFloatsPerPixel) {
                Write(static_cast<double>(x) + 0.5 - centerX_, up, to);
            }
        }
    }

  private:
    void Write(double right, double up, float* to) const {
        static const Rays rays;
        const double distance = std::max(std::sqrt(right * right + up * up), kNearest);
        const double fall = distance < reach_ ? 1 - distance / reach_ : 0;
        if (fall == 0) {
            to[0] = to[1] = to[2] = to[3] = 0;
            return;
        }
        const double burst = radius_ / distance * (radius_ / distance);
        const double ray = strength_ * ((rays.At(std::atan2(up, right)) - 0.5) * contrast_ + 0.5);
        to[0] = FiniteFloat(fall * (static_cast<double>(color_.red) * burst + ray));
        to[1] = FiniteFloat(fall * (static_cast<double>(color_.green) * burst + ray));
        to[2] = FiniteFloat(fall * (static_cast<double>(color_.blue) * burst + ray));
        to[3] = FiniteFloat(fall * (static_cast<double>(color_.alpha) * burst + ray));
    }

    double centerX_, centerY_, radius_, reach_, contrast_, strength_;
    Pixel color_;
};

}  // namespace

// CIFlashTransition: light bursts from inputCenter over the image and fades to the target.
ImageRef FlashTransition(const Inputs& inputs) {
    return MakeTransition(inputs, [](const Inputs& values, const Between& between) {
        const double threshold = values.GetNumber("inputFadeThreshold");
        const double share = between.time <= threshold ? 1 : std::min(1.0, (1 - between.time) / (1 - threshold));
        // The target need not be rendered before it is visible.
        ImageRef target = share == 1 ? MakeCroppedImage(between.target, Extent{}) : between.target;
        ImageRef light = MakeFieldImage(std::make_shared<Flash>(values, between.time));
        return MakeFormulaImage({between.image, std::move(target), std::move(light)},
                                FlashFormula{static_cast<float>(share)}, between.extent);
    });
}

}  // namespace core_image
