// sums.cpp - compiled once per instruction set; the best one is chosen at the first call.

#include "blur/sums.h"

#include <bit>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "blur/sums.cpp"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

// Calls a function with a vector type and an index for all floats of a row: as many whole vectors as fit, then
// single pixels.
template <typename Number, class Function>
HWY_INLINE void ForEachVector(std::size_t floats, const Function& function, std::size_t index = 0) {
    const hn::ScalableTag<Number> wide;
    const hn::CappedTag<Number, kFloatsPerPixel> narrow;
    for (; index + hn::Lanes(wide) <= floats; index += hn::Lanes(wide)) function(wide, index);
    for (; index < floats; index += hn::Lanes(narrow)) function(narrow, index);
}

// The same for floats, while rows ahead are prefetched.
template <class Function>
HWY_INLINE void ForEachVector(std::size_t floats, RowsAhead& ahead, const Function& function) {
    const hn::ScalableTag<float> d;
    constexpr std::size_t kLines = 4, kFloats = kLines * kFloatsPerLine;
    std::size_t index = 0;
    for (; index + kFloats <= floats; index += kFloats) {
        ahead.Prefetch(kLines);
        for (std::size_t i = 0; i < kFloats; i += hn::Lanes(d)) function(d, index + i);
    }
    ForEachVector<float>(floats, function, index);
}

// Floats as vectors of Number.
template <class D>
HWY_INLINE hn::Vec<D> LoadFloats(D d, const float* from) {
    if constexpr (sizeof(hn::TFromD<D>) == sizeof(double)) {
        return hn::PromoteTo(d, hn::LoadU(hn::Rebind<float, D>(), from));
    } else {
        return hn::LoadU(d, from);
    }
}

template <class D>
HWY_INLINE void StoreFloats(D d, hn::Vec<D> numbers, float* to) {
    if constexpr (sizeof(hn::TFromD<D>) == sizeof(double)) {
        const hn::Rebind<float, D> single;
        hn::StoreU(hn::DemoteTo(single, numbers), single, to);
    } else {
        hn::StoreU(numbers, d, to);
    }
}

template <typename Number>
HWY_INLINE void AccumulateIn(const float* in, Number* sum, float* out, std::size_t floats) {
    ForEachVector<Number>(floats, [=](auto d, std::size_t i) HWY_ATTR {
        const auto added = hn::Add(hn::LoadU(d, sum + i), LoadFloats(d, in + i));
        hn::StoreU(added, d, sum + i);
        StoreFloats(d, added, out + i);
    });
}

template <typename Number>
HWY_INLINE void CombineIn(const float* in, Number* sum, const float* before, float scale, float* out,
                          std::size_t floats) {
    ForEachVector<Number>(floats, [=](auto d, std::size_t i) HWY_ATTR {
        const auto added = hn::Add(hn::LoadU(d, sum + i), LoadFloats(d, in + i));
        hn::StoreU(added, d, sum + i);
        const auto all = hn::Add(LoadFloats(d, before + i), added);
        StoreFloats(d, hn::Mul(all, hn::Set(d, static_cast<Number>(scale))), out + i);
    });
}

HWY_ATTR void AccumulateFloats(const float* in, float* sum, float* out, std::size_t floats) {
    AccumulateIn(in, sum, out, floats);
}
HWY_ATTR void AccumulateDoubles(const float* in, double* sum, float* out, std::size_t floats) {
    AccumulateIn(in, sum, out, floats);
}
HWY_ATTR void CombineFloats(const float* in, float* sum, const float* before, float scale, float* out,
                            std::size_t floats) {
    CombineIn(in, sum, before, scale, out, floats);
}
HWY_ATTR void CombineDoubles(const float* in, double* sum, const float* before, float scale, float* out,
                             std::size_t floats) {
    CombineIn(in, sum, before, scale, out, floats);
}

HWY_ATTR void SumAlongRow(const float* in, std::size_t width, float scale, float* memory, float* out,
                          std::size_t pixels, RowsAhead ahead) {
    // One for each doubling, and one for each sum that is added to those of lower powers.
    ahead.passes = std::bit_width(width) + std::popcount(width) - 2;
    const float* sums = in;  // each of this many pixels:
    std::size_t power = 1;
    const float* partial = in;  // of as many pixels as the lower powers of the width together
    std::size_t done = 1;
    while (2 * power <= width) {
        const float* const next = sums + power * kFloatsPerPixel;
        // In place: reads are never behind writes.
        ForEachVector((pixels + width - 2 * power) * kFloatsPerPixel, ahead, [=](auto d, std::size_t i) HWY_ATTR {
            hn::StoreU(hn::Add(hn::LoadU(d, sums + i), hn::LoadU(d, next + i)), d, memory + i);
        });
        sums = memory;
        power *= 2;
        if ((width & power) == 0) continue;
        const float* const added = sums + done * kFloatsPerPixel;
        const bool isLast = 2 * power > width;
        const float factor = isLast ? scale : 1;
        // Only the last sum is written to out: unlike the scratch memory it is usually not in the cache.
        float* const to = isLast ? out : memory + (pixels + width - 1) * kFloatsPerPixel;
        ForEachVector(pixels * kFloatsPerPixel, ahead, [=](auto d, std::size_t i) HWY_ATTR {
            const auto sum = hn::Add(hn::LoadU(d, partial + i), hn::LoadU(d, added + i));
            hn::StoreU(hn::Mul(sum, hn::Set(d, factor)), d, to + i);
        });
        partial = to;
        done += power;
    }
}

