// blend.cpp - the loops, compiled once per instruction set.
//
// No mode divides by alpha: it is computed from colors already multiplied by both alphas (Pair), and so is its
// result.

#include "compositing/blend.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "compositing/blend.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

using One = std::array<Colors, 1>;
using Two = std::array<Colors, 2>;

// A color of each image, the complement of each to white, and the product of the two colors, all multiplied by both
// alphas; and the product of the alphas.
struct Pair {
    Wide source, background;
    Wide sourceLacks, backgroundLacks;
    Wide product;
    Wide alphas;
};

HWY_INLINE Pair PairOf(Wide source, Wide sourceAlpha, Wide background, Wide backgroundAlpha) {
    return {hn::Mul(source, backgroundAlpha),
            hn::Mul(background, sourceAlpha),
            hn::Mul(hn::Sub(sourceAlpha, source), backgroundAlpha),
            hn::Mul(hn::Sub(backgroundAlpha, background), sourceAlpha),
            hn::Mul(source, background),
            hn::Mul(sourceAlpha, backgroundAlpha)};
}

// Adds the parts of each image outside the other to the result of a mode inside both.
HWY_INLINE Wide WithOutside(Wide inside, Wide source, Wide sourceAlpha, Wide background, Wide backgroundAlpha) {
    const Wide one = Constant(1);
    return hn::MulAdd(hn::Sub(one, backgroundAlpha), source, hn::MulAdd(hn::Sub(one, sourceAlpha), background, inside));
}

// A blend mode that treats each color separately.
template <class Mode>
HWY_INLINE void BlendEach(Colors& b, Colors s, const Mode& mode) {
    Clip(b);
    Clip(s);
    const auto blend = [&](Wide source, Wide background) HWY_ATTR {
        const Wide inside = mode(PairOf(source, s.alpha, background, b.alpha));
        return WithOutside(inside, source, s.alpha, background, b.alpha);
    };
    b = {blend(s.red, b.red), blend(s.green, b.green), blend(s.blue, b.blue),
         WithOutside(hn::Mul(s.alpha, b.alpha), s.alpha, s.alpha, b.alpha, b.alpha)};
}

HWY_INLINE void Over(Colors& b, const One& others) {
    const Colors& s = others[0];
    const Wide rest = hn::Sub(Constant(1), Clamp01(s.alpha));
    b = {hn::MulAdd(b.red, rest, s.red), hn::MulAdd(b.green, rest, s.green), hn::MulAdd(b.blue, rest, s.blue),
         hn::MulAdd(b.alpha, rest, s.alpha)};
}

HWY_INLINE void Add(Colors& b, const One& others) {
    const Colors& s = others[0];
    b = {hn::Add(s.red, b.red), hn::Add(s.green, b.green), hn::Add(s.blue, b.blue), hn::Add(s.alpha, b.alpha)};
}

HWY_INLINE void Darken(Colors& b, const One& others) {
    BlendEach(b, others[0], [](const Pair& p) HWY_ATTR { return hn::Min(p.source, p.background); });
}

HWY_INLINE void Difference(Colors& b, const One& others) {
    BlendEach(b, others[0], [](const Pair& p) HWY_ATTR { return hn::Abs(hn::Sub(p.source, p.background)); });
}

HWY_INLINE void Exclude(Colors& b, const One& others) {
    BlendEach(b, others[0], [](const Pair& p) HWY_ATTR {
        return hn::Add(hn::Sub(p.source, p.product), hn::Sub(p.background, p.product));
    });
}

HWY_INLINE void Burn(Colors& b, const One& others) {
    BlendEach(b, others[0], [](const Pair& p) HWY_ATTR {
        const Wide burnt = hn::Min(hn::Div(hn::Mul(p.alphas, p.backgroundLacks), p.source), p.alphas);
        return hn::IfThenElse(hn::Gt(p.backgroundLacks, Constant(0)), hn::Sub(p.alphas, burnt), p.alphas);
    });
}

HWY_INLINE void Dodge(Colors& b, const One& others) {
    BlendEach(b, others[0], [](const Pair& p) HWY_ATTR {
        const Wide dodged = hn::Min(hn::Div(hn::Mul(p.alphas, p.background), p.sourceLacks), p.alphas);
        return hn::IfThenElseZero(hn::Gt(p.background, Constant(0)), dodged);
    });
}

// The largest plus the smallest color: twice the lightness.
HWY_INLINE Wide TwiceLightness(const Colors& c) {
    return hn::Add(hn::Max(hn::Max(c.red, c.green), c.blue), hn::Min(hn::Min(c.red, c.green), c.blue));
}

// Keeps hue and saturation: the distance of colors from the lightness is scaled in proportion to the room on both
// sides of the lightness, which is the lightness itself or its complement to white, whichever is less.
HWY_INLINE void Colorize(Colors& b, const One& others) {
    Colors s = others[0];
    Clip(b);
    Clip(s);
    const Wide alphas = hn::Mul(s.alpha, b.alpha), twice = hn::Add(alphas, alphas);
    const Wide from = hn::Mul(TwiceLightness(s), b.alpha), to = hn::Mul(TwiceLightness(b), s.alpha);
    const auto room = [&](Wide lightness) HWY_ATTR { return hn::Min(lightness, hn::Sub(twice, lightness)); };
    const Wide stretch = DivideOrZero(room(to), room(from));
    const Wide half = Constant(0.5f);
    const auto blend = [&](Wide source, Wide background) HWY_ATTR {
        const Wide distance = hn::Sub(hn::Mul(source, b.alpha), hn::Mul(from, half));
        const Wide moved = hn::MulAdd(distance, stretch, hn::Mul(to, half));
        const Wide inside = hn::Max(hn::Min(moved, alphas), Constant(0));
        return WithOutside(inside, source, s.alpha, background, b.alpha);
    };
    b = {blend(s.red, b.red), blend(s.green, b.green), blend(s.blue, b.blue),
         WithOutside(alphas, s.alpha, s.alpha, b.alpha, b.alpha)};
}

// Go from the background to the source.
HWY_INLINE void MaskGreen(Colors& b, const Two& others) { b = Mix(b, others[0], Clamp01(others[1].green)); }
HWY_INLINE void MaskAlpha(Colors& b, const Two& others) { b = Mix(b, others[0], Clamp01(others[1].alpha)); }

// The number of other images that a blend takes.
template <std::size_t kCount>
constexpr std::size_t OthersOf(void (*)(Colors&, const std::array<Colors, kCount>&)) {
    return kCount;
}

#define CORE_IMAGE_DEFINE(name)                                                                       \
    HWY_ATTR void name##Row(float* pixels, const float* const* others, std::size_t count) {           \
        ForEachPlace<OthersOf(&name)>(pixels, others, count,                                          \
                                      [](Colors& c, const auto& given) HWY_ATTR { name(c, given); }); \
    }
CORE_IMAGE_BLENDS(CORE_IMAGE_DEFINE)
#undef CORE_IMAGE_DEFINE

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

#define CORE_IMAGE_DISPATCH(name)                                                  \
    HWY_EXPORT(name##Row);                                                         \
    void name##Row(float* pixels, const float* const* others, std::size_t count) { \
        HWY_DYNAMIC_DISPATCH(name##Row)(pixels, others, count);                    \
    }
CORE_IMAGE_BLENDS(CORE_IMAGE_DISPATCH)
#undef CORE_IMAGE_DISPATCH

}  // namespace core_image
#endif
