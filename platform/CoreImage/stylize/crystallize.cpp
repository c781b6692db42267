// crystallize.cpp - a mosaic: every pixel has the color of the nearest seed.
//
// Seeds lie in a square grid whose cells are as wide as the radius, each at a pseudo-random position in its cell. A
// seed's color is the mean of the image inside a square around it, as wide as the radius. A seed outside the image
// uses the nearest place inside it.
// The seeds of small cells are computed anew for each tile; those of large cells, which many tiles share, once for a
// region.

#include <tbb/parallel_for.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "blur/reduced.h"
#include "core/buffered.h"
#include "sampling/repeat.h"
#include "stylize/crystals.h"
#include "stylize/filters.h"

namespace core_image {
namespace {

// Cells up to this width are small.
constexpr double kLargestSmall = 8;

// When the square covers more than this many by this many pixels, the mean is taken from a reduced image, in which
// the square still covers at least a quarter of that number. A pixel of the reduced image is the mean of up to four
// by four pixels, with others skipped in between, because the picture may be infinite.
constexpr double kWidestExact = 128;
constexpr int kMostMeans = 2;

// Beyond this distance grids are indistinguishable.
constexpr double kFarthestNode = 1e9;

// The grid of seeds.
struct Grid {
    double centerX, centerY;
    double radius;

    std::int64_t Column(std::int64_t x) const { return Cell(x, centerX); }
    std::int64_t Row(std::int64_t y) const { return Cell(y, centerY); }

    // A pixel's position in units of cells.
    double Cells(std::int64_t pixel, double center) const {
        return (static_cast<double>(pixel) + 0.5 - center) / radius;
    }

    // The cells that cover a region, and two more on each side.
    Region Around(const Region& region) const {
        const std::int64_t left = Column(region.x) - 2, bottom = Row(region.y) - 2;
        return {left, bottom, Column(region.Right() - 1) + 3 - left, Row(region.Top() - 1) + 3 - bottom};
    }

  private:
    std::int64_t Cell(std::int64_t pixel, double center) const {
        return static_cast<std::int64_t>(std::floor(Cells(pixel, center)));
    }
};

// The source of the seeds' colors: an image or its reduction, and how many pixels a seed's square reaches to each
// side.
struct Palette {
    ImageRef image;
    Extent extent;
    double factor;
    std::int64_t reach;

    // The pixels of a seed's square that lie in the image: at least one.
    Region Square(double x, double y) const {
        const auto nearest = [this](double place, double least, double end) {
            return static_cast<std::int64_t>(std::clamp(std::floor(place / factor), least, end - 1));
        };
        const std::int64_t column = nearest(x, extent.left, extent.right), row = nearest(y, extent.bottom, extent.top);
        return Clip(Region{column, row, 1, 1}.GrownBy(reach), extent);
    }
};

// The seeds of a range of cells.
class Seeds {
  public:
    Seeds(const Grid& grid, const Region& cells)
        : grid_(grid), cells_(cells), colors_(static_cast<std::size_t>(cells.width * cells.height) * kFloatsPerPixel) {}

    // Computes the colors of a row of cells.
    void ColorRow(std::int64_t row, const Palette& palette, const Prepared& image) {
        for (std::int64_t column = cells_.x; column < cells_.Right(); ++column) {
            const PixelBlock block(Square(palette, column, row));
            image.Render(block.GetTile());
            double sums[kFloatsPerPixel] = {};
            const Region& region = block.GetRegion();
            for (std::int64_t y = region.y; y < region.Top(); ++y) {
                const float* from = block.Row(y);
                for (std::int64_t x = 0; x < region.width; ++x)
                    for (double& sum : sums) sum += static_cast<double>(*from++);
            }
            float* to = colors_.data() + GetNumber(column, row) * kFloatsPerPixel;
            const double count = static_cast<double>(region.width * region.height);
            for (const double sum : sums) *to++ = FiniteFloat(sum / count);
        }
    }

