// disc.cpp - the mean over a disc whose rim is one pixel soft.
//
// A pixel at distance d has weight clamp(radius + 0.5 - d); all weights are divided by their sum. The disc consists
// of columns: a run of ones in the middle and a few softer pixels at both ends. Going outward row by row, the sums
// of all runs of one length are those of the runs one row shorter at each end plus two rows, for all columns at
// once. Mirrored pixels have the same weight.
// A large disc is computed by Fourier transforms, a very large one on a reduced image. Most pictures are opaque: then
// alpha is not summed.

#include "blur/disc.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

#include "blur/blur.h"
#include "blur/filters.h"
#include "blur/fourier.h"
#include "blur/grid.h"
#include "blur/reduced.h"
#include "core/buffered.h"
#include "core/window.h"

namespace core_image {
namespace {

// From this radius on, transforms take less time than sums.
constexpr double kLeastWide = 32;

// An image that was reduced more than this is small, and so are the parts of it that are asked for: sums make only
// these, transforms whole squares.
constexpr double kMostReducedOfWide = 4;

class DiscStage : public Stage {
  public:
    DiscStage(Prepared input, const Disc& disc) : input_(std::move(input)), disc_(disc) {}

    void Render(const Tile& tile) const override {
        const Window window(input_, tile.region.GrownBy(disc_.Reach()));
        RisingPlanes source(window.GetView());
        ForEachBand(tile.region, [&](const Region& band) {
            source.MakeUpTo(band.Top() + disc_.Reach(), [](const PlaneRows&) {});
            std::array<RowsAhead, kRowsOfBand> ahead = source.Ahead(band, tile);
            Planes blurred = MakePlanes(band);
            disc_.Blur(source.Get(), source.AreOpaqueFrom(band.y - disc_.Reach()), blurred, ahead.data());
            for (std::int64_t y = band.y; y < band.Top(); ++y) {
                RowFromPlanes(RowsOf(blurred, y), tile.Width(), tile.Row(y));
            }
        });
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
        needs.AddByTiles(input_, region.GrownBy(disc_.Reach()));
    }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        return std::make_unique<DiscStage>(Prepare(input_, region.GrownBy(disc_.Reach())), disc_);
    }

  private:
    ImageRef input_;
    Disc disc_;
};

class WideDiscImage : public Image {
  public:
    WideDiscImage(ImageRef input, const Extent& extent, double radius)
        : Image(extent, input->GetDepth()),
          input_(std::move(input)),
          radius_(radius),
          disc_(radius),
          width_(SizeFor(extent.right - extent.left, 1024)),
          height_(SizeFor(extent.top - extent.bottom, disc_.Reach() <= 48 ? 256 : 512)),
          grid_{Clip(kCountable, extent), width_ - 2 * disc_.Reach(), height_ - 2 * disc_.Reach()} {}

    bool PrefersLowBlocks() const override { return true; }

    void AddNeeds(const Region& region, Needs& needs) const override { needs.AddAtOnce(input_, SeenFrom(region)); }

    std::unique_ptr<const Stage> MakeStage(const Region& region) const override {
        const Prepared input = Prepare(input_, SeenFrom(region));
        return MakeGridStage(this, grid_, region, [this, input](const Region& cell, const Tile& part) {
            if (Mean().Blur(input, cell.x, cell.y, part)) return;
            const DiscStage stage(input, disc_);
            RenderByTiles(part, [&](const Tile& tile) { stage.Render(tile); });
        });
    }

  private:
    // The width or height of the blocks that are transformed: as small as the image allows. Higher blocks would save
    // time, but a file is written a few rows at a time, and needs the cells around them in memory.
    std::int64_t SizeFor(double whole, std::int64_t largest) const {
        std::int64_t size = 128;
        while (size < largest && static_cast<double>(size - 2 * disc_.Reach()) < whole) size *= 2;
        return size;
    }

    Region SeenFrom(const Region& region) const { return grid_.Around(region).GrownBy(disc_.Reach()); }

    const FourierMean& Mean() const {
        std::call_once(once_, [this] {
            mean_ = std::make_unique<const FourierMean>(
                width_, height_, disc_.Reach(),
                [this](std::int64_t x, std::int64_t y) { return DiscWeight(radius_, x, y); });
        });
        return *mean_;
    }

