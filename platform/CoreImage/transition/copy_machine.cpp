// copy_machine.cpp - a strip of light of inputWidth moves along inputAngle, from outside inputExtent at time 0 to
// beyond it at time 0.65. Larger images are swept as the strip goes on.
//
// u = x cos + y sin, from least to most over inputExtent. The strip ends at least + time / 0.65 (most - least +
// width). Across the strip p rises from 0, where the target is uncovered, to 1, where the image is still unchanged.

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/field.h"
#include "transition/between.h"
#include "transition/filters.h"
#include "transition/formulas.h"

namespace core_image {
namespace {

// The time at which the strip has crossed the extent.
constexpr double kCrossed = 0.65;

// Narrower strips get this width: a position divided by the width has to stay finite.
constexpr double kNarrowestLight = 1e-6;

// p in red.
class Strip : public Field {
  public:
    Strip(const Inputs& inputs, double time)
        : direction_(inputs.GetNumber("inputAngle")),
          width_(std::max(inputs.GetNumber("inputWidth"), kNarrowestLight)) {
        const auto edge = [&](std::size_t index) { return inputs.GetElement("inputExtent", index); };
        const auto [least, most] = direction_.Of(edge(0), edge(1), edge(2), edge(3));
        start_ = least - width_ + time / kCrossed * (most - least + width_);
    }

    void Render(const Tile& tile) const override {
        const double step = direction_.x / width_;
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            const double place = direction_.Along(0.5, static_cast<double>(y) + 0.5) - start_;
            float* to = tile.Row(y);
            for (std::int64_t x = tile.region.x; x < tile.region.Right(); ++x, to += kFloatsPerPixel) {
                const double p = place / width_ + static_cast<double>(x) * step;
                to[0] = static_cast<float>(std::clamp(p, 0.0, 1.0));
                to[1] = to[2] = to[3] = 0;
            }
        }
    }

  private:
    Direction direction_;
    double width_;
    double start_;
};

// The light where the strip is brightest. Why it is not decoded like other colors: its numbers are defined as linear
// light.
Pixel LightOf(const Inputs& inputs) {
    const double alpha = inputs.GetElement("inputColor", 3), opacity = inputs.GetNumber("inputOpacity");
    const auto light = [&](std::size_t index) {
        return FiniteFloat(inputs.GetElement("inputColor", index) * alpha * opacity);
    };
    return {light(0), light(1), light(2), FiniteFloat(alpha * opacity)};
}

}  // namespace

// CICopyMachineTransition: a strip of light sweeps over inputExtent and leaves the target behind.
ImageRef CopyMachineTransition(const Inputs& inputs) {
    return MakeTransition(inputs, [](const Inputs& values, const Between& between) {
        ImageRef strip = MakeFieldImage(std::make_shared<Strip>(values, between.time));
        return MakeFormulaImage({between.image, between.target, std::move(strip)}, GlareFormula{LightOf(values)},
                                between.extent);
    });
}

}  // namespace core_image