    // The pixels that all these colors depend on.
    Region Source(const Palette& palette) const {
        const Region first = Square(palette, cells_.x, cells_.y);
        Region all = first;
        const auto add = [&](std::int64_t column, std::int64_t row) {
            const Region more = Square(palette, column, row);
            const std::int64_t left = std::min(all.x, more.x), bottom = std::min(all.y, more.y);
            all = {left, bottom, std::max(all.Right(), more.Right()) - left, std::max(all.Top(), more.Top()) - bottom};
        };
        for (std::int64_t column = cells_.x; column < cells_.Right(); ++column)
            for (const std::int64_t row : {cells_.y, cells_.Top() - 1}) add(column, row);
        for (std::int64_t row = cells_.y; row < cells_.Top(); ++row)
            for (const std::int64_t column : {cells_.x, cells_.Right() - 1}) add(column, row);
        return all;
    }

    // Draws the part of a tile that lies in a cell.
    void Draw(const Tile& tile, std::int64_t column, std::int64_t row) const {
        NearSeeds near;
        std::size_t numbers[kNearCells], count = 0;
        for (std::int64_t y = -2; y <= 2; ++y) {
            for (std::int64_t x = -2; x <= 2; ++x) {
                if (std::abs(x) == 2 && std::abs(y) == 2) continue;
                const Seed seed = SeedOf(column + x, row + y);
                near.x[count] = seed.x + static_cast<float>(x);
                near.y[count] = seed.y + static_cast<float>(y);
                numbers[count++] = GetNumber(column + x, row + y);
            }
        }
        const Region& region = tile.region;
        std::vector<float> places(tile.Width() + kBlockPixels);
        for (std::size_t index = 0; index < tile.Width(); ++index) {
            const std::int64_t x = region.x + static_cast<std::int64_t>(index);
            places[index] = static_cast<float>(grid_.Cells(x, grid_.centerX) - static_cast<double>(column));
        }
        std::vector<std::int32_t> nearest(places.size());
        for (std::int64_t y = region.y; y < region.Top(); ++y) {
            const auto place = static_cast<float>(grid_.Cells(y, grid_.centerY) - static_cast<double>(row));
            FindNearest(near, places.data(), place, tile.Width(), nearest.data());
            float* to = tile.Row(y);
            for (std::size_t index = 0; index < tile.Width(); ++index, to += kFloatsPerPixel) {
                const std::size_t seed = numbers[static_cast<std::size_t>(nearest[index])];
                std::memcpy(to, &colors_[seed * kFloatsPerPixel], kFloatsPerPixel * sizeof(float));
            }
        }
    }

    const Region& Cells() const { return cells_; }

  private:
    Region Square(const Palette& palette, std::int64_t column, std::int64_t row) const {
        const Seed seed = SeedOf(column, row);
        return palette.Square(
            grid_.centerX + grid_.radius * (static_cast<double>(column) + static_cast<double>(seed.x)),
            grid_.centerY + grid_.radius * (static_cast<double>(row) + static_cast<double>(seed.y)));
    }
    std::size_t GetNumber(std::int64_t column, std::int64_t row) const {
        return static_cast<std::size_t>((row - cells_.y) * cells_.width + column - cells_.x);
    }

    Grid grid_;
    Region cells_;
    std::vector<float> colors_;
};

class MosaicStage : public Stage {
  public:
    MosaicStage(const Grid& grid, const Palette& palette, const Region& region) : grid_(grid), palette_(palette) {
        Seeds seeds(grid, grid.Around(region));
        image_ = Prepare(palette.image, seeds.Source(palette));
        if (!image_.IsPointwise()) image_ = Prepare(MakeBufferedImage(palette.image), seeds.Source(palette));
        if (grid.radius <= kLargestSmall) return;
        const Region& cells = seeds.Cells();
        tbb::parallel_for(cells.y, cells.Top(), [&](std::int64_t row) { seeds.ColorRow(row, palette, image_); });
        seeds_ = std::move(seeds);
    }