    ImageRef input_;
    double radius_;
    Disc disc_;
    std::int64_t width_, height_;
    Grid grid_;
    mutable std::once_flag once_;
    mutable std::unique_ptr<const FourierMean> mean_;  // made when it is needed first
};

ImageRef MakeExactDisc(ImageRef input, double radius, bool isWide) {
    const Extent extent = input->GetExtent().GrownBy(std::ceil(radius) + 2);
    if (isWide) return std::make_shared<WideDiscImage>(std::move(input), extent, radius);
    return std::make_shared<DiscImage>(std::move(input), extent, radius);
}

}  // namespace

double DiscWeight(double radius, std::int64_t x, std::int64_t y) {
    return std::clamp(radius + 0.5 - std::hypot(static_cast<double>(x), static_cast<double>(y)), 0.0, 1.0);
}

Disc::Disc(double radius) {
    const auto reach = static_cast<std::int64_t>(std::ceil(radius));
    const auto weight = [&](std::int64_t x, std::int64_t y) { return DiscWeight(radius, x, y); };
    double sum = 0;
    for (std::int64_t y = -reach; y <= reach; ++y) {
        for (std::int64_t x = -reach; x <= reach; ++x) sum += weight(x, y);
    }
    for (std::int64_t y = 0; y <= reach; ++y) {
        DiscRows each;
        for (std::int64_t x = 0; x <= reach; ++x) {
            // The middle column is its own mirror image.
            const double share = (x == 0 ? 0.5 : 1) / sum;
            const auto distance = static_cast<std::ptrdiff_t>(x);
            if (weight(x, y) == 1 && weight(x, y + 1) < 1) each.runs.push_back({distance, static_cast<float>(share)});
            if (weight(x, y) > 0 && weight(x, y) < 1) {
                each.rim.push_back({distance, static_cast<float>(weight(x, y) * share)});
            }
        }
        rows_.push_back(std::move(each));
    }
    const std::int64_t width = 2 * Reach() + 1;
    Plane ones({0, 0, width, 1}), scratch({0, 0, width, 2}), mean({0, 0, 1, 1});
    std::fill_n(ones.Row(0), ones.Width(), 1.0f);
    RowsAhead none;
    SumDisc(rows_, ones.Row(0), /*stride=*/0, scratch.Row(0), scratch.Row(1), mean.Row(0), 1, none);
    meanOfOnes_ = mean.Row(0)[0];
}

void Disc::Blur(const Planes& source, bool isOpaque, Planes& out, RowsAhead* ahead) const {
    const Region& region = out[0].GetRegion();
    const std::int64_t firstColumn = region.x - Reach() - source[0].GetRegion().x;
    const std::size_t summed = isOpaque ? kAlpha : kFloatsPerPixel;
    Plane scratch({0, 0, region.width + 2 * Reach(), 2});
    RowsAhead none;
    for (std::size_t channel = 0; channel < summed; ++channel) {
        const Plane& plane = source[channel];
        for (std::int64_t y = region.y; y < region.Top(); ++y) {
            RowsAhead& rows = ahead != nullptr ? ahead[y - region.y] : none;
            rows.passes = summed;
            SumDisc(rows_, plane.Row(y) + firstColumn, plane.Stride(), scratch.Row(0), scratch.Row(1),
                    out[channel].Row(y), out[channel].Width(), rows);
        }
    }
    for (std::int64_t y = region.y; y < region.Top() && isOpaque; ++y) {
        std::fill_n(out[kAlpha].Row(y), region.width, meanOfOnes_);
    }
}

ImageRef MakeDiscBlurImage(ImageRef input, double radius, double largestExact) {
    if (!(radius > 0) || input->GetExtent().IsEmpty()) return input;
    radius = std::min(radius, kWidestBlur / 2);
    if (radius <= largestExact) return MakeExactDisc(std::move(input), radius, /*isWide=*/radius >= kLeastWide);
    const Extent extent = input->GetExtent().GrownBy(std::ceil(radius) + 2);
    const Reduction reduction = ReductionFor(radius / largestExact);
    radius /= reduction.Factor();
    const bool isWide = radius >= kLeastWide && reduction.Factor() <= kMostReducedOfWide;
    return Enlarged(MakeExactDisc(Reduced(std::move(input), reduction), radius, isWide), reduction, extent);
}

ImageRef DiscBlur(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    return input == nullptr ? nullptr : MakeDiscBlurImage(std::move(input), inputs.GetNumber("inputRadius"));
}

}  // namespace core_image
