// formulas.cpp - the formulas, compiled once per instruction set.

#include "color/formulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/formulas.cpp"
#include <hwy/foreach_target.h>

#include "core/power-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Divides by alpha, replaces each color by a function of it, and multiplies again. Alpha is unchanged.
template <class Function>
HWY_INLINE void ChangeEachColor(Colors& c, const Function& function) {
    Unpremultiply(c);
    c = {function(c.red), function(c.green), function(c.blue), c.alpha};
    Premultiply(c);
}

// The same for colors and alpha; the function receives the channel's index.
template <class Function>
HWY_INLINE void ChangeEachChannel(Colors& c, const Function& function) {
    Unpremultiply(c);
    c = {function(c.red, 0), function(c.green, 1), function(c.blue, 2), hn::Max(function(c.alpha, 3), Constant(0))};
    Premultiply(c);
}

HWY_INLINE void Change(const MatrixFormula& f, Colors& c) {
    Unpremultiply(c);
    const Colors in = c;
    const auto row = [&f, &in](std::size_t channel) HWY_ATTR {
        const std::array<float, 4>& k = f.rows[channel];
        Wide sum = hn::MulAdd(in.red, Constant(k[0]), Constant(f.bias[channel]));
        sum = hn::MulAdd(in.green, Constant(k[1]), sum);
        sum = hn::MulAdd(in.blue, Constant(k[2]), sum);
        return hn::MulAdd(in.alpha, Constant(k[3]), sum);
    };
    c = {row(0), row(1), row(2), hn::Max(row(3), Constant(0))};
    Premultiply(c);
}

HWY_INLINE void Change(const GammaFormula& f, Colors& c) {
    const auto raise = [&c](const auto& power) HWY_ATTR {
        ChangeEachColor(c, [&power](Wide x) HWY_ATTR { return power(hn::Max(x, Constant(0))); });
    };
    if (f.power.hasTables) {
        raise([&f](Wide x) HWY_ATTR { return LookUpPower(x, f.power); });
    } else {
        raise([&f](Wide x) HWY_ATTR { return ComputePower(x, f.power); });
    }
}

HWY_INLINE void Change(const ClampFormula& f, Colors& c) {
    ChangeEachChannel(c, [&f](Wide x, std::size_t channel) HWY_ATTR {
        return hn::Max(hn::Min(x, Constant(f.highest[channel])), Constant(f.lowest[channel]));
    });
}

HWY_INLINE void Change(const PosterizeFormula& f, Colors& c) {
    const Wide steps = Constant(f.steps), step = Constant(f.steps > 0 ? 1 / f.steps : 0);
    ChangeEachColor(c, [&](Wide x) HWY_ATTR {
        const Wide level = hn::Floor(hn::MulAdd(x, steps, Constant(0.5f)));
        // The product may differ from the quotient in the last bit; the remainder is added, so that white stays
        // white.
        const Wide product = hn::Mul(level, step);
        return hn::MulAdd(hn::NegMulAdd(product, steps, level), step, product);
    });
}

// Why not divided by alpha: scaling color and alpha scales the shade equally, so everything stays premultiplied.
HWY_INLINE void Change(const MonochromeFormula& f, Colors& c) {
    const Wide twice = hn::Mul(Luminance(c), Constant(2));
    const Wide beyond = hn::Sub(twice, c.alpha);
    const auto dark = hn::Lt(beyond, Constant(0));
    const auto shaded = [&](Wide x, float color) HWY_ATTR {
        const Wide light = hn::MulAdd(beyond, Constant(1 - color), hn::Mul(c.alpha, Constant(color)));
        const Wide shade = hn::IfThenElse(dark, hn::Mul(twice, Constant(color)), light);
        return hn::MulAdd(hn::Sub(shade, x), Constant(f.intensity), x);
    };
    c = {shaded(c.red, f.color[0]), shaded(c.green, f.color[1]), shaded(c.blue, f.color[2]), c.alpha};
}

HWY_INLINE void Change(const PolynomialFormula& f, Colors& c) {
    ChangeEachChannel(c, [&f](Wide x, std::size_t channel) HWY_ATTR {
        const std::array<float, 4>& k = f.coefficients[channel];
        const Wide cubic = hn::MulAdd(Constant(k[3]), x, Constant(k[2]));
        return hn::MulAdd(hn::MulAdd(cubic, x, Constant(k[1])), x, Constant(k[0]));
    });
}

HWY_INLINE void Change(const CrossPolynomialFormula& f, Colors& c) {
    Unpremultiply(c);
    const Wide terms[] = {c.red,
                          c.green,
                          c.blue,
                          hn::Mul(c.red, c.red),
                          hn::Mul(c.green, c.green),
                          hn::Mul(c.blue, c.blue),
                          hn::Mul(c.red, c.green),
                          hn::Mul(c.green, c.blue),
                          hn::Mul(c.blue, c.red)};
    const auto sum = [&](std::size_t channel) HWY_ATTR {
        const std::array<float, 10>& k = f.coefficients[channel];
        Wide all = Constant(k[9]);
        for (std::size_t term = 0; term < 9; ++term) all = hn::MulAdd(terms[term], Constant(k[term]), all);
        return all;
    };
    c = {sum(0), sum(1), sum(2), c.alpha};
    Premultiply(c);
}

#define CORE_IMAGE_DEFINE(name)                                                                 \
    HWY_ATTR void Apply##name(const name##Formula& formula, float* pixels, std::size_t count) { \
        ForEachPixel(pixels, count, [&formula](Colors& c) HWY_ATTR { Change(formula, c); });    \
    }
CORE_IMAGE_COLOR_FORMULAS(CORE_IMAGE_DEFINE)
#undef CORE_IMAGE_DEFINE

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

#define CORE_IMAGE_DISPATCH(name)                                                \
    HWY_EXPORT(Apply##name);                                                     \
    void Apply(const name##Formula& formula, float* pixels, std::size_t count) { \
        HWY_DYNAMIC_DISPATCH(Apply##name)(formula, pixels, count);               \
    }
CORE_IMAGE_COLOR_FORMULAS(CORE_IMAGE_DISPATCH)
#undef CORE_IMAGE_DISPATCH

}  // namespace core_image
#endif
