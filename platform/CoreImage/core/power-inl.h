// power-inl.h - powers of vectors of numbers, and the curve of sRGB made of them.
//
// Accuracy: a few units in the last place for exponents up to 4, growing with the exponent.

#if defined(CORE_IMAGE_POWER_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef CORE_IMAGE_POWER_INL_H
#undef CORE_IMAGE_POWER_INL_H
#else
#define CORE_IMAGE_POWER_INL_H
#endif

#include "core/pixels-inl.h"
#include "core/power.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// 2 to the power of whole + rest, where whole is a whole number: between 2^-126 and 2^100, and 0 below.
HWY_INLINE Wide PowerOfTwo(Wide whole, Wide rest) {
    const hn::RebindToSigned<WideTag> integers;
    const Wide more = hn::Round(rest);
    const Wide r = hn::Sub(rest, more);
    // The series of 2^r for r within one half.
    constexpr float kSeries[] = {1.5252734e-5f, 1.5403530e-4f, 1.3333558e-3f, 9.6181291e-3f,
                                 5.5504109e-2f, 2.4022651e-1f, 6.9314718e-1f, 1.0f};
    Wide sum = Constant(kSeries[0]);
    for (std::size_t k = 1; k < std::size(kSeries); ++k) sum = hn::MulAdd(sum, r, Constant(kSeries[k]));
    const Wide exponent = hn::Max(hn::Min(hn::Add(whole, more), Constant(100)), Constant(-127));
    const auto bits = hn::ShiftLeft<23>(hn::Add(hn::ConvertTo(integers, exponent), hn::Set(integers, 127)));
    return hn::Mul(sum, hn::BitCast(WideTag(), bits));
}

// 1 / x, in a third of the time that a division takes: an estimate of eleven bits, mended twice.
HWY_INLINE Wide Reciprocal(Wide x) {
    Wide estimate = hn::ApproximateReciprocal(x);
    for (int mend = 0; mend < 2; ++mend)
        estimate = hn::MulAdd(estimate, hn::NegMulAdd(x, estimate, Constant(1)), estimate);
    return estimate;
}

// A number from 0 on to a power.
//
// Why in parts: the logarithm is a whole number e and a rest; e times the exponent is large and must be exact, and is so for the
// exponent's leading bits.
HWY_INLINE Wide ToPower(Wide base, const Power& power) {
    const hn::RebindToSigned<WideTag> integers;
    constexpr int kRootOfHalf = 0x3f3504f3;  // the float's own bits
    const Wide normal = hn::Max(base, Constant(1.17549435e-38f));
    const auto bits = hn::BitCast(integers, normal);
    const auto e = hn::ShiftRight<23>(hn::Sub(bits, hn::Set(integers, kRootOfHalf)));
    const Wide mantissa = hn::BitCast(WideTag(), hn::Sub(bits, hn::ShiftLeft<23>(e)));
    const Wide wholeLog = hn::ConvertTo(WideTag(), e);

    // log2 m = 2 / ln 2 * artanh s
    const Wide s = hn::Mul(hn::Sub(mantissa, Constant(1)), Reciprocal(hn::Add(mantissa, Constant(1))));
    const Wide z = hn::Mul(s, s);
    constexpr float kSeries[] = {0.32059890f, 0.41219858f, 0.57707802f, 0.96179669f, 2.8853901f};
    Wide sum = Constant(kSeries[0]);
    for (std::size_t k = 1; k < std::size(kSeries); ++k) sum = hn::MulAdd(sum, z, Constant(kSeries[k]));
    const Wide restLog = hn::Mul(sum, s);

    const Wide large = hn::Mul(wholeLog, Constant(power.high));
    const Wide whole = hn::Round(large);
    const Wide small = hn::MulAdd(wholeLog, Constant(power.low), hn::Mul(restLog, Constant(power.exponent)));
    const Wide result = PowerOfTwo(whole, hn::Add(hn::Sub(large, whole), small));
    return hn::IfThenElse(hn::Gt(base, Constant(0)), result, Constant(power.ofZero));
}

// The curve of sRGB from 0 on, there and back.
HWY_INLINE Wide Encoded(Wide linear) {
    static constexpr Power kPower(1 / 2.4);
    const Wide curve = hn::MulAdd(ToPower(linear, kPower), Constant(1.055f), Constant(-0.055f));
    return hn::IfThenElse(hn::Le(linear, Constant(0.0031308f)), hn::Mul(linear, Constant(12.92f)), curve);
}

HWY_INLINE Wide Decoded(Wide encoded) {
    static constexpr Power kPower(2.4);
    const Wide base = hn::Mul(hn::Add(encoded, Constant(0.055f)), Constant(1 / 1.055f));
    return hn::IfThenElse(hn::Le(encoded, Constant(0.04045f)), hn::Mul(encoded, Constant(1 / 12.92f)),
                          ToPower(base, kPower));
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
