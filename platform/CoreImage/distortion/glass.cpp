// glass.cpp - pictures seen through something: displaced by a second picture, or behind glass.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "core/window.h"
#include "distortion/filters.h"
#include "distortion/formulas.h"
#include "sampling/affine.h"
#include "sampling/bilinear.h"
#include "sampling/repeat.h"

namespace core_image {
namespace {

// The picture through a rod of glass, whose rim is blended with the picture beside it.
class LozengeStage : public Stage {
  public:
    LozengeStage(Prepared picture, Prepared glass, const LozengeFormula& rod)
        : picture_(std::move(picture)), glass_(std::move(glass)), rod_(rod) {}

    void Render(const Tile& tile) const override {
        glass_.Render(tile);
        const Region& region = tile.region;
        const Extent centers = Extent::Of(region).GrownBy(-0.5);
        if (!rod_.Moves(centers)) return;
        std::optional<Window> picture;
        for (std::int64_t y = region.y; y < region.Top(); ++y) {
            for (std::int64_t x = region.x; x < region.Right(); ++x) {
                const double inside =
                    rod_.radius - rod_.Distance(static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5);
                // From one pixel to the next the distance changes by at most 1, so the rim is as many pixels away.
                const double away = std::max(-inside, inside - kRim);
                if (away > 2) x += static_cast<std::int64_t>(std::min(away, kFarthestPlace)) - 1;
                if (!(inside > 0 && inside < kRim)) continue;
                if (!picture) picture.emplace(picture_, region);
                const auto share = static_cast<float>(inside / kRim);
                const auto column = static_cast<std::size_t>(x - region.x) * kFloatsPerPixel;
                const float* beside = picture->GetView().Row(y) + column;
                float* pixel = tile.Row(y) + column;
                for (std::size_t channel = 0; channel < kFloatsPerPixel; ++channel)
                    pixel[channel] = beside[channel] + share * (pixel[channel] - beside[channel]);
            }
        }
    }

  private:
    static constexpr double kRim = 1.25;  // its width in pixels

    Prepared picture_, glass_;
    const LozengeFormula& rod_;  // owned by the image, which outlives the rendering
};

class LozengeImage : public Image {
  public:
    LozengeImage(ImageRef picture, ImageRef glass, const LozengeFormula& rod)
        : Image(picture->GetExtent(), picture->GetDepth().With(glass->GetDepth())),
          picture_(std::move(picture)),
          glass_(std::move(glass)),
          rod_(rod) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        needs.AddByTiles(picture_, region);
        needs.AddByTiles(glass_, region);
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<LozengeStage>(Prepare(picture_, region), Prepare(glass_, region), rod_);
    }

  private:
    ImageRef picture_, glass_;
    LozengeFormula rod_;
};

}  // namespace

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
    // The texture's lower left corner is at the center, as far as it has one.
    const Point center = PointOf(inputs, "inputCenter");
    const Extent& cell = texture->GetExtent();
    Affine move;
    if (std::isfinite(cell.left)) move.tx = center.x - cell.left;
    if (std::isfinite(cell.bottom)) move.ty = center.y - cell.bottom;
    ImageRef guide = MakeAffineImage(MakeTiledImage(std::move(texture)), move);
    if (guide == nullptr) return input;  // too far away to be moved
    const Extent extent = input->GetExtent();
    return MakeFormulaWarp</*kGuideMargin=*/1>(std::move(input), extent, GlassFormula{scale}, std::move(guide));
}

// CIGlassLozenge: seen through a rod of glass with round ends, of inputRadius, from inputPoint0 to inputPoint1.
//
// Glass as dense as its surroundings, or a rod without a radius, has no effect. The two points may coincide: a round
// lens. Beyond its edges the picture continues with its outermost pixels.
// Measured at a refraction of 1.7: the shape, the depth of the picture below the glass, and that the rim is soft. The
// rim's profile is chosen.
ImageRef GlassLozenge(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    const double radius = inputs.GetNumber("inputRadius"), refraction = inputs.GetNumber("inputRefraction");
    if (input == nullptr || refraction == 1 || !(radius > 1 / kLargestNumber)) return input;
    const Point start = PointOf(inputs, "inputPoint0"), end = PointOf(inputs, "inputPoint1");
    const Extent extent = input->GetExtent();
    ImageRef clamped = MakeClampedImage(input);
    const LozengeFormula rod = {start,
                                {end.x - start.x, end.y - start.y},
                                radius,
                                std::max(refraction, 1 / kLargestNumber),
                                clamped == input ? Extent::Infinite() : extent};
    ImageRef glass = MakeFormulaWarp(std::move(clamped), extent, rod);
    return std::make_shared<LozengeImage>(std::move(input), std::move(glass), rod);
}

}  // namespace core_image
