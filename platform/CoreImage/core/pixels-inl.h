// pixels-inl.h - vectors of pixels for the inner loops of filters that work pixel by pixel.
//
// A source file that is compiled once for every instruction set includes this each time. A formula is a function that changes
// one vector of each channel; ForEachPixel runs it over a row, ForEachPlace with other images beside. What a pixel becomes
// depends on no other pixel of its image, and on its place in the row neither.
//
// Failure: numbers that leave the range of floats come out as the largest that filters work with, what is no number as 0.

#if defined(CORE_IMAGE_PIXELS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef CORE_IMAGE_PIXELS_INL_H
#undef CORE_IMAGE_PIXELS_INL_H
#else
#define CORE_IMAGE_PIXELS_INL_H
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "core/luminance.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using WideTag = hn::ScalableTag<float>;
using Wide = hn::Vec<WideTag>;

// The channels of as many pixels as a vector has lanes.
struct Colours {
    Wide red, green, blue, alpha;
};

HWY_INLINE Wide Constant(float value) { return hn::Set(WideTag(), value); }

// A number within what filters work with (kLargestNumber); 0 for what is none.
template <class V>
HWY_INLINE V Finite(V value) {
    const hn::DFromV<V> d;
    constexpr float kLargest = 1e30f;
    const V number = hn::IfThenElseZero(hn::Eq(value, value), value);
    return hn::Max(hn::Min(number, hn::Set(d, kLargest)), hn::Set(d, -kLargest));
}

template <class V>
HWY_INLINE V Clamp01(V value) {
    const hn::DFromV<V> d;
    return hn::Min(hn::Max(value, hn::Zero(d)), hn::Set(d, 1.0f));
}

// a / b, and 0 where b is 0.
HWY_INLINE Wide DivideOrZero(Wide a, Wide b) { return hn::IfThenElseZero(hn::Ne(b, Constant(0)), hn::Div(a, b)); }

// Divides colours by alpha. Transparent pixels become black. Opaque ones, which most pictures consist of, cost a comparison.
HWY_INLINE void Unpremultiply(Colours& c) {
    if (hn::AllTrue(WideTag(), hn::Eq(c.alpha, Constant(1)))) return;
    const Wide scale = DivideOrZero(Constant(1), c.alpha);
    c.red = hn::Mul(c.red, scale);
    c.green = hn::Mul(c.green, scale);
    c.blue = hn::Mul(c.blue, scale);
}

HWY_INLINE void Premultiply(Colours& c) {
    c.red = hn::Mul(c.red, c.alpha);
    c.green = hn::Mul(c.green, c.alpha);
    c.blue = hn::Mul(c.blue, c.alpha);
}

// The luminance of linear values.
HWY_INLINE Wide Luminance(const Colours& c) {
    constexpr float kRed = kLuminance[0], kGreen = kLuminance[1], kBlue = kLuminance[2];
    return hn::MulAdd(c.red, Constant(kRed), hn::MulAdd(c.green, Constant(kGreen), hn::Mul(c.blue, Constant(kBlue))));
}

HWY_INLINE Colours LoadColours(const float* pixels) {
    Colours c;
    hn::LoadInterleaved4(WideTag(), pixels, c.red, c.green, c.blue, c.alpha);
    return c;
}

HWY_INLINE void StoreFinite(const Colours& c, float* pixels) {
    hn::StoreInterleaved4(Finite(c.red), Finite(c.green), Finite(c.blue), Finite(c.alpha), WideTag(), pixels);
}

// Runs a formula over pixels in place, given those of other images at the same places: operator()(Colours&, const Others&).
// The last pixels, which do not fill a vector, are worked on in memory of their own.
template <std::size_t kOthers, class Formula>
HWY_INLINE void ForEachPlace(float* pixels, const float* const* others, std::size_t count, const Formula& formula) {
    const std::size_t lanes = hn::Lanes(WideTag());
    std::size_t index = 0;
    for (; index + lanes <= count; index += lanes) {
        std::array<Colours, kOthers> given;
        for (std::size_t k = 0; k < kOthers; ++k) given[k] = LoadColours(others[k] + 4 * index);
        Colours c = LoadColours(pixels + 4 * index);
        formula(c, given);
        StoreFinite(c, pixels + 4 * index);
    }
    if (index == count) return;
    constexpr std::size_t kFloats = 4 * hn::MaxLanes(WideTag());
    float rest[kFloats] = {};
    std::array<Colours, kOthers> given;
    for (std::size_t k = 0; k < kOthers; ++k) {
        std::copy(others[k] + 4 * index, others[k] + 4 * count, rest);
        given[k] = LoadColours(rest);
    }
    std::copy(pixels + 4 * index, pixels + 4 * count, rest);
    Colours c = LoadColours(rest);
    formula(c, given);
    StoreFinite(c, rest);
    std::copy(rest, rest + 4 * (count - index), pixels + 4 * index);
}

// The same without other images: operator()(Colours&).
template <class Formula>
HWY_INLINE void ForEachPixel(float* pixels, std::size_t count, const Formula& formula) {
    ForEachPlace<0>(pixels, nullptr, count, [&formula](Colours& c, const auto&) HWY_ATTR { formula(c); });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
