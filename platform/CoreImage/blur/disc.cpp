// disc.cpp - the mean of a disc whose rim is one pixel soft.
//
// A pixel at distance d counts clamp(radius + 0.5 - d); all weights are divided by their sum. A small disc is summed weight by
// weight. Of a larger one each row is a run of ones, summed at a cost that does not depend on its length, and a few softer pixels
// at both ends. A still larger one is a disc over a smaller picture.

#include <cmath>
#include <utility>
#include <vector>

#include "blur/blur.h"
#include "blur/kernels.h"
#include "blur/reduced.h"
#include "blur/running_sums.h"

namespace core_image {
namespace {

// Up to here a disc is small.
constexpr double kLargestSmall = 6;

// How many rows are summed side by side.
constexpr std::size_t kRowsAtOnce = 4;

// From here on a disc is made of a smaller picture.
constexpr double kLargestExact = 128;

// A neighbour that is weighed by itself.
struct Tap {
    std::int64_t x;
    std::int64_t y;
};

// Rows of the disc that have a run of the same length, 2 reach + 1.
struct Runs {
    std::int64_t reach;
    std::vector<std::int64_t> rows;
};

// The disc, its weights summing to one.
struct Disc {
    std::int64_t reach;
    std::vector<Tap> taps;
    std::vector<float> weights;  // of the taps
    std::vector<Runs> runs;
    float runWeight;  // of every pixel in a run

    Disc(double radius, bool hasRuns);
};

Disc::Disc(double radius, bool hasRuns) : reach(static_cast<std::int64_t>(std::ceil(radius))) {
    std::vector<double> raw;
    double sum = 0;
    for (std::int64_t y = -reach; y <= reach; ++y) {
        std::int64_t run = -1;
        for (std::int64_t x = -reach; x <= reach; ++x) {
            const double distance = std::hypot(static_cast<double>(x), static_cast<double>(y));
            const double weight = std::clamp(radius + 0.5 - distance, 0.0, 1.0);
            sum += weight;
            if (weight == 1 && hasRuns) {
                run = std::max(run, x);
            } else if (weight > 0) {
                taps.push_back({x, y});
                raw.push_back(weight);
            }
        }
        if (run < 0) continue;
        const auto same =
            std::find_if(runs.begin(), runs.end(), [run](const Runs& other) { return other.reach == run; });
        if (same == runs.end()) {
            runs.push_back({run, {y}});
        } else {
            same->rows.push_back(y);
        }
    }
    for (const double weight : raw) weights.push_back(static_cast<float>(weight / sum));
    runWeight = static_cast<float>(1 / sum);
}

class DiscStage : public Stage {
  public:
    DiscStage(Prepared input, const Disc& disc) : input_(std::move(input)), disc_(disc) {}

    void render(const Tile& tile) const override {
        const PixelBlock source(tile.region.grownBy(disc_.reach));
        input_.render(source.tile());
        std::vector<const float*> rows(disc_.taps.size());
        for (std::int64_t y = tile.region.y; y < tile.region.top(); ++y) {
            for (std::size_t index = 0; index < rows.size(); ++index) {
                const Tap& tap = disc_.taps[index];
                rows[index] = source.row(y + tap.y) + (disc_.reach + tap.x) * std::int64_t{kFloatsPerPixel};
            }
            SumRows(rows.data(), disc_.weights.data(), rows.size(), tile.row(y), tile.width() * kFloatsPerPixel);
        }
        if (!disc_.runs.empty()) addRuns(source, tile);
    }

  private:
    void addRuns(const PixelBlock& source, const Tile& tile) const {
        std::int64_t y = tile.region.y;
        for (; y + std::int64_t{kRowsAtOnce} <= tile.region.top(); y += kRowsAtOnce) {
            addRunsTo<kRowsAtOnce>(source, tile.part({tile.region.x, y, tile.region.width, kRowsAtOnce}));
        }
        for (; y < tile.region.top(); ++y) {
            addRunsTo<1>(source, tile.part({tile.region.x, y, tile.region.width, 1}));
        }
    }

    // Adds the runs to some rows.
    template <std::size_t kRows>
    void addRunsTo(const PixelBlock& source, const Tile& tile) const {
        const Region& region = tile.region;
        const PixelBlock lines(Region{source.region().x, region.y, source.region().width, region.height});
        const PixelBlock sums(region);
        const std::vector<float> weights(static_cast<std::size_t>(2 * disc_.reach + 1), disc_.runWeight);
        const float* from = lines.row(region.y);
        float* to = sums.tile().pixels;
        const auto in = [&](std::int64_t x) { return from + (x - lines.region().x) * std::int64_t{kFloatsPerPixel}; };
        const auto out = [&](std::int64_t index) { return to + index * std::int64_t{kFloatsPerPixel}; };
        std::vector<const float*> rows;
        for (const Runs& runs : disc_.runs) {
            // Only as much of a line as the runs reach.
            const std::int64_t unused = disc_.reach - runs.reach;
            const std::int64_t left = unused * std::int64_t{kFloatsPerPixel};
            const std::int64_t used = (lines.region().width - 2 * unused) * std::int64_t{kFloatsPerPixel};
            for (std::int64_t y = region.y; y < region.top(); ++y) {
                rows.clear();
                for (const std::int64_t row : runs.rows) rows.push_back(source.row(y + row) + left);
                SumRows(rows.data(), weights.data(), rows.size(), lines.tile().row(y) + left,
                        static_cast<std::size_t>(used));
            }
            RunningSums<float, kRows>(Lines<decltype(in)>{in, lines.tile().floatsPerRow},
                                      Lines<decltype(out)>{out, sums.tile().floatsPerRow}, region.x - runs.reach,
                                      region.width, 2 * runs.reach + 1, 1);
            for (std::int64_t y = region.y; y < region.top(); ++y) {
                float* sum = tile.row(y);
                const float* added = sums.row(y);
                for (std::size_t index = 0; index < tile.width() * kFloatsPerPixel; ++index) sum[index] += added[index];
            }
        }
    }

    Prepared input_;
    const Disc& disc_;  // of the image, which outlives the rendering
};

class DiscImage : public Image {
  public:
    DiscImage(ImageRef input, const Extent& extent, double radius)
        : Image(extent, input->depth()), input_(std::move(input)), disc_(radius, radius > kLargestSmall) {}

    std::unique_ptr<const Stage> prepare(const Region& region) const override {
        return std::make_unique<DiscStage>(Prepare(input_, region.grownBy(disc_.reach)), disc_);
    }

  private:
    ImageRef input_;
    Disc disc_;
};

}  // namespace

ImageRef MakeDiscBlurImage(ImageRef input, double radius) {
    if (!(radius > 0) || input->extent().isEmpty()) return input;
    radius = std::min(radius, kWidestBlur / 2);
    const Extent extent = input->extent().grownBy(std::ceil(radius) + 2);
    if (radius > kLargestExact) {
        const Reduction reduction = ReductionFor(radius / kLargestExact);
        ImageRef blurred = MakeDiscBlurImage(Reduced(std::move(input), reduction), radius / reduction.factor());
        return Enlarged(std::move(blurred), reduction, extent);
    }
    return std::make_shared<DiscImage>(std::move(input), extent, radius);
}

ImageRef DiscBlur(const Inputs& inputs) {
    ImageRef input = inputs.image("inputImage");
    return input == nullptr ? nullptr : MakeDiscBlurImage(std::move(input), inputs.number("inputRadius"));
}

}  // namespace core_image
