// kernels.cpp - compiled once per instruction set; the best one is chosen at the first call.

#include "reduction/kernels.h"

#include <algorithm>
#include <array>

#include "core/tile.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "reduction/kernels.cpp"
#include <hwy/cache_control.h>
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using OnePixel = hn::FixedTag<float, kFloatsPerPixel>;

// The number of floats processed side by side, four pixels: as many as the widest vector holds.
constexpr std::size_t kStep = 16;

// Code that only reads is limited by memory: it prefetches one page ahead, because the hardware prefetcher stops at
// page ends.
constexpr std::size_t kPageOfFloats = 4096 / sizeof(float);
using Floats = hn::CappedTag<float, kStep>;
using Doubles = hn::CappedTag<double, kStep>;
using HalfFloats = hn::Rebind<float, Doubles>;

// Why four floats are added before the conversion to doubles: the loss is negligible, and doubles take twice the
// work.
HWY_ATTR void AddPixels(const float* pixels, std::size_t count, double* sums) {
    const Doubles d;
    const HalfFloats single;
    constexpr std::size_t kLanes = hn::MaxLanes(d), kVectors = kStep / kLanes;
    std::array<hn::Vec<Doubles>, kVectors> partial;
    partial.fill(hn::Zero(d));
    const std::size_t floats = count * kFloatsPerPixel;
    std::size_t start = 0;
    for (; start + 4 * kStep <= floats; start += 4 * kStep) {
        for (std::size_t line = 0; line < 4; ++line) hwy::Prefetch(pixels + start + kPageOfFloats + line * kStep);
        for (std::size_t k = 0; k < kVectors; ++k) {
            const float* from = pixels + start + k * kLanes;
            const auto two = hn::Add(hn::LoadU(single, from), hn::LoadU(single, from + kStep));
            const auto more = hn::Add(hn::LoadU(single, from + 2 * kStep), hn::LoadU(single, from + 3 * kStep));
            partial[k] = hn::Add(partial[k], hn::PromoteTo(d, hn::Add(two, more)));
        }
    }
    HWY_ALIGN double all[kStep];
    for (std::size_t k = 0; k < kVectors; ++k) hn::Store(partial[k], d, all + k * kLanes);
    for (; start < floats; ++start) all[start % kStep] += static_cast<double>(pixels[start]);
    for (std::size_t index = 0; index < kStep; ++index) sums[index % kFloatsPerPixel] += all[index];
}

HWY_ATTR void AddRow(const float* numbers, std::size_t count, double* sums) {
    const Doubles d;
    const HalfFloats single;
    std::size_t index = 0;
    for (; index + hn::Lanes(d) <= count; index += hn::Lanes(d)) {
        const auto number = hn::PromoteTo(d, hn::LoadU(single, numbers + index));
        hn::StoreU(hn::Add(hn::LoadU(d, sums + index), number), d, sums + index);
    }
    for (; index < count; ++index) sums[index] += static_cast<double>(numbers[index]);
}

// Replaces each of four numbers by a better one. isBetter(a, b) tells whether a is.
template <class IsBetter>
HWY_INLINE void BestOf(const float* pixels, std::size_t count, const IsBetter& isBetter, float* best) {
    const Floats d;
    const OnePixel one;
    constexpr std::size_t kLanes = hn::MaxLanes(d), kVectors = kStep / kLanes;
    const auto better = [&](auto a, auto b) HWY_ATTR { return hn::IfThenElse(isBetter(a, b), a, b); };
    std::array<hn::Vec<Floats>, kVectors> partial;
    partial.fill(hn::LoadDup128(d, best));
    const std::size_t floats = count * kFloatsPerPixel;
    std::size_t start = 0;
    for (; start + kStep <= floats; start += kStep) {
        for (std::size_t k = 0; k < kVectors; ++k) {
            partial[k] = better(hn::LoadU(d, pixels + start + k * kLanes), partial[k]);
        }
    }
    HWY_ALIGN float all[kStep];
    for (std::size_t k = 0; k < kVectors; ++k) hn::Store(partial[k], d, all + k * kLanes);
    auto last = hn::LoadU(one, all);
    for (std::size_t index = 4; index < kStep; index += 4) last = better(hn::LoadU(one, all + index), last);
    for (; start < floats; start += kFloatsPerPixel) last = better(hn::LoadU(one, pixels + start), last);
    hn::StoreU(last, one, best);
}

HWY_ATTR void LargestOf(const float* pixels, std::size_t count, float* largest) {
    BestOf(
        pixels, count, [](auto a, auto b) HWY_ATTR { return hn::Gt(a, b); }, largest);
}

HWY_ATTR void SmallestOf(const float* pixels, std::size_t count, float* smallest) {
    BestOf(
        pixels, count, [](auto a, auto b) HWY_ATTR { return hn::Lt(a, b); }, smallest);
}

template <class D>
HWY_INLINE void FindBinsOf(D d, const float* pixels, float bins, std::uint32_t* counters) {
    const hn::RebindToSigned<D> whole;
    const hn::RebindToUnsigned<D> natural;
    const auto scaled = hn::Mul(hn::LoadU(d, pixels), hn::Set(d, bins));
    // Written so that NaN becomes 0.
    const auto positive = hn::IfThenElseZero(hn::Gt(scaled, hn::Zero(d)), scaled);
    const auto bin = hn::ConvertTo(whole, hn::Min(positive, hn::Set(d, bins - 1)));
    const auto channel = hn::And(hn::Iota(whole, 0), hn::Set(whole, 3));
    hn::StoreU(hn::BitCast(natural, hn::Add(hn::ShiftLeft<2>(bin), channel)), natural, counters);
}

HWY_ATTR void FindBins(const float* pixels, std::size_t count, std::size_t bins, std::uint32_t* counters) {
    const Floats d;
    const std::size_t floats = count * kFloatsPerPixel;
    const auto scale = static_cast<float>(bins);
    std::size_t start = 0;
    for (; start + hn::Lanes(d) <= floats; start += hn::Lanes(d)) {
        FindBinsOf(d, pixels + start, scale, counters + start);
    }
    for (; start < floats; start += kFloatsPerPixel) FindBinsOf(OnePixel(), pixels + start, scale, counters + start);
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(AddPixels);
HWY_EXPORT(AddRow);
HWY_EXPORT(LargestOf);
HWY_EXPORT(SmallestOf);
HWY_EXPORT(FindBins);

void AddPixels(const float* pixels, std::size_t count, double* sums) {
    HWY_DYNAMIC_DISPATCH(AddPixels)(pixels, count, sums);
}

void AddRow(const float* numbers, std::size_t count, double* sums) {
    HWY_DYNAMIC_DISPATCH(AddRow)(numbers, count, sums);
}

void LargestOf(const float* pixels, std::size_t count, float* largest) {
    HWY_DYNAMIC_DISPATCH(LargestOf)(pixels, count, largest);
}

void SmallestOf(const float* pixels, std::size_t count, float* smallest) {
    HWY_DYNAMIC_DISPATCH(SmallestOf)(pixels, count, smallest);
}

void FindBins(const float* pixels, std::size_t count, std::size_t bins, std::uint32_t* counters) {
    HWY_DYNAMIC_DISPATCH(FindBins)(pixels, count, bins, counters);
}

}  // namespace core_image
#endif
