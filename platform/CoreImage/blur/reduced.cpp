// reduced.cpp - means of squares of pixels, and pixels interpolated between them.

#include "blur/reduced.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "blur/enlarged.h"
#include "core/window.h"
#include "sampling/affine.h"
#include "sampling/weighted_sums.h"

namespace core_image {
namespace {

// Up to a factor of 32 every pixel is read; beyond it, only one pixel in each square of means.
constexpr int kMostMeans = 5;
constexpr int kMeansOfSparse = 2;

// The rows of an input that are rendered at a time.
constexpr std::int64_t kRowsAtOnce = 64;

// A stage whose pixels are the means of squares.
class MeansStage : public Stage {
  public:
    MeansStage(Prepared input, std::int64_t edge) : input_(std::move(input)), edge_(edge) {}

    void Render(const Tile& tile) const override {
        const Region& region = tile.region;
        const auto edge = static_cast<std::size_t>(edge_);
        std::vector<std::int32_t> first, count(tile.Width(), static_cast<std::int32_t>(edge));
        for (std::size_t x = 0; x < tile.Width(); ++x) first.push_back(static_cast<std::int32_t>(x * edge));
        std::vector<float> ones(edge + kMostLanes);
        std::fill_n(ones.begin(), edge, 1.0f);
        const std::vector<float> shares(edge, 1 / static_cast<float>(edge * edge));
        const Neighbors neighbors = {first.data(), count.data(), ones.data(), /*stride=*/0};
        // Whole vectors of neighbors are read, those beyond the last square with weights of 0.
        constexpr auto kBeyond = static_cast<std::int64_t>(kNeighborStep);
        const PixelBlock line(Region{0, 0, region.width * edge_ + kBeyond, 1});
        Clear(line.GetTile());
        const std::size_t floats = tile.Width() * edge * kFloatsPerPixel;
        std::vector<const float*> rows(edge);
        const std::int64_t rowsAtOnce = std::max<std::int64_t>(1, kRowsAtOnce / edge_);
        for (std::int64_t y = region.y; y < region.Top();) {
            const std::int64_t end = std::min(y + rowsAtOnce, region.Top());
            const Window window(input_, {region.x * edge_, y * edge_, region.width * edge_, (end - y) * edge_});
            for (; y < end; ++y) {
                for (std::size_t k = 0; k < edge; ++k) {
                    rows[k] = window.GetView().Row(y * edge_ + static_cast<std::int64_t>(k));
                }
                SumRows(rows.data(), shares.data(), edge, line.GetTile().pixels, floats);
                SumNeighborsOfRows(line.Row(0), 0, 1, neighbors, tile.Row(y), 0, tile.Width());
            }
        }
    }

  private:
    Prepared input_;
    std::int64_t edge_;
};

// The means of the squares of an image with a given edge.
class MeansImage : public Image {
  public:
    MeansImage(ImageRef input, std::int64_t edge)
        : Image(Divided(input->GetExtent(), static_cast<double>(edge)), input->GetDepth()),
          input_(std::move(input)),
          edge_(edge) {}

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddByTiles(input_, Source(region)); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<MeansStage>(Prepare(input_, Source(region)), edge_);
    }

  private:
    Region Source(const Region& region) const {
        return {region.x * edge_, region.y * edge_, region.width * edge_, region.height * edge_};
    }

    ImageRef input_;
    std::int64_t edge_;
};

// A reduced image at full size.
class EnlargedImage : public Image {
  public:
    EnlargedImage(ImageRef reduced, std::int64_t step, const Extent& extent)
        : Image(extent, reduced->GetDepth()), reduced_(std::move(reduced)), step_(step) {}

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddByTiles(reduced_, Samples(region)); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        std::vector<std::vector<float>> weights;
        for (std::int64_t phase = 0; phase < step_; ++phase) {
            const float upper = (static_cast<float>(phase) + 0.5f) / static_cast<float>(step_);
            weights.push_back({1 - upper, upper});
        }
        return MakeEnlargedStage(Prepare(reduced_, Samples(region)), step_, std::move(weights));
    }

  private:
    Region Samples(const Region& region) const { return SamplesFor(region, step_, kLinearTaps); }

    ImageRef reduced_;
    std::int64_t step_;
};

}  // namespace

double Reduction::Factor() const { return std::ldexp(1, sparse + means); }

Reduction ReductionFor(double factor) {
    const int powers = std::max(0, static_cast<int>(std::ceil(std::log2(factor))));
    return powers <= kMostMeans ? Reduction{0, powers} : Reduction{powers - kMeansOfSparse, kMeansOfSparse};
}

ImageRef Reduced(ImageRef input, const Reduction& reduction) {
    if (reduction.sparse > 0) {
        Affine map;
        map.a = map.d = std::ldexp(1, -reduction.sparse);
        input = MakeAffineImage(std::move(input), map, Light::kLinear);
    }
    return std::make_shared<MeansImage>(std::move(input), std::int64_t{1} << reduction.means);
}

ImageRef Enlarged(ImageRef reduced, const Reduction& reduction, const Extent& extent) {
    const double factor = reduction.Factor();
    const Extent& samples = reduced->GetExtent();
    const Extent all = {samples.left * factor, samples.bottom * factor, samples.right * factor, samples.top * factor};
    return std::make_shared<EnlargedImage>(std::move(reduced), static_cast<std::int64_t>(factor),
                                           extent.Intersection(all));
}

}  // namespace core_image
