// weighted_sums.cpp - compiled once per instruction set; the best one is chosen at the first call.

#include "sampling/weighted_sums.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "sampling/weighted_sums.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using PixelTag = hn::FixedTag<float, 4>;
using PixelsTag = hn::ScalableTag<float>;

// Sums consecutive vectors over every row.
template <std::size_t kVectors, class D>
HWY_INLINE void SumVectors(D d, const float* const* rows, const float* weights, std::size_t rowCount, std::size_t start,
                           float* out) {
    hn::Vec<D> sums[kVectors];
    for (auto& sum : sums) sum = hn::Zero(d);
    for (std::size_t k = 0; k < rowCount; ++k) {
        const auto weight = hn::Set(d, weights[k]);
        const float* from = rows[k] + start;
        for (auto& sum : sums) {
            sum = hn::MulAdd(weight, hn::LoadU(d, from), sum);
            from += hn::MaxLanes(d);
        }
    }
    float* to = out + start;
    for (const auto& sum : sums) {
        hn::StoreU(sum, d, to);
        to += hn::MaxLanes(d);
    }
}

HWY_ATTR void SumRows(const float* const* rows, const float* weights, std::size_t rowCount, float* out,
                      std::size_t floats) {
    const PixelsTag wide;
    // With as many sums as this, and their products, no addition waits for the one before it.
    constexpr std::size_t kMost = HWY_ARCH_X86_32 ? 4 : 8;
    constexpr std::size_t kStride = kMost * hn::MaxLanes(wide);
    std::size_t start = 0;
    for (; start + kStride <= floats; start += kStride) {
        SumVectors<kMost>(wide, rows, weights, rowCount, start, out);
    }
    for (; start + 2 * hn::MaxLanes(wide) <= floats; start += 2 * hn::MaxLanes(wide)) {
        SumVectors<2>(wide, rows, weights, rowCount, start, out);
    }
    for (; start + hn::MaxLanes(wide) <= floats; start += hn::MaxLanes(wide)) {
        SumVectors<1>(wide, rows, weights, rowCount, start, out);
    }
    for (; start < floats; start += 4) SumVectors<1>(PixelTag(), rows, weights, rowCount, start, out);
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
HWY_INLINE hn::Vec<PixelsTag> WeightsOfPixels(const float* weights) {
    const PixelsTag d;
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
        const float* from = in + static_cast<std::ptrdiff_t>(neighbors.first[pixel]) * 4;
        auto sum0 = hn::Zero(d), sum1 = hn::Zero(d), sum2 = hn::Zero(d), sum3 = hn::Zero(d);
        const auto count = static_cast<std::size_t>(neighbors.count[pixel]);
        for (std::size_t k = 0; k < count; k += kPixels, from += 4 * kPixels) {
            const auto weight = WeightsOfPixels(weights + k);
            sum0 = hn::MulAdd(weight, hn::LoadU(d, from), sum0);
            if constexpr (kRows == 4) {
                sum1 = hn::MulAdd(weight, hn::LoadU(d, from + inStride), sum1);
                sum2 = hn::MulAdd(weight, hn::LoadU(d, from + 2 * inStride), sum2);
                sum3 = hn::MulAdd(weight, hn::LoadU(d, from + 3 * inStride), sum3);
            }
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

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(SumRows);
HWY_EXPORT(SumNeighborsOfRows);

void SumRows(const float* const* rows, const float* weights, std::size_t rowCount, float* out, std::size_t floats) {
    HWY_DYNAMIC_DISPATCH(SumRows)(rows, weights, rowCount, out, floats);
}

void SumNeighborsOfRows(const float* in, std::ptrdiff_t inStride, std::size_t rows, const Neighbors& neighbors,
                        float* out, std::ptrdiff_t outStride, std::size_t pixels) {
    HWY_DYNAMIC_DISPATCH(SumNeighborsOfRows)(in, inStride, rows, neighbors, out, outStride, pixels);
}

}  // namespace core_image
#endif
