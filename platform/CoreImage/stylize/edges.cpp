// edges.cpp - the steepness of the picture, color by color.
//
// Half the difference of the right and left neighbors, and half that of the upper and lower ones: the length of this
// vector times the intensity. Computed on premultiplied linear light; nothing is clipped.

#include <utility>

#include "sampling/repeat.h"
#include "stylize/filters.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stylize/edges.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// As many whole pixels as a vector holds; each pixel has one neighbor on each side.
template <class D>
HWY_INLINE void EdgeVector(D d, const float* above, const float* row, const float* below, float scale, float* out) {
    const auto dx = hn::Sub(hn::LoadU(d, row + 8), hn::LoadU(d, row));
    const auto dy = hn::Sub(hn::LoadU(d, above + 4), hn::LoadU(d, below + 4));
    const auto slope = hn::Mul(hn::Sqrt(hn::MulAdd(dx, dx, hn::Mul(dy, dy))), hn::Set(d, scale));
    const hn::RebindToSigned<D> integers;
    const auto channel = hn::And(hn::Iota(integers, 0), hn::Set(integers, 3));
    const auto isAlpha = hn::RebindMask(d, hn::Eq(channel, hn::Set(integers, 3)));
    hn::StoreU(Finite(hn::IfThenElse(isAlpha, hn::LoadU(d, row + 4), slope)), d, out);
}

// Rows begin one pixel to the left of the first pixel written.
HWY_ATTR void EdgeRow(const float* above, const float* row, const float* below, float scale, float* out,
                      std::size_t count) {
    const WideTag wide;
    const hn::FixedTag<float, 4> pixel;
    const std::size_t floats = count * 4;
    std::size_t at = 0;
    for (; at + hn::Lanes(wide) <= floats; at += hn::Lanes(wide))
        EdgeVector(wide, above + at, row + at, below + at, scale, out + at);
    for (; at < floats; at += 4) EdgeVector(pixel, above + at, row + at, below + at, scale, out + at);
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(EdgeRow);

class EdgeStage : public Stage {
  public:
    EdgeStage(Prepared input, float intensity) : input_(std::move(input)), scale_(intensity / 2) {}

    void Render(const Tile& tile) const override {
        const PixelBlock source(tile.region.GrownBy(1));
        input_.Render(source.GetTile());
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            HWY_DYNAMIC_DISPATCH(EdgeRow)
            (source.Row(y + 1), source.Row(y), source.Row(y - 1), scale_, tile.Row(y), tile.Width());
        }
    }

  private:
    Prepared input_;
    float scale_;
};

class EdgeImage : public Image {
  public:
    EdgeImage(const ImageRef& input, float intensity)
        : Image(input->GetExtent(), input->GetDepth()), input_(MakeClampedImage(input)), intensity_(intensity) {}

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddByTiles(input_, region.GrownBy(1)); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<EdgeStage>(Prepare(input_, region.GrownBy(1)), intensity_);
    }

  private:
    ImageRef input_;
    float intensity_;
};

}  // namespace

// CIEdges: how fast each color changes, times inputIntensity, on black. Alpha is unchanged.
//
// Central differences, not those of two diagonals, so that a line lies on the edge and not half a pixel beside it.
// The image is extended by its outermost pixels, so that its frame is not an edge.
ImageRef Edges(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    return std::make_shared<EdgeImage>(input, FiniteFloat(inputs.GetNumber("inputIntensity")));
}

}  // namespace core_image
#endif
