// droste.cpp - a picture within itself, straight or as a spiral.
//
// The logarithm unrolls the plane around the point where all copies meet: nested copies then repeat along one
// direction, turns along the other. Rotating and stretching that plane by one complex number, which maps one turn to
// whole turns and whole copies, makes the spiral; rolled up again it has no seam.
// Method: B. de Smit, H. W. Lenstra, "The Mathematical Structure of Escher's Print Gallery", Notices of the AMS
// 50(4), 2003.

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "distortion/filters.h"
#include "distortion/formulas.h"
#include "sampling/repeat.h"

namespace core_image {
namespace {

// One direction of a picture and of its inset; nothing where the inset is not shorter than the picture.
std::optional<DrosteAxis> AxisOf(double least, double most, double insetLeast, double insetMost) {
    insetLeast = std::max(least, insetLeast);
    insetMost = std::min(most, insetMost);
    const double length = most - least, inset = insetMost - insetLeast;
    if (!(inset > 1 / kLargestNumber && inset < length)) return std::nullopt;
    const double fixed = least + (insetLeast - least) * length / (length - inset);
    // Why a least distance: if the inset touches the picture's edge, so does the fixed point, and the distance is 0.
    constexpr double kLeast = 1e-3;
    return DrosteAxis{fixed, 1 / std::max(kLeast, fixed - least), 1 / std::max(kLeast, most - fixed),
                      std::log(length / inset)};
}

}  // namespace

// CIDroste: the image within itself, again and again, from inputInsetPoint0 to inputInsetPoint1. The result is
// infinite.
//
// The copies shrink toward the fixed point of the map from the picture to its inset, so the next copy fills the
// inset wherever it is. The part of the inset outside the picture is ignored. An inset that leaves no copy, or no
// picture around it, has no effect.
//
// Measured without a spiral: a periodicity of 0 and one strand nest copies about the fixed point. The sense of the
// spiral, of the rotation and of the zoom is chosen, and so is the stretch for an inset of another shape.
ImageRef Droste(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const Extent extent = input->GetExtent();
    Region pixels;
    if (!RegionOfExtent(extent, &pixels)) return input;
    const Point a = PointOf(inputs, "inputInsetPoint0"), b = PointOf(inputs, "inputInsetPoint1");
    const auto horizontal = AxisOf(extent.left, extent.right, std::min(a.x, b.x), std::max(a.x, b.x));
    const auto vertical = AxisOf(extent.bottom, extent.top, std::min(a.y, b.y), std::max(a.y, b.y));
    if (!horizontal || !vertical) return input;
    constexpr double kLeastZoom = 0.01;
    // Clamped, so that the border of a copy is not half transparent.
    return MakeFormulaWarp(
        MakeClampedImage(std::move(input)), Extent::Infinite(),
        DrosteFormula{extent, *horizontal, *vertical, std::max(horizontal->level, vertical->level),
                      inputs.GetNumber("inputPeriodicity"), inputs.GetNumber("inputStrands"),
                      inputs.GetNumber("inputRotation"), std::max(kLeastZoom, inputs.GetNumber("inputZoom"))});
}

}  // namespace core_image
