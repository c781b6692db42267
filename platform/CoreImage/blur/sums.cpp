// sums.cpp - compiled once per instruction set; the best one is chosen at the first call.

#include "blur/sums.h"

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
HWY_INLINE void ForEachVector(std::size_t floats, const Function& function) {
    const hn::ScalableTag<Number> wide;
    const hn::CappedTag<Number, kFloatsPerPixel> narrow;
    std::size_t index = 0;
    for (; index + hn::Lanes(wide) <= floats; index += hn::Lanes(wide)) function(wide, index);
    for (; index < floats; index += hn::Lanes(narrow)) function(narrow, index);
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
                          std::size_t pixels) {
    const float* sums = in;  // each of this many pixels:
    std::size_t power = 1;
    const float* partial = in;  // of as many pixels as the lower powers of the width together
    std::size_t done = 1;
    while (2 * power <= width) {
        const float* const next = sums + power * kFloatsPerPixel;
        // In place: reads are never behind writes.
        ForEachVector<float>((pixels + width - 2 * power) * kFloatsPerPixel, [=](auto d, std::size_t i) HWY_ATTR {
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
        ForEachVector<float>(pixels * kFloatsPerPixel, [=](auto d, std::size_t i) HWY_ATTR {
            const auto sum = hn::Add(hn::LoadU(d, partial + i), hn::LoadU(d, added + i));
            hn::StoreU(hn::Mul(sum, hn::Set(d, factor)), d, to + i);
        });
        partial = to;
        done += power;
    }
}

HWY_ATTR void AddPair(const float* a, const float* b, float* pair, float* sum, std::size_t floats) {
    ForEachVector<float>(floats, [=](auto d, std::size_t i) HWY_ATTR {
        const auto both = hn::Add(hn::LoadU(d, a + i), hn::LoadU(d, b + i));
        hn::StoreU(both, d, pair + i);
        hn::StoreU(hn::Add(hn::LoadU(d, sum + i), both), d, sum + i);
    });
}

// Sums one or more vectors over every pair.
template <class D, std::size_t kVectors>
HWY_INLINE void AddMirroredAt(D d, const Mirrored* pairs, std::size_t count, std::size_t start, float* out) {
    static_assert(kVectors == 1 || kVectors == 4);
    constexpr std::size_t kLanes = hn::MaxLanes(d);
    const auto term = [&](const Mirrored& pair, std::size_t vector, auto sum) HWY_ATTR {
        const std::size_t place = start + vector * kLanes;
        const auto both = hn::Add(hn::LoadU(d, pair.left + place), hn::LoadU(d, pair.right + place));
        return hn::MulAdd(hn::Set(d, pair.weight), both, sum);
    };
    auto sum0 = hn::LoadU(d, out + start), sum1 = sum0, sum2 = sum0, sum3 = sum0;
    if constexpr (kVectors == 4) {
        sum1 = hn::LoadU(d, out + start + kLanes);
        sum2 = hn::LoadU(d, out + start + 2 * kLanes);
        sum3 = hn::LoadU(d, out + start + 3 * kLanes);
    }
    for (const Mirrored* pair = pairs; pair < pairs + count; ++pair) {
        sum0 = term(*pair, 0, sum0);
        if constexpr (kVectors == 4) {
            sum1 = term(*pair, 1, sum1);
            sum2 = term(*pair, 2, sum2);
            sum3 = term(*pair, 3, sum3);
        }
    }
    hn::StoreU(sum0, d, out + start);
    if constexpr (kVectors == 4) {
        hn::StoreU(sum1, d, out + start + kLanes);
        hn::StoreU(sum2, d, out + start + 2 * kLanes);
        hn::StoreU(sum3, d, out + start + 3 * kLanes);
    }
}

HWY_ATTR void AddMirrored(const Mirrored* pairs, std::size_t count, float* out, std::size_t floats) {
    const hn::ScalableTag<float> wide;
    const hn::FixedTag<float, kFloatsPerPixel> pixel;
    const std::size_t stride = 4 * hn::Lanes(wide);
    std::size_t start = 0;
    for (; start + stride <= floats; start += stride) {
        AddMirroredAt<decltype(wide), 4>(wide, pairs, count, start, out);
    }
    for (; start < floats; start += kFloatsPerPixel) {
        AddMirroredAt<decltype(pixel), 1>(pixel, pairs, count, start, out);
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
HWY_EXPORT(AddPair);
HWY_EXPORT(AddMirrored);

void SumAlongRow(const float* in, std::size_t width, float scale, float* memory, float* out, std::size_t pixels) {
    HWY_DYNAMIC_DISPATCH(SumAlongRow)(in, width, scale, memory, out, pixels);
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

void AddPair(const float* a, const float* b, float* pair, float* sum, std::size_t floats) {
    HWY_DYNAMIC_DISPATCH(AddPair)(a, b, pair, sum, floats);
}

void AddMirrored(const Mirrored* pairs, std::size_t count, float* out, std::size_t floats) {
    HWY_DYNAMIC_DISPATCH(AddMirrored)(pairs, count, out, floats);
}

}  // namespace core_image
#endif
