// crystallize.cpp - a mosaic: every pixel has the color of the nearest seed.
//
// Seeds lie near the nodes of a square grid through the center, as far apart as the radius, each moved by a
// pseudo-random amount. A seed's color is that of the image at the seed, interpolated; a seed outside the image is
// transparent. Cells meet in an edge one pixel wide, where the encoded colors of two seeds are mixed.
// Everything about a tile's seeds is computed anew for each tile: this costs less than passing it on.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>
#include <utility>
#include <vector>

#include "core/buffered.h"
#include "core/color_matching.h"
#include "core/transfer.h"
#include "core/window.h"
#include "sampling/bilinear.h"
#include "stylize/crystals.h"
#include "stylize/filters.h"

namespace core_image {
namespace {

// Up to this radius, the pixels between seeds are read along with those at the seeds.
constexpr double kLargestDense = 4;

// Beyond this distance grids are indistinguishable.
constexpr double kFarthestNode = 1e9;

// The grid of seeds.
struct SeedGrid {
    double centerX, centerY;
    double radius;

    // The node below a pixel's center in one direction, and the position relative to it, in units of the grid.
    static std::int64_t Node(double nodes) { return static_cast<std::int64_t>(std::floor(nodes)); }
    double Nodes(std::int64_t pixel, double center) const {
        return (static_cast<double>(pixel) + 0.5 - center) / radius;
    }

    // The nodes that are searched for the pixels of a region.
    Region Around(const Region& region) const {
        const std::int64_t left = Node(Nodes(region.x, centerX)) - kNodesBefore;
        const std::int64_t bottom = Node(Nodes(region.y, centerY)) - kNodesBefore;
        return {left, bottom, Node(Nodes(region.Right() - 1, centerX)) + kNodesAfter + 1 - left,
                Node(Nodes(region.Top() - 1, centerY)) + kNodesAfter + 1 - bottom};
    }

    // The pixels that the colors of nodes depend on.
    Region Source(const Region& nodes) const {
        const auto at = [this](std::int64_t node, double center) {
            return center + radius * static_cast<double>(node);
        };
        const Extent places = {at(nodes.x, centerX), at(nodes.y, centerY), at(nodes.Right() - 1, centerX),
                               at(nodes.Top() - 1, centerY)};
        return PixelsAround(places.GrownBy(radius / 3 + 1));
    }
};

// Which numbers the colors of seeds are interpolated from and mixed in.
struct MosaicCoding {
    bool isEncoded;  // the image gives encoded numbers
    bool isLinear;   // the result is linear light
};

class MosaicStage : public Stage {
  public:
    MosaicStage(const SeedGrid& grid, const ImageRef& image, const MosaicCoding& coding, const Region& region)
        : grid_(grid), coding_(coding) {
        const Region source = grid.Source(grid.Around(region));
        image_ = Prepare(image, source);
        // Reading pixels one by one suits only images that compute them one by one.
        if (!image_.IsPointwise()) image_ = Hold(image_, Clip(source, image_.GetExtent()));
    }

    void Render(const Tile& tile) const override {
        const Region& region = tile.region;
        const SeedTable seeds(grid_.Around(region));
        const Region& nodes = seeds.Nodes();
        // The colors of all seeds as the mosaic shows them, and encoded for mixing; both without gaps.
        std::vector<float> mixable(static_cast<std::size_t>(nodes.width * nodes.height) * kFloatsPerPixel);
        Sample(seeds,
               {nodes, mixable.data(), static_cast<std::ptrdiff_t>(nodes.width) * std::ptrdiff_t{kFloatsPerPixel}});
        const std::vector<float> colors = ShownColors(mixable);
        const auto at = [](const std::vector<float>& from, std::int32_t seed) {
            return &from[static_cast<std::size_t>(seed) * kFloatsPerPixel];
        };

        const std::size_t length = tile.Width() + kBlockPixels;
        std::vector<std::int32_t> node(length), first(length), second(length);
        std::vector<float> x(length), distance(length), mixed(tile.Width() * kFloatsPerPixel);
        std::vector<std::size_t> edge;
        std::vector<std::int32_t> column(length);
        for (std::size_t index = 0; index < tile.Width(); ++index) {
            const double place = grid_.Nodes(region.x + static_cast<std::int64_t>(index), grid_.centerX);
            column[index] = static_cast<std::int32_t>(SeedGrid::Node(place) - nodes.x);
            x[index] = static_cast<float>(place - std::floor(place));
        }
        // The padding repeats the last pixel, so that it indexes the table too.
        std::fill(column.begin() + static_cast<std::ptrdiff_t>(tile.Width()), column.end(), column[tile.Width() - 1]);
        for (std::int64_t y = region.y; y < region.Top(); ++y) {
            const double place = grid_.Nodes(y, grid_.centerY);
            const std::int32_t start = seeds.IndexOf(nodes.x, SeedGrid::Node(place));
            std::transform(column.begin(), column.end(), node.begin(), [=](std::int32_t each) { return start + each; });
            FindNearest(seeds, {node.data(), x.data(), static_cast<float>(place - std::floor(place))}, tile.Width(),
                        {first.data(), second.data(), distance.data()});
            edge.clear();
            float* row = tile.Row(y);
            for (std::size_t index = 0; index < tile.Width(); ++index) {
                const float share = 0.5f + distance[index] * static_cast<float>(grid_.radius);
                if (share >= 1) {
                    std::memcpy(row + index * kFloatsPerPixel, at(colors, first[index]), kPixelBytes);
                    continue;
                }
                const float *own = at(mixable, first[index]), *other = at(mixable, second[index]);
                float* to = &mixed[edge.size() * kFloatsPerPixel];
                for (std::size_t channel = 0; channel < kFloatsPerPixel; ++channel)
                    to[channel] = other[channel] + share * (own[channel] - other[channel]);
                edge.push_back(index);
            }
            if (coding_.isLinear) DecodePremultipliedRow(mixed.data(), edge.size());
            for (std::size_t index = 0; index < edge.size(); ++index)
                std::memcpy(row + edge[index] * kFloatsPerPixel, &mixed[index * kFloatsPerPixel], kPixelBytes);
        }
    }

