// power-inl.h - powers of vectors of numbers, and the sRGB curve made of them.
//
// Accuracy: the relative error is below 2e-7 times the magnitude of the result's base-two logarithm, or 4e-7 if that
//           is larger. Subnormal numbers count as 0 or as the smallest normal one.

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

// 2 to the power of an exponent, which is limited to -126 ... 126.
HWY_INLINE Wide PowerOfTwo(Wide exponent) {
    const hn::RebindToSigned<WideTag> integers;
    // Adding this number leaves the nearest integer in the lowest bits.
    constexpr float kRounding = 12582912;
    const Wide bounded = hn::Max(hn::Min(exponent, Constant(126)), Constant(-126));
    const Wide rounded = hn::Add(bounded, Constant(kRounding));
    const Wide r = hn::Sub(bounded, hn::Sub(rounded, Constant(kRounding)));
    // 2^r for r within one half, exact at 0.
    constexpr float kSeries[] = {1.33813025e-3f, 9.66636852e-3f, 5.55038101e-2f, 2.40223490e-1f, 6.93147181e-1f, 1.0f};
    Wide sum = Constant(kSeries[0]);
    for (std::size_t k = 1; k < std::size(kSeries); ++k) sum = hn::MulAdd(sum, r, Constant(kSeries[k]));
    const auto bits = hn::ShiftLeft<23>(hn::BitCast(integers, rounded));
    return hn::BitCast(WideTag(), hn::Add(hn::BitCast(integers, sum), bits));
}

// 1 / x in a third of the time of a division: an estimate of eleven bits, refined.
HWY_INLINE Wide Reciprocal(Wide x) {
    const Wide estimate = hn::ApproximateReciprocal(x);
    return hn::MulAdd(estimate, hn::NegMulAdd(x, estimate, Constant(1)), estimate);
}

// A number of 0 or more raised to a power.
HWY_INLINE Wide ComputePower(Wide base, const Power& power) {
    const hn::RebindToSigned<WideTag> integers;
    constexpr int kRootOfHalf = 0x3f3504f3;  // the float's bit pattern
    const Wide normal = hn::Max(base, Constant(1.17549435e-38f));
    const auto bits = hn::BitCast(integers, normal);
    const auto e = hn::ShiftRight<23>(hn::Sub(bits, hn::Set(integers, kRootOfHalf)));
    const Wide mantissa = hn::BitCast(WideTag(), hn::Sub(bits, hn::ShiftLeft<23>(e)));

    // log2 m = 2 / ln 2 * artanh s
    const Wide s = hn::Mul(hn::Sub(mantissa, Constant(1)), Reciprocal(hn::Add(mantissa, Constant(1))));
    const Wide z = hn::Mul(s, s);
    const Wide series =
        hn::MulAdd(hn::MulAdd(Constant(0.595759607f), z, Constant(0.961588947f)), z, Constant(2.88539042f));
    const Wide log = hn::MulAdd(series, s, hn::ConvertTo(WideTag(), e));
    const Wide result = PowerOfTwo(hn::Mul(log, Constant(power.exponent)));
    return hn::IfThenElse(hn::Gt(base, Constant(0)), result, Constant(power.ofZero));
}

// The same for a power that has tables, which are faster where one instruction finds a coefficient for each lane.
HWY_INLINE Wide LookUpPower(Wide base, const Power& power) {
    const WideTag d;
    if constexpr (hn::MaxLanes(d) < Power::kParts) return ComputePower(base, power);
    const hn::RebindToSigned<WideTag> integers;
    const auto bits = hn::BitCast(integers, base);
    const auto mantissa = hn::Or(hn::And(bits, hn::Set(integers, 0x007fffff)), hn::Set(integers, 0x3f800000));
    const Wide x = hn::BitCast(d, mantissa);
    const auto part = hn::IndicesFromVec(d, hn::And(hn::ShiftRight<20>(bits), hn::Set(integers, hn::MaxLanes(d) - 1)));
    const auto coefficient = [&](std::size_t k)
                                 HWY_ATTR { return hn::TableLookupLanes(hn::LoadU(d, power.cubics[k].data()), part); };
    Wide sum = hn::MulAdd(coefficient(3), x, coefficient(2));
    sum = hn::MulAdd(sum, x, coefficient(1));
    sum = hn::MulAdd(sum, x, coefficient(0));
    return hn::Mul(sum, hn::GatherIndex(d, power.scales.data(), hn::ShiftRight<23>(bits)));
}

// The sRGB curve for numbers of 0 or more, in both directions.
HWY_INLINE Wide Encoded(Wide linear) {
    const Wide curve = hn::MulAdd(LookUpPower(linear, kEncodingPower), Constant(1.055f), Constant(-0.055f));
    return hn::IfThenElse(hn::Le(linear, Constant(0.0031308f)), hn::Mul(linear, Constant(12.92f)), curve);
}

HWY_INLINE Wide Decoded(Wide encoded) {
    const Wide base = hn::Mul(hn::Add(encoded, Constant(0.055f)), Constant(1 / 1.055f));
    return hn::IfThenElse(hn::Le(encoded, Constant(0.04045f)), hn::Mul(encoded, Constant(1 / 12.92f)),
                          LookUpPower(base, kDecodingPower));
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
