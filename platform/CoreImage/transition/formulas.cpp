// formulas.cpp - the loops, compiled once per instruction set.

#include "transition/formulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transition/formulas.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

using One = std::array<Colors, 1>;
using Two = std::array<Colors, 2>;

// Replaces each number of a pixel by a function of it and its counterpart in another image.
template <class Function>
HWY_INLINE void ForEachNumber(Colors& c, const Colors& other, const Function& function) {
    c = {function(c.red, other.red), function(c.green, other.green), function(c.blue, other.blue),
         function(c.alpha, other.alpha)};
}

HWY_INLINE void Change(const DissolveFormula& formula, Colors& c, const One& others) {
    const Wide time = Constant(formula.time);
    ForEachNumber(c, others[0], [&](Wide image, Wide target) HWY_ATTR { return Mix(image, target, time); });
}

HWY_INLINE void Change(const UncoverFormula&, Colors& c, const One& others) {
    const Wide free = hn::Sub(Constant(1), c.alpha);
    ForEachNumber(c, others[0], [&](Wide image, Wide target) HWY_ATTR { return hn::MulAdd(target, free, image); });
}

HWY_INLINE void Change(const GlareFormula& formula, Colors& c, const Two& others) {
    constexpr float kRise = 1 / 0.83f, kFall = 1 / 0.17f;
    const Wide p = others[1].red, rest = hn::Sub(Constant(1), p);
    const Wide glare = hn::Min(hn::Mul(p, Constant(kRise)), hn::Mul(rest, Constant(kFall)));
    ForEachNumber(c, others[0], [&](Wide image, Wide target) HWY_ATTR { return Mix(target, image, p); });
    c.red = hn::MulAdd(Constant(formula.light.red), glare, c.red);
    c.green = hn::MulAdd(Constant(formula.light.green), glare, c.green);
    c.blue = hn::MulAdd(Constant(formula.light.blue), glare, c.blue);
    c.alpha = hn::MulAdd(Constant(formula.light.alpha), glare, c.alpha);
}

HWY_INLINE void Change(const FlashFormula& formula, Colors& c, const Two& others) {
    const Wide share = Constant(formula.share);
    ForEachNumber(c, others[1], [](Wide image, Wide light) HWY_ATTR { return Clamp01(hn::Add(image, light)); });
    ForEachNumber(c, others[0], [&](Wide flash, Wide target) HWY_ATTR { return Mix(target, flash, share); });
}

HWY_INLINE void Change(const DisintegrateFormula& formula, Colors& c, const Two& others) {
    const Wide cover = others[1].red, imageGain = Constant(formula.imageGain);
    const Wide lit = hn::NegMulAdd(Constant(formula.density), others[1].green, Constant(1));
    const Wide targetGain = hn::Mul(Constant(formula.targetGain), lit);
    const Wide alpha = Mix(others[0].alpha, c.alpha, cover);
    ForEachNumber(c, others[0], [&](Wide image, Wide target) HWY_ATTR {
        return Mix(hn::Mul(target, targetGain), hn::Mul(image, imageGain), cover);
    });
    c.alpha = alpha;
}

#define CORE_IMAGE_DEFINE(name, otherCount)                                                                           \
    HWY_ATTR void name##Row(const name##Formula& formula, float* pixels, const float* const* others, std::size_t n) { \
        ForEachPlace<otherCount>(pixels, others, n,                                                                   \
                                 [&](Colors& c, const auto& given) HWY_ATTR { Change(formula, c, given); });          \
    }
CORE_IMAGE_TRANSITION_FORMULAS(CORE_IMAGE_DEFINE)
#undef CORE_IMAGE_DEFINE

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

#define CORE_IMAGE_DISPATCH(name, otherCount)                                                            \
    HWY_EXPORT(name##Row);                                                                               \
    void Apply(const name##Formula& formula, float* pixels, const float* const* others, std::size_t n) { \
        HWY_DYNAMIC_DISPATCH(name##Row)(formula, pixels, others, n);                                     \
    }
CORE_IMAGE_TRANSITION_FORMULAS(CORE_IMAGE_DISPATCH)
#undef CORE_IMAGE_DISPATCH

}  // namespace core_image
#endif