    void Render(const Tile& tile) const override {
        if (seeds_.has_value()) {
            Draw(*seeds_, tile);
            return;
        }
        Seeds seeds(grid_, grid_.Around(tile.region));
        const Region& cells = seeds.Cells();
        for (std::int64_t row = cells.y; row < cells.Top(); ++row) seeds.ColorRow(row, palette_, image_);
        Draw(seeds, tile);
    }

  private:
    // Draws cell after cell. Each ends where the next begins.
    void Draw(const Seeds& seeds, const Tile& tile) const {
        const Region& region = tile.region;
        for (std::int64_t y = region.y; y < region.Top();) {
            const std::int64_t row = grid_.Row(y);
            std::int64_t top = y + 1;
            while (top < region.Top() && grid_.Row(top) == row) ++top;
            for (std::int64_t x = region.x; x < region.Right();) {
                const std::int64_t column = grid_.Column(x);
                std::int64_t right = x + 1;
                while (right < region.Right() && grid_.Column(right) == column) ++right;
                seeds.Draw(tile.Part({x, y, right - x, top - y}), column, row);
                x = right;
            }
            y = top;
        }
    }

    const Grid& grid_;        // owned by the image, which outlives the rendering
    const Palette& palette_;  // likewise
    Prepared image_;
    std::optional<Seeds> seeds_;
};

class MosaicImage : public Image {
  public:
    MosaicImage(const ImageRef& input, const Grid& grid, Palette palette)
        : Image(input->GetExtent(), input->GetDepth()), grid_(grid), palette_(std::move(palette)) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        needs.AddByTiles(palette_.image, Seeds(grid_, grid_.Around(region)).Source(palette_));
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<MosaicStage>(grid_, palette_, region);
    }

  private:
    Grid grid_;
    Palette palette_;
};

// The source of colors for squares as wide as a radius.
//
// The reduced image is made of an image extended by its outermost pixels, so that its own outermost pixels are as
// opaque as the others.
Palette PaletteOf(const ImageRef& input, double radius) {
    const Extent& extent = input->GetExtent();
    const double width = std::min(radius, extent.right - extent.left);
    const double height = std::min(radius, extent.top - extent.bottom);
    const double excess = std::sqrt(width * height) / kWidestExact;
    if (excess <= 1) return {input, extent, 1, static_cast<std::int64_t>(radius / 2)};
    const int powers = static_cast<int>(std::ceil(std::log2(excess)));
    const Reduction reduction = {std::max(0, powers - kMostMeans), std::min(powers, kMostMeans)};
    const double factor = reduction.Factor();
    const Extent smaller = {std::floor(extent.left / factor), std::floor(extent.bottom / factor),
                            std::ceil(extent.right / factor), std::ceil(extent.top / factor)};
    return {Reduced(MakeClampedImage(input), reduction), smaller, factor,
            static_cast<std::int64_t>(radius / factor / 2)};
}

}  // namespace

// CICrystallize: convex polygons of one color each, about inputRadius wide, in a pattern that moves with
// inputCenter. Returns the input itself for a radius up to 1.
//
// A seed's color is a mean, not a single pixel, so that blocks keep the tones of a picture with fine detail.
ImageRef Crystallize(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    const double radius = std::min(inputs.GetNumber("inputRadius"), kFarthestNode);
    if (input == nullptr || !(radius > 1) || input->GetExtent().IsEmpty()) return input;
    const auto center = [&](std::size_t index) {
        return std::clamp(inputs.GetElement("inputCenter", index), -kFarthestNode, kFarthestNode);
    };
    return std::make_shared<MosaicImage>(input, Grid{center(0), center(1), radius}, PaletteOf(input, radius));
}

}  // namespace core_image
