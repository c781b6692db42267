// weighted_sums.cpp - compiled once per instruction set; the best one is chosen at the first call.

#include "sampling/weighted_sums.h"

#include <algorithm>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sampling/weighted_sums.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using PixelTag = hn::FixedTag<float, 4>;
using PixelsTag = hn::ScalableTag<float>;

// Sums consecutive vectors over every row, for kOuts results at once: each vector is loaded once for all of them.
template <std::size_t kOuts, std::size_t kVectors, class D>
HWY_INLINE void SumVectors(D d, const float* const* rows, const float* weights, std::size_t rowCount, std::size_t start,
                           float* const* outs) {
    hn::Vec<D> sums[kOuts][kVectors];
    for (auto& ofOne : sums) {
        for (auto& sum : ofOne) sum = hn::Zero(d);
    }
    for (std::size_t row = 0; row < rowCount + kOuts - 1; ++row) {
        const float* from = rows[row] + start;
        hn::Vec<D> loaded[kVectors];
        for (std::size_t i = 0; i < kVectors; ++i) loaded[i] = hn::LoadU(d, from + i * hn::MaxLanes(d));
        for (std::size_t out = 0; out < kOuts; ++out) {
            if (row - out >= rowCount) continue;  // also if the result begins at a later row
            const auto weight = hn::Set(d, weights[row - out]);
            for (std::size_t i = 0; i < kVectors; ++i) sums[out][i] = hn::MulAdd(weight, loaded[i], sums[out][i]);
        }
    }
    for (std::size_t out = 0; out < kOuts; ++out) {
        for (std::size_t i = 0; i < kVectors; ++i) {
            hn::StoreU(sums[out][i], d, outs[out] + start + i * hn::MaxLanes(d));
        }
    }
}

// Sums consecutive vectors for every result.
template <std::size_t kOuts, std::size_t kVectors, class D>
HWY_INLINE void SumVectorsOfAll(D d, const float* const* rows, const float* weights, std::size_t rowCount,
                                std::size_t start, float* const* outs, std::size_t outCount) {
    std::size_t out = 0;
    for (; out + kOuts <= outCount; out += kOuts) {
        SumVectors<kOuts, kVectors>(d, rows + out, weights, rowCount, start, outs + out);
    }
    for (; out < outCount; ++out) SumVectors<1, kVectors>(d, rows + out, weights, rowCount, start, outs + out);
}

// The columns come one after the other: what a few vectors of all rows have fits into the first cache.
template <std::size_t kOuts>
HWY_INLINE void SumColumns(const float* const* rows, const float* weights, std::size_t rowCount, float* const* outs,
                           std::size_t outCount, std::size_t floats) {
    const PixelsTag d;
    // With as many sums as this, and their products, no addition waits for the one before it.
    constexpr std::size_t kLanes = hn::MaxLanes(d), kSums = HWY_ARCH_X86_32 ? 4 : kLanes == 16 ? 16 : 8;
    constexpr std::size_t kMost = kSums / kOuts;
    std::size_t start = 0;
    for (; start + kMost * kLanes <= floats; start += kMost * kLanes) {
        SumVectorsOfAll<kOuts, kMost>(d, rows, weights, rowCount, start, outs, outCount);
    }
    for (; start + 2 * kLanes <= floats; start += 2 * kLanes) {
        SumVectorsOfAll<kOuts, 2>(d, rows, weights, rowCount, start, outs, outCount);
    }
    for (; start + kLanes <= floats; start += kLanes) {
        SumVectorsOfAll<kOuts, 1>(d, rows, weights, rowCount, start, outs, outCount);
    }
    if (start < floats && floats >= kLanes) {
        // Some of them once more, which is faster than one after the other.
        SumVectorsOfAll<kOuts, 1>(d, rows, weights, rowCount, floats - kLanes, outs, outCount);
        return;
    }
    for (; start < floats; start += 4) {
        SumVectorsOfAll<kOuts, 1>(PixelTag(), rows, weights, rowCount, start, outs, outCount);
    }
}

HWY_ATTR void SumRowsTogether(const float* const* rows, const float* weights, std::size_t rowCount, float* const* outs,
                              std::size_t outCount, std::size_t floats) {
    constexpr std::size_t kTogether = HWY_ARCH_X86_32 ? 2 : 4;
    if (outCount < kTogether) {
        for (std::size_t out = 0; out < outCount; ++out) {
            SumColumns<1>(rows + out, weights, rowCount, outs + out, 1, floats);
        }
    } else {
        SumColumns<kTogether>(rows, weights, rowCount, outs, outCount, floats);
    }
}

