// kernels.cpp - compiled once per instruction set; the best one is chosen at the first call.
//
// There is one function for each height, so that a column's sums stay in registers.

#include "convolution/kernels.h"

#include <array>

#include "core/tile.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convolution/kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// The number of vectors summed side by side: as many as the registers hold.
constexpr std::size_t kSideBySide = sizeof(void*) == 8 ? 2 : 1;

template <class D>
HWY_INLINE hn::Vec<D> Limited(D d, hn::Vec<D> sum, float bias) {
    const auto biased = hn::Add(sum, hn::Set(d, bias));
    // Written so that NaN becomes 0.
    const auto positive = hn::IfThenElseZero(hn::Gt(biased, hn::Zero(d)), biased);
    return hn::Min(positive, hn::Min(hn::Broadcast<3>(positive), hn::Set(d, 1.0f)));
}

// Sums some vectors of some rows, starting at an index.
template <class D, std::size_t kHeight, std::size_t kRows, std::size_t kVectors>
HWY_INLINE void ConvolveAt(D d, const KernelView& kernel, const float* const* in, float* const* out,
                           std::size_t start) {
    constexpr std::size_t kLanes = hn::MaxLanes(d);
    std::array<hn::Vec<D>, kRows * kVectors> sums;
    sums.fill(hn::Zero(d));
    const float* weights = kernel.weights;
    const std::size_t end = start + kernel.width * kFloatsPerPixel;
    for (std::size_t place = start; place < end; place += kFloatsPerPixel, weights += kHeight) {
#pragma unroll
        for (std::size_t line = 0; line < kRows + kHeight - 1; ++line) {
#pragma unroll
            for (std::size_t vector = 0; vector < kVectors; ++vector) {
                const auto pixels = hn::LoadU(d, in[line] + place + vector * kLanes);
#pragma unroll
                for (std::size_t row = 0; row < kRows; ++row) {
                    if (line < row || line - row >= kHeight) continue;
                    auto& sum = sums[row * kVectors + vector];
                    sum = hn::MulAdd(hn::Set(d, weights[line - row]), pixels, sum);
                }
            }
        }
    }
    for (std::size_t row = 0; row < kRows; ++row) {
        for (std::size_t vector = 0; vector < kVectors; ++vector) {
            hn::StoreU(Limited(d, sums[row * kVectors + vector], kernel.bias), d, out[row] + start + vector * kLanes);
        }
    }
}

template <std::size_t kHeight, std::size_t kRows>
HWY_INLINE void ConvolveRows(const KernelView& kernel, const float* const* in, float* const* out, std::size_t floats) {
    const hn::ScalableTag<float> wide;
    const hn::FixedTag<float, kFloatsPerPixel> pixel;
    const std::size_t stride = kSideBySide * hn::Lanes(wide);
    std::size_t start = 0;
    for (; start + stride <= floats; start += stride) {
        ConvolveAt<decltype(wide), kHeight, kRows, kSideBySide>(wide, kernel, in, out, start);
    }
    for (; start < floats; start += kFloatsPerPixel) {
        ConvolveAt<decltype(pixel), kHeight, kRows, 1>(pixel, kernel, in, out, start);
    }
}

template <std::size_t kHeight>
HWY_INLINE void ConvolveHeight(const KernelView& kernel, const float* const* in, float* const* out, std::size_t count,
                               std::size_t floats) {
    if (kernel.height != kHeight) {
        if constexpr (kHeight < kHighestKernel) ConvolveHeight<kHeight + 2>(kernel, in, out, count, floats);
    } else if (count == kMostConvolved) {
        ConvolveRows<kHeight, kMostConvolved>(kernel, in, out, floats);
    } else {
        ConvolveRows<kHeight, 1>(kernel, in, out, floats);
    }
}

HWY_ATTR void Convolve(const KernelView& kernel, const float* const* in, float* const* out, std::size_t count,
                       std::size_t pixels) {
    ConvolveHeight<1>(kernel, in, out, count, pixels * kFloatsPerPixel);
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(Convolve);

void Convolve(const KernelView& kernel, const float* const* in, float* const* out, std::size_t count,
              std::size_t pixels) {
    HWY_DYNAMIC_DISPATCH(Convolve)(kernel, in, out, count, pixels);
}

}  // namespace core_image
#endif
