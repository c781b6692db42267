// disc.cpp - the mean over a disc whose rim is one pixel soft.
//
// A pixel at distance d has weight clamp(radius + 0.5 - d); all weights are divided by their sum. The disc consists
// of columns: a run of ones in the middle and a few softer pixels at both ends. Going outward row by row, the sums
// of all runs of one length are those of the runs one row shorter at each end plus two rows, for all columns at
// once. Mirrored pixels have the same weight.
// A very large disc is computed on a reduced image.

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "blur/blur.h"
#include "blur/filters.h"
#include "blur/reduced.h"
#include "blur/sums.h"
#include "core/window.h"

namespace core_image {
namespace {

// From this radius on a disc is computed on a reduced image.
constexpr double kLargestExact = 128;

// Two columns, this far to the left and to the right.
struct Columns {
    std::int64_t distance;
    float weight;
};

// The contributions of two rows, one below and one above a pixel.
struct Rows {
    std::vector<Columns> runs;  // sums of all rows up to these two
    std::vector<Columns> rim;   // sums of these two rows alone
};

// The disc, its weights summing to one: two rows for each distance.
struct Disc {
    std::int64_t reach;
    std::vector<Rows> rows;

    explicit Disc(double radius);
};

Disc::Disc(double radius) : reach(static_cast<std::int64_t>(std::ceil(radius))) {
    const auto weight = [&](std::int64_t x, std::int64_t y) {
        return std::clamp(radius + 0.5 - std::hypot(static_cast<double>(x), static_cast<double>(y)), 0.0, 1.0);
    };
    double sum = 0;
    for (std::int64_t y = -reach; y <= reach; ++y) {
        for (std::int64_t x = -reach; x <= reach; ++x) sum += weight(x, y);
    }
    for (std::int64_t y = 0; y <= reach; ++y) {
        Rows each;
        for (std::int64_t x = 0; x <= reach; ++x) {
            // The middle column is its own mirror image.
            const double share = (x == 0 ? 0.5 : 1) / sum;
            if (weight(x, y) == 1 && weight(x, y + 1) < 1) each.runs.push_back({x, static_cast<float>(share)});
            if (weight(x, y) > 0 && weight(x, y) < 1) {
                each.rim.push_back({x, static_cast<float>(weight(x, y) * share)});
            }
        }
        rows.push_back(std::move(each));
    }
}

class DiscStage : public Stage {
  public:
    DiscStage(Prepared input, const Disc& disc) : input_(std::move(input)), disc_(disc) {}

    void Render(const Tile& tile) const override {
        const Window window(input_, tile.region.GrownBy(disc_.reach));
        const View& source = window.GetView();
        const std::size_t floats = source.Width() * kFloatsPerPixel, used = tile.Width() * kFloatsPerPixel;
        const PixelBlock lines({source.region.x, 0, source.region.width, 2});
        float *const runs = lines.GetTile().Row(0), *const pair = lines.GetTile().Row(1);
        std::vector<Mirrored> terms;
        const auto add = [&](const float* line, const std::vector<Columns>& columns) {
            const float* const middle = line + disc_.reach * std::int64_t{kFloatsPerPixel};
            for (const Columns& each : columns) {
                const std::int64_t shift = each.distance * std::int64_t{kFloatsPerPixel};
                terms.push_back({middle - shift, middle + shift, each.weight});
            }
        };
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            Clear(tile.Part({tile.region.x, y, tile.region.width, 1}));
            std::copy_n(source.Row(y), floats, runs);
            for (std::int64_t distance = 0; distance <= disc_.reach; ++distance) {
                const Rows& rows = disc_.rows[static_cast<std::size_t>(distance)];
                if (distance > 0) AddPair(source.Row(y - distance), source.Row(y + distance), pair, runs, floats);
                terms.clear();
                add(runs, rows.runs);
                // The middle row has no counterpart.
                add(distance == 0 ? source.Row(y) : pair, rows.rim);
                AddMirrored(terms.data(), terms.size(), tile.Row(y), used);
            }
        }
    }

  private:
    Prepared input_;
    const Disc& disc_;  // owned by the image, which outlives the rendering
};

class DiscImage : public Image {
  public:
    DiscImage(ImageRef input, const Extent& extent, double radius)
        : Image(extent, input->GetDepth()), input_(std::move(input)), disc_(radius) {}

    void AddNeeds(const Region& region, Needs& needs) const override {
        needs.AddByTiles(input_, region.GrownBy(disc_.reach));
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<DiscStage>(Prepare(input_, region.GrownBy(disc_.reach)), disc_);
    }

  private:
    ImageRef input_;
    Disc disc_;
};

}  // namespace

ImageRef MakeDiscBlurImage(ImageRef input, double radius) {
    if (!(radius > 0) || input->GetExtent().IsEmpty()) return input;
    radius = std::min(radius, kWidestBlur / 2);
    const Extent extent = input->GetExtent().GrownBy(std::ceil(radius) + 2);
    if (radius > kLargestExact) {
        const Reduction reduction = ReductionFor(radius / kLargestExact);
        ImageRef blurred = MakeDiscBlurImage(Reduced(std::move(input), reduction), radius / reduction.Factor());
        return Enlarged(std::move(blurred), reduction, extent);
    }
    return std::make_shared<DiscImage>(std::move(input), extent, radius);
}

ImageRef DiscBlur(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    return input == nullptr ? nullptr : MakeDiscBlurImage(std::move(input), inputs.GetNumber("inputRadius"));
}

}  // namespace core_image
