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

// Sums one or more vectors over every row.
template <class D, std::size_t kVectors>
HWY_INLINE void SumColumns(D d, const float* const* rows, const float* weights, std::size_t rowCount, std::size_t start,
                           float* out) {
    static_assert(kVectors == 1 || kVectors == 4);
    const std::size_t lanes = hn::Lanes(d);
    auto sum0 = hn::Zero(d), sum1 = hn::Zero(d), sum2 = hn::Zero(d), sum3 = hn::Zero(d);
    for (std::size_t k = 0; k < rowCount; ++k) {
        const auto weight = hn::Set(d, weights[k]);
        const float* from = rows[k] + start;
        sum0 = hn::MulAdd(weight, hn::LoadU(d, from), sum0);
        if constexpr (kVectors == 4) {
            sum1 = hn::MulAdd(weight, hn::LoadU(d, from + lanes), sum1);
            sum2 = hn::MulAdd(weight, hn::LoadU(d, from + 2 * lanes), sum2);
            sum3 = hn::MulAdd(weight, hn::LoadU(d, from + 3 * lanes), sum3);
        }
    }
    hn::StoreU(sum0, d, out + start);
    if constexpr (kVectors == 4) {
        hn::StoreU(sum1, d, out + start + lanes);
        hn::StoreU(sum2, d, out + start + 2 * lanes);
        hn::StoreU(sum3, d, out + start + 3 * lanes);
    }
}

HWY_ATTR void SumRows(const float* const* rows, const float* weights, std::size_t rowCount, float* out,
                      std::size_t floats) {
    const PixelsTag wide;
    const PixelTag pixel;
    const std::size_t stride = 4 * hn::Lanes(wide);
    std::size_t start = 0;
    for (; start + stride <= floats; start += stride)
        SumColumns<PixelsTag, 4>(wide, rows, weights, rowCount, start, out);
    for (; start < floats; start += 4) SumColumns<PixelTag, 1>(pixel, rows, weights, rowCount, start, out);
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
