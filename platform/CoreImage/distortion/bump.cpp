// bump.cpp - bumps, round and along a line. A radius too small to divide by has no effect.

#include <cmath>
#include <utility>

#include "distortion/filters.h"
#include "distortion/formulas.h"

namespace core_image {

// CIBumpDistortion: a bump of inputRadius around inputCenter. It magnifies where inputScale is above 0.
ImageRef BumpDistortion(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    const double radius = inputs.GetNumber("inputRadius"), scale = inputs.GetNumber("inputScale");
    if (input == nullptr || scale == 0 || !(radius > 1 / kLargestNumber)) return input;
    const Extent extent = input->GetExtent();
    return MakeFormulaWarp(std::move(input), extent, BumpFormula{PointOf(inputs, "inputCenter"), radius, scale});
}

// CIBumpDistortionLinear: a ridge on both sides of the line through inputCenter that is rotated by inputAngle.
ImageRef BumpDistortionLinear(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    const double radius = inputs.GetNumber("inputRadius"), scale = inputs.GetNumber("inputScale");
    if (input == nullptr || scale == 0 || !(radius > 1 / kLargestNumber)) return input;
    const double angle = inputs.GetNumber("inputAngle");
    const Point normal = {-std::sin(angle), std::cos(angle)};
    const Extent extent = input->GetExtent();
    return MakeFormulaWarp(std::move(input), extent,
                           LinearBumpFormula{PointOf(inputs, "inputCenter"), normal, radius, scale});
}

}  // namespace core_image