  private:
    void Sample(const SeedTable& seeds, const Tile& out) const {
        if (grid_.radius <= kLargestDense) {
            SamplePart(seeds, out);
            return;
        }
        const Region& nodes = seeds.Nodes();
        for (std::int64_t row = nodes.y; row < nodes.Top(); ++row) {
            for (std::int64_t column = nodes.x; column < nodes.Right(); ++column)
                SamplePart(seeds, out.Part({column, row, 1, 1}));
        }
    }

    void SamplePart(const SeedTable& seeds, const Tile& out) const {
        const Region& nodes = out.region;
        Places places(nodes);
        for (std::int64_t row = nodes.y; row < nodes.Top(); ++row) {
            for (std::int64_t column = nodes.x; column < nodes.Right(); ++column) {
                const auto index = static_cast<std::size_t>(seeds.IndexOf(column, row));
                const auto at = [&](std::int64_t node, float moved, double center) {
                    return center + grid_.radius * (static_cast<double>(node) + static_cast<double>(moved));
                };
                places.X(row)[column - nodes.x] = at(column, seeds.X()[index], grid_.centerX);
                places.Y(row)[column - nodes.x] = at(row, seeds.Y()[index], grid_.centerY);
            }
            places.FinishRow(row);
        }
        const Window source(image_, PixelsAround(places.GetView().Bounds()));
        SampleBilinear(source.GetView(), places.GetView(), out);
    }

    // Returns the colors that are shown for those that were sampled, and encodes the latter if they are not.
    std::vector<float> ShownColors(std::vector<float>& sampled) const {
        for (float& number : sampled) number = FiniteFloat(static_cast<double>(number));
        std::vector<float> shown = sampled;
        const std::size_t pixels = sampled.size() / kFloatsPerPixel;
        if (!coding_.isLinear) return shown;
        if (coding_.isEncoded) {
            DecodePremultipliedRow(shown.data(), pixels);
            return shown;
        }
        const RunMemory memory(1);
        for (std::size_t start = 0; start < pixels; start += kRunPixels) {
            const std::size_t count = std::min(kRunPixels, pixels - start);
            ToBlocks(&sampled[start * kFloatsPerPixel], count, memory.Run(0));
            EncodeRun(memory.Run(0), count);
            FromBlocks(memory.Run(0), count, &sampled[start * kFloatsPerPixel]);
        }
        return shown;
    }

    const SeedGrid& grid_;  // owned by the image, which outlives the rendering
    MosaicCoding coding_;
    Prepared image_;
};

class MosaicImage : public Image {
  public:
    MosaicImage(ImageRef input, const SeedGrid& grid)
        : Image(input->GetExtent().GrownBy(std::ceil(1.5 * grid.radius)), input->GetDepth()),
          stored_(input->Encoded()),
          input_(std::move(input)),
          grid_(grid) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        needs.AddByTiles(Picture(), grid_.Source(grid_.Around(region)));
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<MosaicStage>(grid_, Picture(), MosaicCoding{stored_ != nullptr, IsMatching()}, region);
    }

  private:
    // What the colors are taken from.
    const ImageRef& Picture() const { return stored_ != nullptr ? stored_ : input_; }

    ImageRef stored_;  // the numbers of a picture; null for other images
    ImageRef input_;
    SeedGrid grid_;
};

}  // namespace

// CICrystallize: cells of one color each around seeds inputRadius apart, on a grid through inputCenter. The extent
// grows by one and a half radii. Returns the input itself for a radius up to 1.
//
// Measured: the grid, how far seeds are moved from it, the color at the seed, the soft edges and the extent. The
// pseudo-random numbers are chosen: those of the platform are unknown.
ImageRef Crystallize(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    const double radius = std::min(inputs.GetNumber("inputRadius"), kFarthestNode);
    if (input == nullptr || !(radius > 1) || input->GetExtent().IsEmpty()) return input;
    const auto center = [&](std::size_t index) {
        return std::clamp(inputs.GetElement("inputCenter", index), -kFarthestNode, kFarthestNode);
    };
    return std::make_shared<MosaicImage>(std::move(input), SeedGrid{center(0), center(1), radius});
}

}  // namespace core_image