// Adds neighbors to consecutive vectors of sums. They are a vector apart, so that what is loaded once serves several of
// them and several sums: kTogether, or fewer at the end.
template <std::size_t kTogether, std::size_t kVectors, class D>
HWY_INLINE void AddNeighbors(D d, const float* in, std::size_t vector, const float* weights, std::size_t apart,
                             std::size_t count, hn::Vec<D>* sums) {
    for (; count >= kTogether; count -= kTogether, in += kTogether * vector, weights += kTogether * apart) {
        hn::Vec<D> weight[kTogether];
        for (std::size_t k = 0; k < kTogether; ++k) weight[k] = hn::Set(d, weights[k * apart]);
#pragma unroll
        for (std::size_t i = 0; i < kVectors + kTogether - 1; ++i) {
            const auto loaded = hn::LoadU(d, in + i * vector);
            for (std::size_t k = 0; k < kTogether; ++k) {
                if (i - k < kVectors) sums[i - k] = hn::MulAdd(weight[k], loaded, sums[i - k]);
            }
        }
    }
    if constexpr (kTogether > 1) AddNeighbors<kTogether - 1, kVectors>(d, in, vector, weights, apart, count, sums);
}

// Consecutive vectors of sums along a row. Whatever the vector, pixels of kFloats floats have the same order of their
// neighbors: first those that are whole vectors of kLanes from the first one.
template <std::size_t kFloats, std::size_t kLanes, std::size_t kVectors, class D>
HWY_INLINE void SumVectorsAlong(D d, const float* in, const float* weights, std::size_t count, float* out) {
    constexpr std::size_t kApart = kLanes / kFloats;
    constexpr std::size_t kTogether = kVectors == 1 ? 1 : HWY_ARCH_X86_32 || kFloats == 1 ? 2 : 4;
    hn::Vec<D> sums[kVectors];
    for (auto& sum : sums) sum = hn::Zero(d);
    for (std::size_t first = 0; first < std::min(kApart, count); ++first) {
        AddNeighbors<kTogether, kVectors>(d, in + first * kFloats, kLanes, weights + first, kApart,
                                          (count - first + kApart - 1) / kApart, sums);
    }
    for (std::size_t i = 0; i < kVectors; ++i) hn::StoreU(sums[i], d, out + i * hn::MaxLanes(d));
}

template <std::size_t kFloats>
HWY_INLINE void SumRowAlong(const float* in, const float* weights, std::size_t count, float* out, std::size_t floats,
                            RowsAhead* ahead) {
    const PixelsTag d;
    constexpr std::size_t kLanes = hn::MaxLanes(d), kVectors = HWY_ARCH_X86_32 ? 4 : 8;
    std::size_t start = 0;
    for (; start + kVectors * kLanes <= floats; start += kVectors * kLanes) {
        if (ahead != nullptr) ahead->Prefetch(kVectors * kLanes / kFloatsPerLine);
        SumVectorsAlong<kFloats, kLanes, kVectors>(d, in + start, weights, count, out + start);
    }
    for (; start + kLanes <= floats; start += kLanes) {
        SumVectorsAlong<kFloats, kLanes, 1>(d, in + start, weights, count, out + start);
    }
    for (; start < floats; start += 4) {
        SumVectorsAlong<kFloats, kLanes, 1>(PixelTag(), in + start, weights, count, out + start);
    }
}

HWY_ATTR void SumAlong(const float* in, std::size_t apart, const float* weights, std::size_t count, float* out,
                       std::size_t floats, RowsAhead* ahead) {
    if (apart == 1) {
        SumRowAlong<1>(in, weights, count, out, floats, ahead);
    } else {
        SumRowAlong<kFloatsPerPixel>(in, weights, count, out, floats, ahead);
    }
}

// The sum of the pixels in a vector.
template <class V>
HWY_INLINE hn::Vec<PixelTag> SumOfPixels(V pixels) {
    const hn::DFromV<V> d;
    if constexpr (hn::MaxLanes(d) == 4) {
        return pixels;
    } else {
        const hn::Half<decltype(d)> half;
        return SumOfPixels(hn::Add(hn::LowerHalf(half, pixels), hn::UpperHalf(half, pixels)));
    }
}

