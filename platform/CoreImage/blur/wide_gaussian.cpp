// wide_gaussian.cpp - reduce, blur, interpolate.
//
// Coarse sample X lies at X * step + step / 2 in the plane, between two pixels.

#include "blur/wide_gaussian.h"

#include <algorithm>
#include <cmath>
#include <utility>
#include <vector>

#include "blur/enlarged.h"
#include "blur/gaussian_weights.h"
#include "blur/separable.h"
#include "core/buffered.h"
#include "core/parallel.h"
#include "core/sampled_input.h"
#include "core/window.h"
#include "sampling/weighted_sums.h"

namespace core_image {
namespace {

constexpr double kWidestSigma = 100000;
constexpr std::int64_t kLargestStep = 4096;

// The number of pixels rendered at a time on the way to the coarse image, and of rows that are reduced before they are
// summed.
constexpr std::int64_t kPixelsPerStrip = 32768, kRowsPerBand = 256;

// The number of coarse rows blurred at a time.
constexpr std::int64_t kRowsOfBlur = 16;

// The coarsest grid for a sigma.
std::int64_t StepFor(double sigma) {
    std::int64_t step = 2;
    while (step < kLargestStep && 4 * static_cast<double>(step) <= sigma) step *= 2;
    return step;
}

// What the coarse image of an input is made of.
struct Reading {
    std::int64_t n;     // every n-th pixel is read in each direction; the rest is in units of n pixels
    std::int64_t step;  // between coarse samples
    std::vector<float> weights;
    Region source;  // empty where the input has nothing

