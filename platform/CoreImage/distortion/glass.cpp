// glass.cpp - pictures seen through something: displaced by a second picture, or behind glass.

#include <algorithm>
#include <utility>

#include "distortion/filters.h"
#include "distortion/formulas.h"
#include "sampling/affine.h"
#include "sampling/repeat.h"

namespace core_image {

// CIDisplacementDistortion: moved by up to half inputScale in both directions, by the luminance of
// inputDisplacementImage.
//
// Gray moves along the diagonal, by the same amount in both directions. Transparent pixels of the displacement move
// nothing.
ImageRef DisplacementDistortion(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage"), guide = inputs.GetImage("inputDisplacementImage");
    if (input == nullptr || guide == nullptr) return nullptr;
    const double scale = inputs.GetNumber("inputScale");
    if (scale == 0) return input;
    const Extent extent = input->GetExtent();
    return MakeFormulaWarp(std::move(input), extent, DisplacementFormula{scale}, std::move(guide));
}

// CIGlassDistortion: seen through glass whose height is the luminance of inputTexture, repeated from inputCenter on.
//
// The texture is a relief whose slopes refract: flat glass of any thickness shows the picture unchanged.
ImageRef GlassDistortion(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage"), texture = inputs.GetImage("inputTexture");
    if (input == nullptr || texture == nullptr) return nullptr;
    const double scale = inputs.GetNumber("inputScale");
    if (scale == 0 || texture->GetExtent().IsEmpty()) return input;
    // The texture's lower left corner is at the center.
    const Point center = PointOf(inputs, "inputCenter");
    const Extent& cell = texture->GetExtent();
    Affine move;
    if (!cell.IsInfinite()) move.tx = center.x - cell.left, move.ty = center.y - cell.bottom;
    const Extent extent = input->GetExtent();
    return MakeFormulaWarp</*kGuideMargin=*/1>(std::move(input), extent, GlassFormula{scale},
                                               MakeAffineImage(MakeTiledImage(std::move(texture)), move));
}

// CIGlassLozenge: seen through a rod of glass with round ends, of inputRadius, from inputPoint0 to inputPoint1.
//
// Glass as dense as its surroundings, or a rod without a radius, has no effect. The two points may coincide: a round
// lens.
ImageRef GlassLozenge(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    const double radius = inputs.GetNumber("inputRadius"), refraction = inputs.GetNumber("inputRefraction");
    if (input == nullptr || refraction == 1 || !(radius > 1 / kLargestNumber)) return input;
    const Point start = PointOf(inputs, "inputPoint0"), end = PointOf(inputs, "inputPoint1");
    const Extent extent = input->GetExtent();
    return MakeFormulaWarp(
        std::move(input), extent,
        LozengeFormula{start, {end.x - start.x, end.y - start.y}, radius, std::max(refraction, 1 / kLargestNumber)});
}

}  // namespace core_image
