// resized.cpp - rows first: each input row becomes as wide as the result, then columns are summed.
//
// A tile reads its part of the input strip by strip. It keeps as many rows of the result's width as the kernel is high,
// so that what is in use at once stays in a core's own cache, whatever the scale.

#include "sampling/resized.h"

#include <algorithm>
#include <cmath>
#include <memory>
#include <utility>
#include <vector>

#include "core/window.h"
#include "sampling/affine.h"
#include "sampling/lanczos.h"
#include "sampling/weighted_sums.h"

namespace core_image {
namespace {

// The rows that are read at once. Inputs that read neighbors themselves compute more of them in low strips.
constexpr std::int64_t kStripOfPointwise = 8;
constexpr std::int64_t kStripOfOthers = 64;

// How the pixels of a result lie over those of its input.
struct Resizing {
    ResizedLine columns, rows;

    // The pixels of the input from which a region is made. Steps of neighbors may read beyond the last one.
    Region SourceOf(const Region& region) const {
        const std::int64_t left = columns.Around(region.x).begin, bottom = rows.Around(region.y).begin;
        return {left, bottom,
                columns.Around(region.Right() - 1).end - left + static_cast<std::int64_t>(kNeighborStep) - 1,
                rows.Around(region.Top() - 1).end - bottom};
    }
};

class ResizedStage : public Stage {
  public:
    ResizedStage(Prepared input, const Resizing& resizing, const Region& region)
        : input_(std::move(input)),
          resizing_(resizing),
          columns_(resizing.columns, region.x, region.Right(), kNeighborStep, kMostLanes),
          rows_(resizing.rows, region.y, region.Top(), /*multiple=*/1, /*spare=*/0) {}

    void Render(const Tile& tile) const override {
        const Region& region = tile.region;
        const Region source = resizing_.SourceOf(region);
        std::vector<std::int32_t> first, count;
        for (std::int64_t x = region.x; x < region.Right(); ++x) {
            first.push_back(static_cast<std::int32_t>(columns_.First(x) - source.x));
            count.push_back(static_cast<std::int32_t>(columns_.Count(x)));
        }
        const Neighbors neighbors = {first.data(), count.data(), columns_.Weights(region.x), columns_.Stride()};
        const std::int64_t strip = input_.IsPointwise() ? kStripOfPointwise : kStripOfOthers;
        // The resized rows; each is kept until a later one takes its place.
        const auto kept = static_cast<std::int64_t>(rows_.Stride()) + strip;
        const PixelBlock lines({region.x, 0, region.width, kept});
        std::vector<const float*> used;
        std::int64_t next = source.y;
        for (std::int64_t y = region.y; y < region.Top(); ++y) {
            const std::int64_t begin = rows_.First(y), end = begin + static_cast<std::int64_t>(rows_.Count(y));
            while (next < end) {
                // A strip ends where the rows begin again.
                const std::int64_t place = (next - source.y) % kept;
                const std::int64_t height = std::min({strip, source.Top() - next, kept - place});
                const Window window(input_, {source.x, next, source.width, height});
                const View& read = window.GetView();
                SumNeighborsOfRows(read.pixels, read.floatsPerRow, static_cast<std::size_t>(height), neighbors,
                                   lines.GetTile().Row(place), lines.GetTile().floatsPerRow, tile.Width());
                next += height;
            }
            used.clear();
            for (std::int64_t row = begin; row < end; ++row) used.push_back(lines.Row((row - source.y) % kept));
            SumRows(used.data(), rows_.Weights(y), used.size(), tile.Row(y), tile.Width() * kFloatsPerPixel);
        }
    }

  private:
    Prepared input_;
    Resizing resizing_;
    LanczosWeights columns_, rows_;
};

class ResizedImage : public Image {
  public:
    ResizedImage(ImageRef input, const Extent& extent, const Resizing& resizing)
        : Image(extent, input->GetDepth()), input_(std::move(input)), resizing_(resizing) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        needs.AddByTiles(input_, resizing_.SourceOf(region));
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<ResizedStage>(Prepare(input_, resizing_.SourceOf(region)), resizing_, region);
    }

  private:
    ImageRef input_;
    Resizing resizing_;
};

}  // namespace

ImageRef MakeResizedImage(ImageRef input, std::int64_t width, std::int64_t height, ResizeMode mode) {
    Region region;
    if (!RegionOfExtent(input->GetExtent(), &region)) return nullptr;
    const auto inputWidth = static_cast<double>(region.width), inputHeight = static_cast<double>(region.height);
    const double scaleX = static_cast<double>(width) / inputWidth, scaleY = static_cast<double>(height) / inputHeight;
    // The part of the input that is shown.
    double shownWidth = inputWidth, shownHeight = inputHeight;
    if (mode == ResizeMode::kFit) {
        const double scale = std::min(scaleX, scaleY);
        width = std::max(1LL, std::llround(inputWidth * scale));
        height = std::max(1LL, std::llround(inputHeight * scale));
    } else if (mode == ResizeMode::kFill) {
        const double scale = std::max(scaleX, scaleY);
        shownWidth = static_cast<double>(width) / scale;
        shownHeight = static_cast<double>(height) / scale;
    }
    if (width == region.width && height == region.height) {
        const Affine move = {1, 0, 0, 1, -static_cast<double>(region.x), -static_cast<double>(region.y)};
        return MakeAffineImage(std::move(input), move);
    }
    const auto line = [](std::int64_t low, std::int64_t length, double shown, std::int64_t pixels) {
        const double step = shown / static_cast<double>(pixels), cut = (static_cast<double>(length) - shown) / 2;
        // Pixels that keep their size are copied.
        return ResizedLine{static_cast<double>(low) + (step == 1 ? std::floor(cut) : cut), step, low, low + length};
    };
    Resizing resizing = {line(region.x, region.width, shownWidth, width),
                         line(region.y, region.height, shownHeight, height)};
    const ReducedImage reduced = input->Reduced(std::min(resizing.columns.step, resizing.rows.step));
    if (reduced.image != nullptr && RegionOfExtent(reduced.image->GetExtent(), &region)) {
        const auto over = [&](const ResizedLine& full, double edge, std::int64_t low, std::int64_t length) {
            return ResizedLine{(full.start - edge) / reduced.factor, full.step / reduced.factor, low, low + length};
        };
        resizing = {over(resizing.columns, 0, region.x, region.width),
                    over(resizing.rows, reduced.y, region.y, region.height)};
        input = reduced.image;
    }
    const Extent extent = {0, 0, static_cast<double>(width), static_cast<double>(height)};
    return std::make_shared<ResizedImage>(std::move(input), extent, resizing);
}

}  // namespace core_image
