// color_map.cpp - maps brightness to the colors of a picture.
//
// The lowest row of the gradient image is rendered once, before the first tile. Luminance 0...1 runs along its whole
// width: a position there lies between the centers of two pixels; beyond the outermost centers the color is
// constant. Between the pixels of a picture the stored numbers are interpolated, and decoded afterward.

#include <algorithm>
#include <utility>

#include "color/filters.h"
#include "core/color_matching.h"
#include "core/point.h"
#include "core/transfer.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/color_map.cpp"
#include <hwy/foreach_target.h>

#include "color/texels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// The last texel must be followed by a copy of it.
HWY_ATTR void MapRun(const float* texels, std::size_t width, float* blocks, std::size_t count) {
    HWY_ALIGN std::int32_t cells[kBlockPixels];
    HWY_ALIGN float shares[kBlockPixels];
    const auto wide = static_cast<float>(width);
    const auto prepare = [&](std::size_t pixel, const Colors& c) HWY_ATTR {
        const Wide middle = hn::MulAdd(Clamp01(Luminance(c)), Constant(wide), Constant(-0.5f));
        const Wide place = hn::Max(hn::Min(middle, Constant(wide - 1)), Constant(0));
        const Wide cell = hn::Floor(place);
        hn::Store(hn::Sub(place, cell), WideTag(), shares + pixel);
        const hn::RebindToSigned<WideTag> integers;
        hn::Store(hn::ConvertTo(integers, cell), integers, cells + pixel);
    };
    const auto look = [&](std::size_t pixel)
                          HWY_ATTR { return Between(LoadPair(texels + 4 * cells[pixel]), shares[pixel]); };
    LookUp(blocks, count, 1, prepare, look);
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(MapRun);

// Why a limit: luminance does not resolve more positions, and a row must fit into memory.
constexpr double kWidestGradient = 1 << 20;

// Whether a gradient is interpolated as stored, and has to be decoded then.
bool IsDecoded(const ImageRef& gradient) { return gradient->Encoded() != nullptr && IsMatching(); }

// The image of a gradient's texels.
const ImageRef& TexelsOf(const ImageRef& gradient) { return IsDecoded(gradient) ? gradient->Encoded() : gradient; }

// A row of texels, the last one twice, and whether interpolated texels have to be decoded.
class Map : public PointFunction {
  public:
    explicit Map(const ImageRef& gradient, const Region& row)
        : texels_(Region{row.x, row.y, row.width + 1, 1}), isDecoded_(IsDecoded(gradient)) {
        Prepare(TexelsOf(gradient), row).Render(texels_.GetTile().Part(row));
        float* end = texels_.GetTile().pixels + static_cast<std::size_t>(row.width) * kFloatsPerPixel;
        std::copy(end - kFloatsPerPixel, end, end);
    }

    void ApplyToRun(float* blocks, std::size_t count) const override {
        const auto width = static_cast<std::size_t>(texels_.GetRegion().width - 1);
        HWY_DYNAMIC_DISPATCH(MapRun)(texels_.GetTile().pixels, width, blocks, count);
        if (isDecoded_) DecodeRun(blocks, count);
    }

  private:
    PixelBlock texels_;
    bool isDecoded_;
};

class MapImage : public Image {
  public:
    MapImage(ImageRef input, ImageRef gradient, const Region& row)
        : Image(input->GetExtent(), input->GetDepth().With(gradient->GetDepth())),
          input_(std::move(input)),
          gradient_(std::move(gradient)),
          row_(row) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        needs.AddByTiles(input_, region);
        needs.AddAtOnce(TexelsOf(gradient_), row_);
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        auto map = std::make_unique<Map>(gradient_, row_);
        return MakePointStage(PrepareLast(input_, region), region, std::move(map));
    }

  private:
    ImageRef input_;
    ImageRef gradient_;
    Region row_;
};

}  // namespace

// CIColorMap: the color in the lowest row of inputGradientImage, along whose width luminance runs from 0 to 1.
// Returns null for a gradient image that is empty or infinite.
ImageRef ColorMap(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    ImageRef gradient = inputs.GetImage("inputGradientImage");
    if (input == nullptr || gradient == nullptr) return nullptr;
    const Extent& extent = gradient->GetExtent();
    Region row;
    const Extent lowest = {extent.left, extent.bottom, extent.right, extent.bottom + 1};
    if (!(extent.right - extent.left <= kWidestGradient) || !RegionOfExtent(lowest, &row)) return nullptr;
    return std::make_shared<MapImage>(std::move(input), std::move(gradient), row);
}

}  // namespace core_image
#endif