// The weights of as many pixels as a vector has, each four times.
template <class D>
HWY_INLINE hn::Vec<D> WeightsOfPixels(D d, const float* weights) {
    static_assert(hn::MaxLanes(d) <= kMostLanes && hn::MaxLanes(d) <= 4 * kNeighborStep);
    if constexpr (hn::MaxLanes(d) == 4) {
        return hn::Set(d, *weights);
    } else {
        HWY_ALIGN static constexpr std::int32_t kFourTimes[] = {0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3};
        return hn::TableLookupLanes(hn::LoadU(d, weights), hn::SetTableIndices(d, kFourTimes));
    }
}

// Sums the neighbors of each pixel in one or four rows. Four share the weights, and wait less for one another's sums.
template <std::size_t kRows>
HWY_INLINE void SumNeighborsIn(const float* in, std::ptrdiff_t inStride, const Neighbors& neighbors, float* out,
                               std::ptrdiff_t outStride, std::size_t pixels) {
    static_assert(kRows == 1 || kRows == 4);
    const PixelsTag d;
    constexpr std::size_t kPixels = hn::MaxLanes(d) / 4;
    const float* weights = neighbors.weights;
    for (std::size_t pixel = 0; pixel < pixels; ++pixel, weights += neighbors.stride) {
        const float* const from = in + static_cast<std::ptrdiff_t>(neighbors.first[pixel]) * 4;
        auto sum0 = hn::Zero(d), sum1 = hn::Zero(d), sum2 = hn::Zero(d), sum3 = hn::Zero(d);
        const auto count = static_cast<std::size_t>(neighbors.count[pixel]);
        const auto add = [&](std::size_t k, const auto& load) HWY_ATTR {
            const auto weight = WeightsOfPixels(d, weights + k);
            sum0 = hn::MulAdd(weight, load(from + 4 * k), sum0);
            if constexpr (kRows == 4) {
                sum1 = hn::MulAdd(weight, load(from + 4 * k + inStride), sum1);
                sum2 = hn::MulAdd(weight, load(from + 4 * k + 2 * inStride), sum2);
                sum3 = hn::MulAdd(weight, load(from + 4 * k + 3 * inStride), sum3);
            }
        };
        std::size_t k = 0;
        for (; k + kPixels <= count; k += kPixels) {
            add(k, [&](const float* at) HWY_ATTR { return hn::LoadU(d, at); });
        }
        if (k < count) {
            // What lies behind the last one may be infinite, and a weight of 0 would make NaN of it.
            const auto isNeighbor = hn::FirstN(d, 4 * (count - k));
            add(k, [&](const float* at) HWY_ATTR { return hn::MaskedLoad(isNeighbor, d, at); });
        }
        const PixelTag one;
        float* to = out + pixel * 4;
        hn::StoreU(SumOfPixels(sum0), one, to);
        if constexpr (kRows == 4) {
            hn::StoreU(SumOfPixels(sum1), one, to + outStride);
            hn::StoreU(SumOfPixels(sum2), one, to + 2 * outStride);
            hn::StoreU(SumOfPixels(sum3), one, to + 3 * outStride);
        }
    }
}

HWY_ATTR void SumNeighborsOfRows(const float* in, std::ptrdiff_t inStride, std::size_t rows, const Neighbors& neighbors,
                                 float* out, std::ptrdiff_t outStride, std::size_t pixels) {
    for (; rows >= 4; rows -= 4, in += 4 * inStride, out += 4 * outStride) {
        SumNeighborsIn<4>(in, inStride, neighbors, out, outStride, pixels);
    }
    for (; rows > 0; --rows, in += inStride, out += outStride) {
        SumNeighborsIn<1>(in, inStride, neighbors, out, outStride, pixels);
    }
}

// Interpolates every `distance`-th vector of out. The pixels of a vector have the same samples; those of the next one
// begin a sample later.
template <std::size_t kTaps, class D>
HWY_INLINE void InterpolateVectors(D d, const float* in, const float* weights, std::size_t step, float* out,
                                   std::size_t distance, std::size_t count, std::ptrdiff_t outStride) {
    hn::Vec<D> loaded[kTaps];
    for (std::size_t k = 0; k < kTaps; ++k) loaded[k] = WeightsOfPixels(d, weights + k * step);
    for (; count > 0; --count, in += 4, out += distance * hn::MaxLanes(d)) {
        hwy::Prefetch(out + outStride);
        auto even = hn::Mul(loaded[0], hn::LoadDup128(d, in));
        auto odd = hn::Mul(loaded[1], hn::LoadDup128(d, in + 4));
        for (std::size_t k = 2; k < kTaps; k += 2) {
            even = hn::MulAdd(loaded[k], hn::LoadDup128(d, in + k * 4), even);
            odd = hn::MulAdd(loaded[k + 1], hn::LoadDup128(d, in + k * 4 + 4), odd);
        }
        hn::StoreU(hn::Add(even, odd), d, out);
    }
}

