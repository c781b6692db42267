// box.cpp - the mean over a square: sums along columns, then sums of these along rows.
//
// A narrow box sums a padded tile. A wide one would sum the same pixels for many tiles, so it is computed for the
// whole region at once. A still wider one is a box over a reduced image.

#include <algorithm>
#include <cmath>
#include <utility>

#include "blur/blur.h"
#include "blur/filters.h"
#include "blur/reduced.h"
#include "blur/sums.h"
#include "core/parallel.h"
#include "core/window.h"

namespace core_image {
namespace {

// Up to this width a box is narrow: summed in tiles.
constexpr std::int64_t kWidestNarrow = 129;

// Up to this width float sums are accurate enough.
constexpr std::int64_t kWidestOfFloats = 65;

// From this width on a box is computed on a reduced image, in which it is at most this wide.
constexpr double kWidestExact = 2047;
constexpr double kWidestReduced = 255;

class NarrowBoxStage : public Stage {
  public:
    NarrowBoxStage(Prepared input, std::int64_t width) : input_(std::move(input)), width_(width) {}

    void Render(const Tile& tile) const override {
        width_ > kWidestOfFloats ? RenderWith<double>(tile) : RenderWith<float>(tile);
    }

  private:
    template <typename Number>
    void RenderWith(const Tile& tile) const {
        const std::int64_t reach = width_ / 2;
        const Window source(input_, tile.region.GrownBy(reach));
        const auto width = static_cast<std::size_t>(width_);
        const auto scale = static_cast<float>(1 / (static_cast<double>(width_) * static_cast<double>(width_)));
        const PixelBlock line({0, 0, source.GetView().region.width, 1});
        const PixelBlock memory({0, 0, 2 * source.GetView().region.width, 1});
        float* const columns = line.GetTile().pixels;
        SumAlongColumns<Number>(
            source.GetView(), width_, 1, tile.region.y - reach, tile.region.Top() - 1 - reach,
            [&](std::int64_t) { return columns; },
            [&](std::int64_t y) {
                SumAlongRow(columns, width, scale, memory.GetTile().pixels, tile.Row(y + reach), tile.Width(),
                            {{source.GetView(), y + width_}, {tile, y + reach + 1}});
            });
    }

    Prepared input_;
    std::int64_t width_;
};

// The mean around each pixel of the region, computed when the stage is made: first rows, then columns in place.
class WideBoxStage : public Stage {
  public:
    WideBoxStage(const ImageRef& input, std::int64_t width, const Region& region)
        : reach_(width / 2), sums_({region.x, region.y - reach_, region.width, region.height + 2 * reach_}) {
        SumRows(input, width);
        SumColumns(width, region);
    }

    std::optional<View> Held(const Region& region) const override {
        View view = sums_.GetView().Part({region.x, region.y - reach_, region.width, region.height});
        view.region = region;
        return view;
    }

    void Render(const Tile& tile) const override { Copy(*Held(tile.region), tile); }

  private:
    void SumRows(const ImageRef& input, std::int64_t width) {
        constexpr std::int64_t kStripHeight = 8;
        const Region& all = sums_.GetRegion();
        const Prepared prepared = Prepare(input, {all.x - reach_, all.y, all.width + 2 * reach_, all.height});
        const std::int64_t strips = (all.height + kStripHeight - 1) / kStripHeight;
        ForEachIndex(0, strips, all.width * all.height, [&](std::int64_t index) {
            const Tile strip =
                sums_.GetTile().Part(all.Intersection({all.x, all.y + index * kStripHeight, all.width, kStripHeight}));
            Region seen = {all.x - reach_, strip.region.y, all.width + 2 * reach_, strip.region.height};
            if (Clip(seen, prepared.GetExtent()).IsEmpty()) {
                Clear(strip);
                return;
            }
            const Window source(prepared, seen);
            const PixelBlock memory({0, 0, 2 * seen.width, 1});
            for (std::int64_t y = seen.y; y < seen.Top(); ++y) {
                SumAlongRow(source.GetView().Row(y), static_cast<std::size_t>(width), 1, memory.GetTile().pixels,
                            strip.Row(y), strip.Width(), {{source.GetView(), y + 1}, {strip, y + 1}});
            }
        });
    }

    void SumColumns(std::int64_t width, const Region& region) {
        // The working set of a strip stays in a core's own cache.
        constexpr std::int64_t kKept = 32768;
        const std::int64_t stripWidth = std::max<std::int64_t>(16, kKept / width);
        const auto scale = static_cast<float>(1 / (static_cast<double>(width) * static_cast<double>(width)));
        const Region& all = sums_.GetRegion();
        const std::int64_t strips = (all.width + stripWidth - 1) / stripWidth;
        ForEachIndex(0, strips, all.width * all.height, [&](std::int64_t index) {
            const Region strip = all.Intersection({all.x + index * stripWidth, all.y, stripWidth, all.height});
            const Tile out = sums_.GetTile().Part(strip);
            SumAlongColumns<double>(
                sums_.GetView().Part(strip), width, scale, all.y, all.y + region.height - 1,
                [&](std::int64_t y) { return out.Row(y); }, [](std::int64_t) {});
        });
    }

    std::int64_t reach_;
    PixelBlock sums_;  // row y holds the mean around row y + reach
};

class BoxImage : public Image {
  public:
    BoxImage(ImageRef input, const Extent& extent, std::int64_t width)
        : Image(extent, input->GetDepth()), input_(std::move(input)), width_(width) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        if (width_ > kWidestNarrow) {
            needs.AddAtOnce(input_, region.GrownBy(width_ / 2));
        } else {
            needs.AddByTiles(input_, region.GrownBy(width_ / 2));
        }
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        if (width_ > kWidestNarrow) return std::make_unique<WideBoxStage>(input_, width_, region);
        return std::make_unique<NarrowBoxStage>(Prepare(input_, region.GrownBy(width_ / 2)), width_);
    }

  private:
    ImageRef input_;
    std::int64_t width_;
};

}  // namespace

ImageRef MakeBoxBlurImage(ImageRef input, double width) {
    if (!(width >= 3) || input->GetExtent().IsEmpty()) return input;
    width = std::min(width, kWidestBlur);
    if (width > kWidestExact) {
        const Reduction reduction = ReductionFor(width / kWidestReduced);
        const Extent extent = input->GetExtent().GrownBy(std::floor((width - 1) / 2));
        ImageRef blurred = MakeBoxBlurImage(Reduced(std::move(input), reduction), width / reduction.Factor());
        return Enlarged(std::move(blurred), reduction, extent);
    }
    const std::int64_t odd = 2 * static_cast<std::int64_t>((width - 1) / 2) + 1;
    const Extent extent = input->GetExtent().GrownBy(static_cast<double>(odd / 2));
    return std::make_shared<BoxImage>(std::move(input), extent, odd);
}

// CIBoxBlur: the mean over a square. inputRadius is its full width.
ImageRef BoxBlur(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    return input == nullptr ? nullptr : MakeBoxBlurImage(std::move(input), inputs.GetNumber("inputRadius"));
}

}  // namespace core_image
