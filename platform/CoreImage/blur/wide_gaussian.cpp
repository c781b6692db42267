// wide_gaussian.cpp - reduce, blur, interpolate.
//
// Coarse sample X lies at X * step + step / 2 in the plane, between two pixels.

#include "blur/wide_gaussian.h"

#include <tbb/parallel_for.h>

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "blur/gaussian_weights.h"
#include "blur/kernels.h"
#include "core/sampled_input.h"
#include "core/window.h"
#include "sampling/weighted_sums.h"

namespace core_image {
namespace {

constexpr double kWidestSigma = 100000;
constexpr std::int64_t kLargestStep = 4096;

// Above this many pixels only every n-th is read in each direction, with n large enough to stay below. No bitmap is
// that large; but a very wide blur of an infinite pattern could otherwise take forever.
constexpr double kMostPixels = 1 << 28;
constexpr double kMostSamples = 1 << 20;

// The number of pixels rendered at a time on the way to the coarse image.
constexpr std::int64_t kPixelsPerStrip = 32768;

std::int64_t FloorDivide(std::int64_t number, std::int64_t divisor) {
    return number >= 0 ? number / divisor : -((-number + divisor - 1) / divisor);
}

// The coarsest grid for a sigma.
std::int64_t StepFor(double sigma) {
    std::int64_t step = 2;
    while (step < kLargestStep && 4 * static_cast<double>(step) <= sigma) step *= 2;
    return step;
}

// The first of the coarse samples from which a pixel is interpolated.
std::int64_t FirstSample(std::int64_t pixel, std::int64_t step) {
    return FloorDivide(pixel - step / 2, step) - (static_cast<std::int64_t>(kInterpolationTaps) / 2 - 1);
}

// The coarse samples from which a region is interpolated.
Region CoarseRegion(const Region& region, std::int64_t step) {
    const std::int64_t x = FirstSample(region.x, step);
    const std::int64_t y = FirstSample(region.y, step);
    constexpr auto kTaps = static_cast<std::int64_t>(kInterpolationTaps);
    return {x, y, FirstSample(region.Right() - 1, step) + kTaps - x, FirstSample(region.Top() - 1, step) + kTaps - y};
}

// The extent in units of n pixels, rounded outward.
Extent Divided(const Extent& extent, double n) {
    return {std::floor(extent.left / n), std::floor(extent.bottom / n), std::ceil(extent.right / n),
            std::ceil(extent.top / n)};
}

// Runs a function for each row of a region, on all cores.
template <typename Function>
void ForEachRow(const Region& region, const Function& function) {
    tbb::parallel_for(region.y, region.Top(), function);
}

// Sums the existing rows around a place: weights[k] belongs to row first + k.
void SumRowsAround(const PixelBlock& source, const std::vector<float>& weights, std::int64_t first, float* out) {
    const Region& region = source.GetRegion();
    const std::int64_t from = std::max(first, region.y);
    const std::int64_t to = std::min(first + static_cast<std::int64_t>(weights.size()), region.Top());
    std::vector<const float*> rows;
    for (std::int64_t y = from; y < to; ++y) rows.push_back(source.Row(y));
    // The existing rows match a contiguous range of the weights; without rows the sum is zero.
    const std::int64_t skipped = rows.empty() ? 0 : from - first;
    SumRows(rows.data(), weights.data() + skipped, rows.size(), out, source.GetTile().Width() * kFloatsPerPixel);
}

// What the coarse image of an input is made of.
struct Reading {
    std::int64_t n;     // every n-th pixel is read in each direction; the rest is in units of n pixels
    std::int64_t step;  // between coarse samples
    std::vector<float> weights;
    Region source;  // empty where the input has nothing

