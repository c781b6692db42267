// texels-inl.h - color lookup in tables of pixels, for inner loops.
//
// Texels are four consecutive floats each; two neighbors are loaded at once where vectors are long enough.

#if defined(CORE_IMAGE_TEXELS_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef CORE_IMAGE_TEXELS_INL_H
#undef CORE_IMAGE_TEXELS_INL_H
#else
#define CORE_IMAGE_TEXELS_INL_H
#endif

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

using TexelTag = hn::FixedTag<float, 4>;
using Texel = hn::Vec<TexelTag>;

// Interpolates from a to b.
template <class V>
HWY_INLINE V Between(V a, V b, float share) {
    return hn::MulAdd(hn::Sub(b, a), hn::Set(hn::DFromV<V>(), share), a);
}

#if HWY_MAX_BYTES >= 32

using TexelPair = hn::Vec<hn::FixedTag<float, 8>>;

HWY_INLINE TexelPair LoadPair(const float* texels) { return hn::LoadU(hn::FixedTag<float, 8>(), texels); }

HWY_INLINE TexelPair LoadPair(const std::uint8_t* texels) {
    const hn::FixedTag<float, 8> d;
    return hn::ConvertTo(
        d, hn::PromoteTo(hn::RebindToSigned<decltype(d)>(), hn::LoadU(hn::FixedTag<std::uint8_t, 8>(), texels)));
}

// Applies a function to texels; to both texels of pairs.
template <class Function, class... Pairs>
HWY_INLINE TexelPair OfBoth(const Function& function, Pairs... pairs) {
    return function(pairs...);
}

HWY_INLINE Texel Between(TexelPair pair, float share) {
    return Between(hn::LowerHalf(pair), hn::UpperHalf(TexelTag(), pair), share);
}

#else

struct TexelPair {
    Texel first, second;
};

HWY_INLINE TexelPair LoadPair(const float* texels) {
    return {hn::LoadU(TexelTag(), texels), hn::LoadU(TexelTag(), texels + 4)};
}

HWY_INLINE Texel LoadTexel(const std::uint8_t* texel) {
    const hn::Rebind<std::uint8_t, TexelTag> bytes;
    return hn::ConvertTo(TexelTag(), hn::PromoteTo(hn::RebindToSigned<TexelTag>(), hn::LoadU(bytes, texel)));
}

HWY_INLINE TexelPair LoadPair(const std::uint8_t* texels) { return {LoadTexel(texels), LoadTexel(texels + 4)}; }

template <class Function, class... Pairs>
HWY_INLINE TexelPair OfBoth(const Function& function, Pairs... pairs) {
    return {function(pairs.first...), function(pairs.second...)};
}

HWY_INLINE TexelPair Between(TexelPair a, TexelPair b, float share) {
    return OfBoth([share](Texel x, Texel y) HWY_ATTR { return Between(x, y, share); }, a, b);
}

HWY_INLINE Texel Between(TexelPair pair, float share) { return Between(pair.first, pair.second, share); }

#endif

// Replaces the colors of a run block by block: prepare(pixel, Colors) is called for vectors of pixels, indexed
// within the block, whose colors are divided by alpha; then look(pixel) returns the texel of each pixel, which is
// multiplied by alpha and a scale.
template <class Prepare, class Look>
HWY_INLINE void LookUp(float* blocks, std::size_t count, float scale, const Prepare& prepare, const Look& look) {
    for (std::size_t done = 0; done < count; done += kBlockPixels, blocks += 4 * kBlockPixels) {
        for (std::size_t pixel = 0; pixel < kBlockPixels; pixel += hn::MaxLanes(WideTag())) {
            Colors c = LoadColors(blocks + pixel);
            MakeFinite(c);
            Unpremultiply(c);
            hn::StoreU(c.alpha, WideTag(), blocks + 3 * kBlockPixels + pixel);
            prepare(pixel, c);
        }
        HWY_ALIGN float found[4 * kBlockPixels];
        for (std::size_t pixel = 0; pixel < kBlockPixels; ++pixel)
            hn::Store(look(pixel), TexelTag(), found + 4 * pixel);
        for (std::size_t pixel = 0; pixel < kBlockPixels; pixel += hn::MaxLanes(WideTag())) {
            const WideTag d;
            const Wide alpha = hn::Mul(hn::LoadU(d, blocks + 3 * kBlockPixels + pixel), Constant(scale));
            Colors c;
            hn::LoadInterleaved4(d, found + 4 * pixel, c.red, c.green, c.blue, c.alpha);
            c = {hn::Mul(c.red, alpha), hn::Mul(c.green, alpha), hn::Mul(c.blue, alpha), hn::Mul(c.alpha, alpha)};
            StoreColors(c, blocks + pixel);
        }
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