// Adds the columns of two rows of a disc to consecutive vectors of sums.
template <std::size_t kVectors>
HWY_INLINE void AddColumns(const DiscRows& rows, const float* runs, const float* rim, float* out) {
    const hn::ScalableTag<float> d;
    constexpr std::size_t kLanes = hn::MaxLanes(d);
    hn::Vec<decltype(d)> sums[kVectors];
    for (std::size_t k = 0; k < kVectors; ++k) sums[k] = hn::LoadU(d, out + k * kLanes);
    const auto add = [&](const float* line, const std::vector<MirroredColumns>& columns) HWY_ATTR {
        for (const MirroredColumns& each : columns) {
            const auto weight = hn::Set(d, each.weight);
            const float *left = line - each.distance, *right = line + each.distance;
            for (auto& sum : sums) {
                sum = hn::MulAdd(weight, hn::Add(hn::LoadU(d, left), hn::LoadU(d, right)), sum);
                left += kLanes;
                right += kLanes;
            }
        }
    };
    add(runs, rows.runs);
    add(rim, rows.rim);
    for (std::size_t k = 0; k < kVectors; ++k) hn::StoreU(sums[k], d, out + k * kLanes);
}

HWY_ATTR void SumDisc(const std::vector<DiscRows>& disc, const float* middle, std::ptrdiff_t stride, float* runs,
                      float* pair, float* out, std::size_t pixels, RowsAhead& ahead) {
    const hn::ScalableTag<float> d;
    constexpr std::size_t kLanes = hn::MaxLanes(d), kTogether = HWY_ARCH_X86_32 ? 4 : 8;
    const std::size_t reach = disc.size() - 1, width = pixels + 2 * reach;
    const std::size_t linesPerDistance = width * kFloatsPerPixel / kFloatsPerLine / disc.size() + 1;
    for (std::size_t i = 0; i < width; i += kLanes) hn::StoreU(hn::LoadU(d, middle + i), d, runs + i);
    for (std::size_t i = 0; i < pixels; i += kLanes) hn::StoreU(hn::Zero(d), d, out + i);
    for (std::size_t distance = 0; distance <= reach; ++distance) {
        ahead.Prefetch(linesPerDistance);
        const std::ptrdiff_t rows = static_cast<std::ptrdiff_t>(distance) * stride;
        const float *const below = middle - rows, *const above = middle + rows;
        for (std::size_t i = 0; i < width && distance > 0; i += kLanes) {
            const auto both = hn::Add(hn::LoadU(d, below + i), hn::LoadU(d, above + i));
            hn::StoreU(both, d, pair + i);
            hn::StoreU(hn::Add(hn::LoadU(d, runs + i), both), d, runs + i);
        }
        // The middle row has no counterpart.
        const float* const rim = distance == 0 ? middle : pair;
        std::size_t i = 0;
        for (; i + kTogether * kLanes <= pixels; i += kTogether * kLanes) {
            AddColumns<kTogether>(disc[distance], runs + reach + i, rim + reach + i, out + i);
        }
        for (; i < pixels; i += kLanes) AddColumns<1>(disc[distance], runs + reach + i, rim + reach + i, out + i);
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(SumAlongRow);
HWY_EXPORT(AccumulateFloats);
HWY_EXPORT(AccumulateDoubles);
HWY_EXPORT(CombineFloats);
HWY_EXPORT(CombineDoubles);
HWY_EXPORT(SumDisc);

void SumAlongRow(const float* in, std::size_t width, float scale, float* memory, float* out, std::size_t pixels,
                 RowsAhead ahead) {
    HWY_DYNAMIC_DISPATCH(SumAlongRow)(in, width, scale, memory, out, pixels, ahead);
}

void Accumulate(const float* in, float* sum, float* out, std::size_t floats) {
    HWY_DYNAMIC_DISPATCH(AccumulateFloats)(in, sum, out, floats);
}
void Accumulate(const float* in, double* sum, float* out, std::size_t floats) {
    HWY_DYNAMIC_DISPATCH(AccumulateDoubles)(in, sum, out, floats);
}

void Combine(const float* in, float* sum, const float* before, float scale, float* out, std::size_t floats) {
    HWY_DYNAMIC_DISPATCH(CombineFloats)(in, sum, before, scale, out, floats);
}
void Combine(const float* in, double* sum, const float* before, float scale, float* out, std::size_t floats) {
    HWY_DYNAMIC_DISPATCH(CombineDoubles)(in, sum, before, scale, out, floats);
}

void SumDisc(const std::vector<DiscRows>& disc, const float* middle, std::ptrdiff_t stride, float* runs, float* pair,
             float* out, std::size_t pixels, RowsAhead& ahead) {
    HWY_DYNAMIC_DISPATCH(SumDisc)(disc, middle, stride, runs, pair, out, pixels, ahead);
}

}  // namespace core_image
#endif