// A vector has no more pixels than the step.
template <std::size_t kTaps, class D>
HWY_INLINE void InterpolateRowIn(D d, const float* in, const float* weights, std::size_t step, std::size_t phase,
                                 float* out, std::size_t pixels, std::ptrdiff_t outStride) {
    constexpr std::size_t kPixels = hn::MaxLanes(d) / 4;
    const auto interpolateOne = [&](std::size_t i) HWY_ATTR {
        const std::size_t at = phase + i;
        InterpolateVectors<kTaps>(PixelTag(), in + at / step * 4, weights + at % step, step, out + i * 4, 1, 1,
                                  outStride);
    };
    std::size_t done = 0;
    for (; done < pixels && (phase + done) % kPixels != 0; ++done) interpolateOne(done);
    const std::size_t vectors = (pixels - done) / kPixels, perStep = step / kPixels;
    for (std::size_t vector = 0; vector < std::min(vectors, perStep); ++vector) {
        const std::size_t i = done + vector * kPixels, at = phase + i;
        InterpolateVectors<kTaps>(d, in + at / step * 4, weights + at % step, step, out + i * 4, perStep,
                                  (vectors - vector + perStep - 1) / perStep, outStride);
    }
    for (done += vectors * kPixels; done < pixels; ++done) interpolateOne(done);
}

template <std::size_t kTaps>
HWY_INLINE void InterpolateRowOf(const float* in, const float* weights, std::size_t step, std::size_t phase, float* out,
                                 std::size_t pixels, std::ptrdiff_t outStride) {
    if (step >= 4) {
        InterpolateRowIn<kTaps>(hn::CappedTag<float, 16>(), in, weights, step, phase, out, pixels, outStride);
    } else {
        InterpolateRowIn<kTaps>(hn::CappedTag<float, 8>(), in, weights, step, phase, out, pixels, outStride);
    }
}

HWY_ATTR void InterpolateRow(const float* in, const float* weights, std::size_t taps, std::size_t step,
                             std::size_t phase, float* out, std::size_t pixels, std::ptrdiff_t outStride) {
    if (taps == kLinearTaps) {
        InterpolateRowOf<kLinearTaps>(in, weights, step, phase, out, pixels, outStride);
    } else {
        InterpolateRowOf<kGaussianTaps>(in, weights, step, phase, out, pixels, outStride);
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(SumRowsTogether);
HWY_EXPORT(SumAlong);
HWY_EXPORT(SumNeighborsOfRows);
HWY_EXPORT(InterpolateRow);

void SumRows(const float* const* rows, const float* weights, std::size_t rowCount, float* out, std::size_t floats) {
    SumRowsTogether(rows, weights, rowCount, &out, 1, floats);
}

void SumRowsTogether(const float* const* rows, const float* weights, std::size_t rowCount, float* const* outs,
                     std::size_t outCount, std::size_t floats) {
    HWY_DYNAMIC_DISPATCH(SumRowsTogether)(rows, weights, rowCount, outs, outCount, floats);
}

void SumAlong(const float* in, std::size_t apart, const float* weights, std::size_t count, float* out,
              std::size_t floats, RowsAhead* ahead) {
    HWY_DYNAMIC_DISPATCH(SumAlong)(in, apart, weights, count, out, floats, ahead);
}

void SumNeighborsOfRows(const float* in, std::ptrdiff_t inStride, std::size_t rows, const Neighbors& neighbors,
                        float* out, std::ptrdiff_t outStride, std::size_t pixels) {
    HWY_DYNAMIC_DISPATCH(SumNeighborsOfRows)(in, inStride, rows, neighbors, out, outStride, pixels);
}

void InterpolateRow(const float* in, const float* weights, std::size_t taps, std::size_t step, std::size_t phase,
                    float* out, std::size_t pixels, std::ptrdiff_t outStride) {
    HWY_DYNAMIC_DISPATCH(InterpolateRow)(in, weights, taps, step, phase, out, pixels, outStride);
}

}  // namespace core_image
#endif
