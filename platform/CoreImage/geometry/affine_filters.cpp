// affine_filters.cpp - the filters that have a transform. A transform that cannot be inverted gives no image.

#include <utility>

#include "geometry/filters.h"
#include "sampling/affine.h"
#include "sampling/repeat.h"

namespace core_image {
namespace {

Affine TransformOf(const Inputs& inputs) {
    const auto number = [&](std::size_t index) { return inputs.GetElement("inputTransform", index); };
    return {number(0), number(1), number(2), number(3), number(4), number(5)};
}

}  // namespace

// CIAffineTransform: the image under inputTransform.
ImageRef AffineTransform(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    return input == nullptr ? nullptr : MakeAffineImage(std::move(input), TransformOf(inputs));
}

// CIAffineClamp and CIAffineTile: the image made infinite, by its outermost pixels or by repetition, and then
// transformed by inputTransform.
ImageRef AffineClamp(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    return input == nullptr ? nullptr : MakeAffineImage(MakeClampedImage(std::move(input)), TransformOf(inputs));
}

ImageRef AffineTile(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    return input == nullptr ? nullptr : MakeAffineImage(MakeTiledImage(std::move(input)), TransformOf(inputs));
}

}  // namespace core_image
