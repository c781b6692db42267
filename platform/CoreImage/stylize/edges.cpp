// edges.cpp - how much neighboring pixels differ, color by color.
//
// With S(x, y) the input, e = intensity ((S(x, y) - S(x + 1, y - 1))^2 + (S(x + 1, y) - S(x, y - 1))^2): the squares of
// the two diagonals of a pixel and its neighbors to the right and below. Computed on premultiplied linear light;
// nothing is clipped.

#include <utility>

#include "core/window.h"
#include "stylize/filters.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "stylize/edges.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// As many whole pixels as a vector holds; each pixel has a neighbor to the right.
template <class D>
HWY_INLINE void EdgeVector(D d, const float* row, const float* below, float intensity, float* out) {
    const auto own = hn::LoadU(d, row);
    const auto falling = hn::Sub(own, hn::LoadU(d, below + 4)),
               rising = hn::Sub(hn::LoadU(d, row + 4), hn::LoadU(d, below));
    const auto steep = hn::Mul(hn::MulAdd(falling, falling, hn::Mul(rising, rising)), hn::Set(d, intensity));
    const hn::RebindToSigned<D> integers;
    const auto channel = hn::And(hn::Iota(integers, 0), hn::Set(integers, 3));
    const auto isAlpha = hn::RebindMask(d, hn::Eq(channel, hn::Set(integers, 3)));
    hn::StoreU(Finite(hn::IfThenElse(isAlpha, own, steep)), d, out);
}

HWY_ATTR void EdgeRow(const float* row, const float* below, float intensity, float* out, std::size_t count) {
    const WideTag wide;
    const hn::FixedTag<float, 4> pixel;
    const std::size_t floats = count * 4;
    std::size_t at = 0;
    for (; at + hn::Lanes(wide) <= floats; at += hn::Lanes(wide))
        EdgeVector(wide, row + at, below + at, intensity, out + at);
    for (; at < floats; at += 4) EdgeVector(pixel, row + at, below + at, intensity, out + at);
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(EdgeRow);

// A region with its neighbors to the right and below.
Region WithNeighbors(const Region& region) { return {region.x, region.y - 1, region.width + 1, region.height + 1}; }

class EdgeStage : public Stage {
  public:
    EdgeStage(Prepared input, float intensity) : input_(std::move(input)), intensity_(intensity) {}

    void Render(const Tile& tile) const override {
        const Window window(input_, WithNeighbors(tile.region));
        const View& source = window.GetView();
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            HWY_DYNAMIC_DISPATCH(EdgeRow)(source.Row(y), source.Row(y - 1), intensity_, tile.Row(y), tile.Width());
        }
    }

  private:
    Prepared input_;
    float intensity_;
};

class EdgeImage : public Image {
  public:
    EdgeImage(ImageRef input, float intensity)
        : Image(input->GetExtent(), input->GetDepth()), input_(std::move(input)), intensity_(intensity) {}

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddByTiles(input_, region.GrownBy(1)); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<EdgeStage>(Prepare(input_, WithNeighbors(region)), intensity_);
    }

  private:
    ImageRef input_;
    float intensity_;
};

}  // namespace

// CIEdges: how much each color differs from pixel to pixel, times inputIntensity, on black. Alpha is unchanged.
//
// Measured at intensity 1: the squares, and the transparent surroundings, which light up the frame on the right and
// below. That the intensity is a factor is chosen.
ImageRef Edges(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    return std::make_shared<EdgeImage>(std::move(input), FiniteFloat(inputs.GetNumber("inputIntensity")));
}

}  // namespace core_image
#endif