    // The pixels that a sample depends on begin with this one.
    std::int64_t FirstTap(std::int64_t sample) const {
        return sample * step + step / 2 - static_cast<std::int64_t>(weights.size()) / 2;
    }
    std::int64_t EndOfTaps(std::int64_t sample) const {
        return FirstTap(sample) + static_cast<std::int64_t>(weights.size());
    }
};

Reading ReadingFor(const Extent& extent, const Region& coarse, std::int64_t step) {
    std::int64_t n = 1;
    const Extent wanted = Extent{static_cast<double>(coarse.x - 5), static_cast<double>(coarse.y - 5),
                                 static_cast<double>(coarse.Right() + 5), static_cast<double>(coarse.Top() + 5)};
    const Extent seen = wanted.Intersection(Divided(extent, static_cast<double>(step)));
    const double pixels = (seen.right - seen.left) * (seen.top - seen.bottom) * static_cast<double>(step * step);
    if (pixels > kMostPixelsRead) {
        while (pixels / static_cast<double>(n * n) > kMostSamplesRead && n < step / 2) n *= 2;
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

// Rows of an input, reduced to the width of the coarse image, from the uppermost down, as pictures are decoded. Only
// the latest are kept.
class ReducedRows {
  public:
    ReducedRows(const ImageRef& input, const Region& coarse, const Reading& reading, std::int64_t kept)
        : reading_(reading),
          weights_(reading.weights),
          input_(input, reading.source, reading.n, reading.n),
          rows_(Region{coarse.x, 0, coarse.width, std::min(kept, reading.source.height)}),
          made_(reading.source.Top()) {
        weights_.resize(weights_.size() + kMostLanes);  // sums read whole vectors of them
        const auto width = static_cast<std::size_t>(coarse.width);
        for (std::size_t x = 0; x < width; ++x) {
            first_.push_back(static_cast<std::int32_t>(x * static_cast<std::size_t>(reading.step)));
        }
        count_.assign(width, static_cast<std::int32_t>(reading.weights.size()));
        parts_ = PartsOf(coarse, Divided(input->GetExtent(), static_cast<double>(reading.n)));
    }

    // Makes the rows down to this one.
    void MakeDownTo(std::int64_t first) {
        const Region& source = reading_.source;
        const Neighbors neighbors = {first_.data(), count_.data(), weights_.data(), /*stride=*/0};
        const std::int64_t stripHeight = std::clamp<std::int64_t>(kPixelsPerStrip / source.width, 4, 64);
        const std::int64_t end = made_;
        made_ = std::min(made_, std::max(first, source.y));
        const std::int64_t strips = (end - made_ + stripHeight - 1) / stripHeight;
        ForEachIndex(0, strips, (end - made_) * source.width, [&](std::int64_t index) {
            const std::int64_t top = end - index * stripHeight, bottom = std::max(top - stripHeight, made_);
            for (const Part& part : parts_) {
                const Window strip(input_, Region{part.taps.x, bottom, part.taps.width, top - bottom});
                const View& read = strip.GetView();
                for (std::int64_t y = bottom, count = 0; y < top; y += count) {
                    // They lie together up to where the kept rows begin again.
                    const std::int64_t place = PlaceOf(y);
                    count = std::min(top - y, rows_.GetRegion().height - place);
                    SumNeighborsOfRows(read.Row(y), read.floatsPerRow, static_cast<std::size_t>(count), neighbors,
                                       rows_.GetTile().Row(place) + part.first * kFloatsPerPixel,
                                       rows_.GetTile().floatsPerRow, part.count);
                }
            }
        });
    }

    const float* Row(std::int64_t y) const { return rows_.Row(PlaceOf(y)); }

  private:
    // Consecutive samples of a row, and the columns of pixels that they depend on.
    struct Part {
        std::size_t first, count;
        Region taps;
    };

    // Samples that depend on pixels beyond the image's edges are made of a copy with transparent pixels there. All
    // others are parts of their own if the image is in memory: nothing of it has to be copied.
    std::vector<Part> PartsOf(const Region& coarse, const Extent& extent) const {
        const auto part = [&](std::int64_t begin, std::int64_t end) {
            const std::int64_t left = reading_.FirstTap(begin);
            return Part{static_cast<std::size_t>(begin - coarse.x), static_cast<std::size_t>(end - begin),
                        Region{left, reading_.source.y, reading_.EndOfTaps(end - 1) - left, reading_.source.height}};
        };
        std::int64_t begin = coarse.x, end = coarse.Right();
        while (begin < end && static_cast<double>(reading_.FirstTap(begin)) < extent.left) ++begin;
        while (end > begin && static_cast<double>(reading_.EndOfTaps(end - 1)) > extent.right) --end;
        if (begin == end || !input_.Held(part(begin, end).taps)) return {part(coarse.x, coarse.Right())};
        std::vector<Part> parts = {part(begin, end)};
        if (coarse.x < begin) parts.push_back(part(coarse.x, begin));
        if (end < coarse.Right()) parts.push_back(part(end, coarse.Right()));
        return parts;
    }

    std::int64_t PlaceOf(std::int64_t y) const { return (y - reading_.source.y) % rows_.GetRegion().height; }

    const Reading& reading_;
    std::vector<float> weights_;
    SampledInput input_;
    PixelBlock rows_;
    std::int64_t made_;  // the lowest row
    std::vector<std::int32_t> first_, count_;
    std::vector<Part> parts_;
};

// The coarse image of an input, blurred by one step, in a region that is transparent around what the samples cover.
PixelBlock Reduce(const ImageRef& input, const Region& samples, std::int64_t coarseStep, const Region& region) {
    PixelBlock reduced(region);
    Clear(reduced.GetTile());
    if (samples.IsEmpty()) return reduced;
    const Reading reading = ReadingFor(input->GetExtent(), samples, coarseStep);
    const Region& source = reading.source;
    if (source.IsEmpty()) return reduced;

    // In bands, so that the reduced rows stay in the cache.
    const std::int64_t band = std::max<std::int64_t>(1, kRowsPerBand / reading.step);
    ReducedRows rows(input, samples, reading, static_cast<std::int64_t>(reading.weights.size()) + band * reading.step);
    for (std::int64_t end = samples.Top(); end > samples.y; end -= band) {
        const std::int64_t begin = std::max(end - band, samples.y);
        rows.MakeDownTo(reading.FirstTap(begin));
        ForEachIndex(begin, end, (end - begin) * samples.width, [&](std::int64_t y) {
            const std::int64_t first = reading.FirstTap(y);
            const std::int64_t from = std::max(first, source.y), to = std::min(reading.EndOfTaps(y), source.Top());
            std::vector<const float*> summed;
            for (std::int64_t row = from; row < to; ++row) summed.push_back(rows.Row(row));
            if (summed.empty()) return;
            SumRows(summed.data(), reading.weights.data() + (from - first), summed.size(),
                    reduced.GetTile().Part(samples).Row(y), static_cast<std::size_t>(samples.width) * kFloatsPerPixel);
        });
    }
    return reduced;
}

// A Gaussian over coarse samples, which extend beyond the region by its reach.
PixelBlock Blur(const PixelBlock& source, const std::vector<float>& weights, const Region& region) {
    PixelBlock blurred(region);
    const std::int64_t strips = (region.height + kRowsOfBlur - 1) / kRowsOfBlur;
    ForEachIndex(0, strips, region.width * region.height, [&](std::int64_t index) {
        const Region rows = region.Intersection({region.x, region.y + index * kRowsOfBlur, region.width, kRowsOfBlur});
        SumAround(source.GetView(), weights, blurred.GetTile().Part(rows));
    });
    return blurred;
}

// Of each pixel between two samples, the weights of the samples around it.
std::vector<std::vector<float>> InterpolationWeights(std::int64_t step) {
    std::vector<std::vector<float>> weights;
    for (std::int64_t phase = 0; phase < step; ++phase) {
        weights.push_back(GaussianInterpolationWeights((static_cast<double>(phase) + 0.5) / static_cast<double>(step)));
    }
    return weights;
}

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
    const Region wanted = SamplesFor(region, step, kGaussianTaps);
    // Samples farther from the image than the reach of the reduction are transparent, so they are left out.
    const Extent present = Divided(extent, coarseStep).GrownBy(std::ceil(kGaussianReach) + 1);
    return {step, coarseSigma, wanted, Clip(wanted.GrownBy(GaussianReach(coarseSigma)), present)};
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
    const std::vector<float> weights = GaussianWeights(coarse.sigma);
    const Region padded = coarse.wanted.GrownBy(static_cast<std::int64_t>(weights.size() / 2));
    PixelBlock blurred = Blur(Reduce(input, coarse.needed, coarse.step, padded), weights, coarse.wanted);
    return MakeEnlargedStage({Extent::Of(coarse.wanted), MakeHeldStage(std::move(blurred)), /*levels=*/1}, coarse.step,
                             InterpolationWeights(coarse.step));
}

}  // namespace core_image
