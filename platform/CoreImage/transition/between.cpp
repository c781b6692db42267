// between.cpp - chooses the input, the target or the transition by the time.

#include "transition/between.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "core/point.h"

namespace core_image {
namespace {

// Leaves pixels unchanged.
class Same : public PointFunction {
  public:
    void ApplyToRun(float*, std::size_t) const override {}
};

// An image with transparent pixels around it, up to the extent of the other one.
ImageRef MakeEnd(ImageRef image, const Extent& extent) {
    if (image->GetExtent() == extent) return image;
    return MakePointImage(std::move(image), std::make_unique<Same>(), extent);
}

}  // namespace

ImageRef MakeTransition(const Inputs& inputs, TransitionFunction function) {
    ImageRef image = inputs.GetImage("inputImage"), target = inputs.GetImage("inputTargetImage");
    if (image == nullptr || target == nullptr) return nullptr;
    const Extent extent = image->GetExtent().UnionWith(target->GetExtent());
    const double time = inputs.GetNumber("inputTime");
    if (time <= 0) return MakeEnd(std::move(image), extent);
    if (time >= 1) return MakeEnd(std::move(target), extent);
    return function(inputs, {std::move(image), std::move(target), extent, time});
}

Direction::Direction(double angle) : x(std::cos(angle)), y(std::sin(angle)) {}

Direction::Range Direction::Of(double left, double bottom, double width, double height) const {
    const double corner = Along(left, bottom), right = width * x, up = height * y;
    return {corner + std::min(right, 0.0) + std::min(up, 0.0), corner + std::max(right, 0.0) + std::max(up, 0.0)};
}

}  // namespace core_image
