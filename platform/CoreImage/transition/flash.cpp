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
#include "core/run.h"
#include "transition/between.h"
#include "transition/filters.h"
#include "transition/flash.h"
#include "transition/formulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transition/flash.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"
#include "core/places-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Writes how bright the color and the rays are in the pixels of a run. There is room for whole vectors.
HWY_ATTR void LightOfRun(const FlashLight& flash, const Rays& rays, const Run& run, float* bursts, float* white) {
    const PlaceTag d;
    const hn::Rebind<float, PlaceTag> single;
    const hn::Rebind<std::int32_t, PlaceTag> whole;
    // Within this distance of the center the light is as bright as here.
    constexpr double kNearest = 1e-6;
    const auto up = Number(static_cast<double>(run.y) + 0.5 - flash.centerY);
    for (std::size_t index = 0; index < run.count; index += hn::Lanes(d)) {
        const auto right = hn::Sub(CentersFrom(run.x + static_cast<std::int64_t>(index)), Number(flash.centerX));
        const auto distance = hn::Max(Length(right, up), Number(kNearest));
        const auto isLit = hn::Lt(distance, Number(flash.reach));
        if (hn::AllFalse(d, isLit)) {
            hn::StoreU(hn::Zero(single), single, bursts + index);
            hn::StoreU(hn::Zero(single), single, white + index);
            continue;
        }
        const auto fall = hn::IfThenElseZero(isLit, hn::Sub(Number(1), hn::Div(distance, Number(flash.reach))));
        const auto radii = hn::Div(Number(flash.radius), distance);

        // Without the limit, an angle of -kTurn / 2 would be rounded to a place below the first ray.
        const auto turned = hn::MulAdd(Angle(up, right), Number(kRays / kTurn), Number(kRays / 2.0));
        const auto place = hn::Max(turned, Number(0));
        const auto first = hn::Floor(place);
        const auto ray = hn::DemoteTo(whole, first);
        const auto rest = hn::DemoteTo(single, hn::Sub(place, first));
        const auto here = hn::GatherIndex(single, rays.data(), ray),
                   next = hn::GatherIndex(single, rays.data() + 1, ray);
        const auto noise = hn::PromoteTo(d, hn::MulAdd(rest, hn::Sub(next, here), here));
        const auto contrasted = hn::MulAdd(hn::Sub(noise, Number(0.5)), Number(flash.contrast), Number(0.5));

        const auto store = [&](PlaceVector light, float* to) HWY_ATTR {
            hn::StoreU(hn::DemoteTo(single, Finite(hn::Mul(light, fall))), single, to + index);
        };
        store(hn::Mul(radii, radii), bursts);
        store(hn::Mul(contrasted, Number(flash.strength)), white);
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(LightOfRun);

// Why this many rays, each the second least of four random numbers: rays two thirds of a degree apart look unrelated;
// most are faint (0.39 plus or minus 0.16) and a few bright (0.9). Why always the same: the frames of one flash belong
// together.
const Rays& AllRays() {
    static const Rays all = [] {
        std::mt19937 random;
        Rays rays;
        for (std::size_t ray = 0; ray < kRays; ++ray) {
            std::array<double, 4> numbers;
            for (double& number : numbers) number = 0.98 * random() / (std::mt19937::max() + 1.0);
            std::sort(numbers.begin(), numbers.end());
            rays[ray] = static_cast<float>(numbers[1]);
        }
        std::copy(rays.begin(), rays.begin() + 2, rays.begin() + kRays);
        return rays;
    }();
    return all;
}

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
        : light_({.centerX = inputs.GetElement("inputCenter", 0),
                  .centerY = inputs.GetElement("inputCenter", 1),
                  .radius = RadiusAt(time, inputs.GetElement("inputExtent", 2), inputs.GetElement("inputExtent", 3)),
                  .contrast = inputs.GetNumber("inputStriationContrast"),
                  .strength = inputs.GetNumber("inputStriationStrength")}),
          color_(inputs.GetColor("inputColor")) {
        light_.reach = inputs.GetNumber("inputMaxStriationRadius") * light_.radius;
    }

    void Render(const Tile& tile) const override {
        ForEachRun(tile.region, [&](const Run& run) {
            float bursts[kRunPixels], white[kRunPixels];
            HWY_DYNAMIC_DISPATCH(LightOfRun)(light_, AllRays(), run, bursts, white);
            float* to = tile.Part(run.GetRegion()).pixels;
            const float colors[] = {color_.red, color_.green, color_.blue, color_.alpha};
            for (std::size_t index = 0; index < run.count; ++index) {
                for (const float color : colors) *to++ = Finite(color * bursts[index] + white[index]);
            }
        });
    }

  private:
    // Why not FiniteFloat: a call for each number takes a tenth of the time. NaN does not occur here.
    static float Finite(float light) {
        constexpr auto kLargest = static_cast<float>(kLargestNumber);
        return std::clamp(light, -kLargest, kLargest);
    }

    FlashLight light_;
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
#endif