    // The first pixel that a sample depends on.
    std::int64_t FirstTap(std::int64_t sample) const {
        return sample * step + step / 2 - static_cast<std::int64_t>(weights.size()) / 2;
    }
};

Reading ReadingFor(const Extent& extent, const Region& coarse, std::int64_t step) {
    std::int64_t n = 1;
    const Extent wanted = Extent{static_cast<double>(coarse.x - 5), static_cast<double>(coarse.y - 5),
                                 static_cast<double>(coarse.Right() + 5), static_cast<double>(coarse.Top() + 5)};
    const Extent seen = wanted.Intersection(Divided(extent, static_cast<double>(step)));
    const double pixels = (seen.right - seen.left) * (seen.top - seen.bottom) * static_cast<double>(step * step);
    if (pixels > kMostPixels) {
        while (pixels / static_cast<double>(n * n) > kMostSamples && n < step / 2) n *= 2;
    }
    step /= n;
    Reading reading = {n, step, GaussianWeightsBetween(static_cast<double>(step)), {}};
    const auto taps = static_cast<std::int64_t>(reading.weights.size());

    // To the left and right the reach of the weights is kept, transparent beyond the image; above and below it is
    // left out.
    const Region columns = {reading.FirstTap(coarse.x), reading.FirstTap(coarse.y), (coarse.width - 1) * step + taps,
                            (coarse.height - 1) * step + taps};
    Extent present = Divided(extent, static_cast<double>(n));
    present.left = static_cast<double>(columns.x);
    present.right = static_cast<double>(columns.Right());
    reading.source = Clip(columns, present);
    return reading;
}

// The coarse image of an input, blurred by one step: all samples of a region.
PixelBlock Reduce(const ImageRef& input, const Region& coarse, std::int64_t coarseStep) {
    const Reading reading = ReadingFor(input->GetExtent(), coarse, coarseStep);
    const auto& [n, step, weights, source] = reading;
    PixelBlock reduced(coarse);
    if (source.IsEmpty()) {
        Clear(reduced.GetTile());
        return reduced;
    }

    const SampledInput sampled(input, source, n, n);
    const PixelBlock narrow(Region{coarse.x, source.y, coarse.width, source.height});
    const std::int64_t stripHeight = std::clamp<std::int64_t>(kPixelsPerStrip / source.width, 4, 64);
    tbb::parallel_for<std::int64_t>(0, (source.height + stripHeight - 1) / stripHeight, [&](std::int64_t index) {
        const Region& all = reading.source;
        const Window strip(sampled, all.Intersection({all.x, all.y + index * stripHeight, all.width, stripHeight}));
        for (std::int64_t y = strip.GetView().region.y; y < strip.GetView().region.Top(); ++y) {
            ReduceRow(strip.GetView().Row(y), reading.weights.data(), reading.weights.size(),
                      static_cast<std::size_t>(reading.step), narrow.GetTile().Row(y),
                      static_cast<std::size_t>(coarse.width));
        }
    });

    ForEachRow(coarse, [&](std::int64_t y) {
        SumRowsAround(narrow, reading.weights, reading.FirstTap(y), reduced.GetTile().Row(y));
    });
    return reduced;
}

// A Gaussian over coarse samples. Samples outside the source are transparent.
PixelBlock Blur(const PixelBlock& source, double sigma, const Region& region) {
    const std::vector<float> weights = GaussianWeights(sigma);
    const auto reach = static_cast<std::int64_t>(weights.size() / 2);
    PixelBlock blurred(region);
    ForEachRow(region, [&](std::int64_t y) {
        const PixelBlock line(Region{region.x - reach, y, region.width + 2 * reach, 1});
        Clear(line.GetTile());
        SumRowsAround(source, weights, y - reach,
                      line.GetTile().Part({source.GetRegion().x, y, source.GetRegion().width, 1}).pixels);
        SumNeighbors(line.Row(y), weights.data(), weights.size(), blurred.GetTile().Row(y),
                     static_cast<std::size_t>(region.width));
    });
    return blurred;
}

class WideGaussianStage : public Stage {
  public:
    WideGaussianStage(PixelBlock coarse, std::int64_t step)
        : coarse_(std::move(coarse)), step_(step), weights_(GaussianInterpolationWeights(static_cast<int>(step))) {}

    void Render(const Tile& tile) const override {
        const Region used = CoarseRegion(tile.region, step_);
        const PixelBlock line(Region{used.x, 0, used.width, 1});
        const std::size_t columnPhase = Phase(tile.region.x);
        const float* rows[kInterpolationTaps];
        for (std::int64_t y = tile.region.y; y < tile.region.Top(); ++y) {
            const std::int64_t first = FirstSample(y, step_);
            for (std::size_t k = 0; k < kInterpolationTaps; ++k) {
                const auto row = first + static_cast<std::int64_t>(k);
                rows[k] = coarse_.Row(row) + static_cast<std::size_t>(used.x - coarse_.GetRegion().x) * kFloatsPerPixel;
            }
            SumRows(rows, weights_.data() + Phase(y) * kInterpolationTaps, kInterpolationTaps, line.GetTile().pixels,
                    line.GetTile().Width() * kFloatsPerPixel);
            InterpolateRow(line.Row(0), weights_.data(), static_cast<std::size_t>(step_), columnPhase, tile.Row(y),
                           tile.Width());
        }
    }

  private:
    // The position of a pixel between the two samples around it.
    std::size_t Phase(std::int64_t pixel) const {
        const std::int64_t place = pixel - step_ / 2;
        return static_cast<std::size_t>(place - FloorDivide(place, step_) * step_);
    }

    PixelBlock coarse_;
    std::int64_t step_;
    std::vector<float> weights_;
};

// The coarse image for a region of a blur.
struct Coarse {
    std::int64_t step;
    double sigma;   // in steps
    Region wanted;  // the samples from which the region is interpolated
    Region needed;  // the samples on which these depend
};

Coarse CoarseFor(const Extent& extent, double sigma, const Region& region) {
    sigma = std::min(sigma, kWidestSigma);
    const std::int64_t step = StepFor(sigma);
    const double coarseStep = static_cast<double>(step);
    // Reduction and interpolation blur by one step each; this is the remaining sigma, in steps.
    const double coarseSigma = std::sqrt(sigma * sigma / (coarseStep * coarseStep) - 2);
    const auto reach = static_cast<std::int64_t>(std::ceil(kGaussianReach * coarseSigma));
    const Region wanted = CoarseRegion(region, step);
    // Samples farther from the image than the reach of the reduction are transparent, so they are left out.
    const Extent present = Divided(extent, coarseStep).GrownBy(std::ceil(kGaussianReach) + 1);
    return {step, coarseSigma, wanted, Clip(wanted.GrownBy(reach), present)};
}

}  // namespace

Region WideGaussianSource(const Extent& extent, double sigma, const Region& region) {
    const Coarse coarse = CoarseFor(extent, sigma, region);
    if (coarse.needed.IsEmpty()) return {};
    const Reading reading = ReadingFor(extent, coarse.needed, coarse.step);
    const Region& source = reading.source;
    return {source.x * reading.n, source.y * reading.n, source.width * reading.n, source.height * reading.n};
}

std::unique_ptr<const Stage> PrepareWideGaussian(const ImageRef& input, double sigma, const Region& region) {
    const Coarse coarse = CoarseFor(input->GetExtent(), sigma, region);
    PixelBlock blurred(coarse.wanted);
    if (coarse.needed.IsEmpty()) {
        Clear(blurred.GetTile());
    } else {
        blurred = Blur(Reduce(input, coarse.needed, coarse.step), coarse.sigma, coarse.wanted);
    }
    return std::make_unique<WideGaussianStage>(std::move(blurred), coarse.step);
}

}  // namespace core_image
