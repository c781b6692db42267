// pixels-inl.h - vectors of pixels for the inner loops of filters that work pixel by pixel.
//
// A source file that is compiled once per instruction set includes this file each time. A formula is a function that
// changes one vector per channel; ForEachPixel runs it over a run of pixels in blocks (run.h), ForEachPlace does so
// with other images alongside. The result for a pixel depends neither on other pixels of its image nor on those in
// the same vector.
//
// Failure: numbers outside the range of floats become the largest that filters work with; NaN becomes 0.

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

#include "core/inputs.h"
#include "core/luminance.h"
#include "core/run.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using WideTag = hn::ScalableTag<float>;
using Wide = hn::Vec<WideTag>;

// The channels of as many pixels as a vector has lanes.
struct Colors {
    Wide red, green, blue, alpha;
};

HWY_INLINE Wide Constant(float value) { return hn::Set(WideTag(), value); }

// The largest number that filters work with.
constexpr auto kLargest = static_cast<float>(kLargestNumber);

// A number limited to what filters work with; 0 for NaN.
template <class V>
HWY_INLINE V Finite(V value) {
    const hn::DFromV<V> d;
    const V number = hn::IfThenElseZero(hn::Eq(value, value), value);
    return hn::Max(hn::Min(number, hn::Set(d, kLargest)), hn::Set(d, -kLargest));
}

// A number limited to 0...1; 0 for NaN, because in this order the maximum of NaN and 0 is 0.
template <class V>
HWY_INLINE V Clamp01(V value) {
    const hn::DFromV<V> d;
    return hn::Min(hn::Max(value, hn::Zero(d)), hn::Set(d, 1.0f));
}

// t t (3 - 2 t), a smooth step from 0 at 0 to 1 at 1, for t within.
template <class V>
HWY_INLINE V SmoothStep(V t) {
    const hn::DFromV<V> d;
    return hn::Mul(hn::Mul(t, t), hn::NegMulAdd(hn::Set(d, 2.0f), t, hn::Set(d, 3.0f)));
}

// a (1 - k) + b k. Written so that 0 gives exactly a, and 1 exactly b.
HWY_INLINE Wide Mix(Wide a, Wide b, Wide k) { return hn::MulAdd(a, hn::Sub(Constant(1), k), hn::Mul(b, k)); }
HWY_INLINE Colors Mix(const Colors& a, const Colors& b, Wide k) {
    return {Mix(a.red, b.red, k), Mix(a.green, b.green, k), Mix(a.blue, b.blue, k), Mix(a.alpha, b.alpha, k)};
}

// a / b, and 0 where b is 0.
HWY_INLINE Wide DivideOrZero(Wide a, Wide b) { return hn::IfThenElseZero(hn::Ne(b, Constant(0)), hn::Div(a, b)); }

// Clips a premultiplied pixel to 0...1: first alpha, then the colors to alpha.
HWY_INLINE void Clip(Colors& c) {
    c.alpha = Clamp01(c.alpha);
    for (Wide* color : {&c.red, &c.green, &c.blue}) *color = hn::Min(hn::Max(*color, Constant(0)), c.alpha);
}

// Divides colors by alpha. Transparent pixels become black. Opaque ones, the most common, cost only a comparison.
HWY_INLINE void Unpremultiply(Colors& c) {
    if (hn::AllTrue(WideTag(), hn::Eq(c.alpha, Constant(1)))) return;
    const Wide scale = DivideOrZero(Constant(1), c.alpha);
    c.red = hn::Mul(c.red, scale);
    c.green = hn::Mul(c.green, scale);
    c.blue = hn::Mul(c.blue, scale);
}

HWY_INLINE void Premultiply(Colors& c) {
    c.red = hn::Mul(c.red, c.alpha);
    c.green = hn::Mul(c.green, c.alpha);
    c.blue = hn::Mul(c.blue, c.alpha);
}

// The luminance of linear values.
HWY_INLINE Wide Luminance(const Colors& c) {
    constexpr float kRed = kLuminance[0], kGreen = kLuminance[1], kBlue = kLuminance[2];
    return hn::MulAdd(c.red, Constant(kRed), hn::MulAdd(c.green, Constant(kGreen), hn::Mul(c.blue, Constant(kBlue))));
}

// The index of a pixel's red in the blocks of a run.
HWY_INLINE std::size_t PlaceInBlocks(std::size_t pixel) {
    return pixel / kBlockPixels * (4 * kBlockPixels) + pixel % kBlockPixels;
}

// One vector of pixels of a block, from an index among its reds on (run.h).
HWY_INLINE Colors LoadColors(const float* reds) {
    const WideTag d;
    return {hn::LoadU(d, reds), hn::LoadU(d, reds + kBlockPixels), hn::LoadU(d, reds + 2 * kBlockPixels),
            hn::LoadU(d, reds + 3 * kBlockPixels)};
}

HWY_INLINE void StoreColors(const Colors& c, float* reds) {
    const WideTag d;
    hn::StoreU(c.red, d, reds);
    hn::StoreU(c.green, d, reds + kBlockPixels);
    hn::StoreU(c.blue, d, reds + 2 * kBlockPixels);
    hn::StoreU(c.alpha, d, reds + 3 * kBlockPixels);
}

// When the sum of the magnitudes is within what filters work with, each number is. This test is cheaper.
HWY_INLINE void MakeFinite(Colors& c) {
    const Wide all = hn::Add(hn::Add(hn::Abs(c.red), hn::Abs(c.green)), hn::Add(hn::Abs(c.blue), hn::Abs(c.alpha)));
    if (HWY_LIKELY(hn::AllTrue(WideTag(), hn::Le(all, Constant(kLargest))))) return;
    c = {Finite(c.red), Finite(c.green), Finite(c.blue), Finite(c.alpha)};
}

// Runs a formula over a run in place, with the pixels of other images at the same places and the index of the first
// pixel: operator()(Colors&, const Others&, std::size_t pixel).
// Padding pixels of the last block are processed too: a table indexed by pixel must cover whole blocks.
template <std::size_t kOthers, class Formula>
HWY_INLINE void ForEachIndexedPlace(float* blocks, const float* const* others, std::size_t count,
                                    const Formula& formula) {
    for (std::size_t pixel = 0; pixel < count; pixel += hn::MaxLanes(WideTag())) {
        const std::size_t place = PlaceInBlocks(pixel);
        std::array<Colors, kOthers> given;
        for (std::size_t k = 0; k < kOthers; ++k) given[k] = LoadColors(others[k] + place);
        Colors c = LoadColors(blocks + place);
        formula(c, given, pixel);
        MakeFinite(c);
        StoreColors(c, blocks + place);
    }
}

// The same without the index: operator()(Colors&, const Others&).
template <std::size_t kOthers, class Formula>
HWY_INLINE void ForEachPlace(float* blocks, const float* const* others, std::size_t count, const Formula& formula) {
    ForEachIndexedPlace<kOthers>(blocks, others, count,
                                 [&formula](Colors& c, const auto& given, std::size_t) HWY_ATTR { formula(c, given); });
}

// The same without other images: operator()(Colors&).
template <class Formula>
HWY_INLINE void ForEachPixel(float* blocks, std::size_t count, const Formula& formula) {
    ForEachPlace<0>(blocks, nullptr, count, [&formula](Colors& c, const auto&) HWY_ATTR { formula(c); });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
