// kernels.cpp - compiled once per instruction set; the best one is chosen at the first call.

#include "blur/kernels.h"

#include <vector>

#include "sampling/weighted_sums.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "blur/kernels.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using OnePixel = hn::FixedTag<float, 4>;

// Why four sums: each product then waits only for the one four steps before it. The four are always the same, so the
// result is too.
HWY_ATTR void ReduceRow(const float* in, const float* weights, std::size_t weightCount, std::size_t step, float* out,
                        std::size_t pixels) {
    const OnePixel d;
    for (std::size_t i = 0; i < pixels; ++i) {
        const float* from = in + i * step * 4;
        auto sum0 = hn::Zero(d), sum1 = hn::Zero(d), sum2 = hn::Zero(d), sum3 = hn::Zero(d);
        std::size_t k = 0;
        for (; k + 4 <= weightCount; k += 4) {
            sum0 = hn::MulAdd(hn::Set(d, weights[k]), hn::LoadU(d, from + k * 4), sum0);
            sum1 = hn::MulAdd(hn::Set(d, weights[k + 1]), hn::LoadU(d, from + k * 4 + 4), sum1);
            sum2 = hn::MulAdd(hn::Set(d, weights[k + 2]), hn::LoadU(d, from + k * 4 + 8), sum2);
            sum3 = hn::MulAdd(hn::Set(d, weights[k + 3]), hn::LoadU(d, from + k * 4 + 12), sum3);
        }
        for (; k < weightCount; ++k) sum0 = hn::MulAdd(hn::Set(d, weights[k]), hn::LoadU(d, from + k * 4), sum0);
        hn::StoreU(hn::Add(hn::Add(sum0, sum1), hn::Add(sum2, sum3)), d, out + i * 4);
    }
}

HWY_ATTR void InterpolateRow(const float* in, const float* weights, std::size_t step, std::size_t phase, float* out,
                             std::size_t pixels) {
    const OnePixel d;
    in += phase / step * 4;
    phase %= step;
    for (std::size_t i = 0; i < pixels; ++i) {
        const float* weight = weights + phase * kInterpolationTaps;
        auto even = hn::Mul(hn::Set(d, weight[0]), hn::LoadU(d, in));
        auto odd = hn::Mul(hn::Set(d, weight[1]), hn::LoadU(d, in + 4));
        for (std::size_t k = 2; k < kInterpolationTaps; k += 2) {
            even = hn::MulAdd(hn::Set(d, weight[k]), hn::LoadU(d, in + k * 4), even);
            odd = hn::MulAdd(hn::Set(d, weight[k + 1]), hn::LoadU(d, in + k * 4 + 4), odd);
        }
        hn::StoreU(hn::Add(even, odd), d, out + i * 4);
        if (++phase == step) {
            phase = 0;
            in += 4;
        }
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(ReduceRow);
HWY_EXPORT(InterpolateRow);

// The rows are neighbors: each begins one pixel after the previous one.
void SumNeighbors(const float* in, const float* weights, std::size_t weightCount, float* out, std::size_t pixels) {
    std::vector<const float*> rows(weightCount);
    for (std::size_t k = 0; k < weightCount; ++k) rows[k] = in + k * 4;
    SumRows(rows.data(), weights, weightCount, out, pixels * 4);
}

void ReduceRow(const float* in, const float* weights, std::size_t weightCount, std::size_t step, float* out,
               std::size_t pixels) {
    HWY_DYNAMIC_DISPATCH(ReduceRow)(in, weights, weightCount, step, out, pixels);
}

void InterpolateRow(const float* in, const float* weights, std::size_t step, std::size_t phase, float* out,
                    std::size_t pixels) {
    HWY_DYNAMIC_DISPATCH(InterpolateRow)(in, weights, step, phase, out, pixels);
}

}  // namespace core_image
#endif
