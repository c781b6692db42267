// box.cpp - the mean of a square, rows first, then columns.
//
// A narrow box sums rows in a padded tile. A wide one would sum the same rows for many tiles, so it keeps them for the whole
// region. A still wider one is a box over a smaller picture.

#include <tbb/parallel_for.h>

#include <cmath>
#include <utility>

#include "blur/blur.h"
#include "blur/reduced.h"
#include "blur/running_sums.h"

namespace core_image {
namespace {

// Up to here a box is narrow, and sums of floats are exact enough.
constexpr std::int64_t kWidestNarrow = 65;

// From here on a box is made of a smaller picture, in which it is so wide at most.
constexpr double kWidestExact = 2047;
constexpr double kWidestReduced = 255;

// How many rows or columns are summed side by side.
constexpr std::size_t kSideBySide = 4;

// Sums along some neighbouring rows of a tile, out of a block whose rows reach as much further on both sides as needed.
template <typename Number, std::size_t kRows>
void SumAlongRows(const PixelBlock& source, std::int64_t width, const Tile& tile, std::int64_t y) {
    const float* row = source.row(y);
    float* to = tile.row(y);
    const std::int64_t left = source.region().x;
    const auto in = [=](std::int64_t x) { return row + (x - left) * std::int64_t{kFloatsPerPixel}; };
    const auto out = [=](std::int64_t index) { return to + index * std::int64_t{kFloatsPerPixel}; };
    RunningSums<Number, kRows>(Lines<decltype(in)>{in, source.tile().floatsPerRow},
                               Lines<decltype(out)>{out, tile.floatsPerRow}, tile.region.x - width / 2,
                               tile.region.width, width, 1);
}

template <typename Number>
void SumRowsOf(const PixelBlock& source, std::int64_t width, const Tile& tile) {
    std::int64_t y = tile.region.y;
    for (; y + std::int64_t{kSideBySide} <= tile.region.top(); y += kSideBySide) {
        SumAlongRows<Number, kSideBySide>(source, width, tile, y);
    }
    for (; y < tile.region.top(); ++y) SumAlongRows<Number, 1>(source, width, tile, y);
}

// Sums along some neighbouring columns.
template <typename Number, std::size_t kColumns>
void SumAlongColumns(const PixelBlock& rows, std::int64_t width, const Tile& tile, std::int64_t x, float scale) {
    const Region& present = rows.region();
    const Tile from = rows.tile().part({x, present.y, 1, present.height});
    const Tile to = tile.part({x, tile.region.y, 1, tile.region.height});
    const auto in = [&](std::int64_t y) { return y < present.y || y >= present.top() ? nullptr : from.row(y); };
    const auto out = [&](std::int64_t index) { return to.row(to.region.y + index); };
    constexpr std::ptrdiff_t kNext = kFloatsPerPixel;
    RunningSums<Number, kColumns>(Lines<decltype(in)>{in, kNext}, Lines<decltype(out)>{out, kNext},
                                  tile.region.y - width / 2, tile.region.height, width, scale);
}

// The means of a tile out of rows that are summed already.
template <typename Number>
void SumColumns(const PixelBlock& rows, std::int64_t width, const Tile& tile) {
    const auto scale = static_cast<float>(1 / (static_cast<double>(width) * static_cast<double>(width)));
    std::int64_t x = tile.region.x;
    for (; x + std::int64_t{kSideBySide} <= tile.region.right(); x += kSideBySide) {
        SumAlongColumns<Number, kSideBySide>(rows, width, tile, x, scale);
    }
    for (; x < tile.region.right(); ++x) SumAlongColumns<Number, 1>(rows, width, tile, x, scale);
}

class NarrowBoxStage : public Stage {
  public:
    NarrowBoxStage(Prepared input, std::int64_t width) : input_(std::move(input)), width_(width) {}

    void render(const Tile& tile) const override {
        const PixelBlock source(tile.region.grownBy(width_ / 2));
        input_.render(source.tile());
        const PixelBlock rows(Region{tile.region.x, source.region().y, tile.region.width, source.region().height});
        SumRowsOf<float>(source, width_, rows.tile());
        SumColumns<float>(rows, width_, tile);
    }

  private:
    Prepared input_;
    std::int64_t width_;
};

// The rows are summed while it is made.
class WideBoxStage : public Stage {
  public:
    WideBoxStage(const ImageRef& input, std::int64_t width, const Region& region)
        : width_(width), rows_(rowsOf(input, width, region)) {
        constexpr std::int64_t kStripHeight = 8;
        const Region needed = region.grownBy(width / 2);
        const Prepared prepared = Prepare(input, needed);
        const Region& all = rows_.region();
        tbb::parallel_for<std::int64_t>(0, (all.height + kStripHeight - 1) / kStripHeight, [&](std::int64_t index) {
            const Region strip = all.intersection({all.x, all.y + index * kStripHeight, all.width, kStripHeight});
            const PixelBlock source(Region{needed.x, strip.y, needed.width, strip.height});
            prepared.render(source.tile());
            SumRowsOf<double>(source, width, rows_.tile().part(strip));
        });
    }

    void render(const Tile& tile) const override { SumColumns<double>(rows_, width_, tile); }

  private:
    // The rows that a region needs of an image and that there are; where there are none, one that is transparent.
    static Region rowsOf(const ImageRef& input, std::int64_t width, const Region& region) {
        const Region present = Clip(region.grownBy(width / 2), input->extent());
        return {region.x, present.isEmpty() ? region.y : present.y, region.width,
                present.isEmpty() ? 1 : present.height};
    }

    std::int64_t width_;
    PixelBlock rows_;
};

class BoxImage : public Image {
  public:
    BoxImage(ImageRef input, const Extent& extent, std::int64_t width)
        : Image(extent, input->depth()), input_(std::move(input)), width_(width) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override {
        if (width_ > kWidestNarrow) return std::make_unique<WideBoxStage>(input_, width_, region);
        return std::make_unique<NarrowBoxStage>(Prepare(input_, region.grownBy(width_ / 2)), width_);
    }

  private:
    ImageRef input_;
    std::int64_t width_;
};

}  // namespace

ImageRef MakeBoxBlurImage(ImageRef input, double width) {
    if (!(width >= 3) || input->extent().isEmpty()) return input;
    width = std::min(width, kWidestBlur);
    if (width > kWidestExact) {
        const Reduction reduction = ReductionFor(width / kWidestReduced);
        const Extent extent = input->extent().grownBy(std::floor((width - 1) / 2));
        ImageRef blurred = MakeBoxBlurImage(Reduced(std::move(input), reduction), width / reduction.factor());
        return Enlarged(std::move(blurred), reduction, extent);
    }
    const std::int64_t odd = 2 * static_cast<std::int64_t>((width - 1) / 2) + 1;
    const Extent extent = input->extent().grownBy(static_cast<double>(odd / 2));
    return std::make_shared<BoxImage>(std::move(input), extent, odd);
}

ImageRef BoxBlur(const Inputs& inputs) {
    ImageRef input = inputs.image("inputImage");
    return input == nullptr ? nullptr : MakeBoxBlurImage(std::move(input), inputs.number("inputRadius"));
}

}  // namespace core_image
