// places-inl.h - vectors of places and of offsets between them, in doubles: far from the origin a float cannot tell two
// pixels apart.
//
// A source file that is compiled once per instruction set includes this file each time.

#if defined(CORE_IMAGE_PLACES_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef CORE_IMAGE_PLACES_INL_H
#undef CORE_IMAGE_PLACES_INL_H
#else
#define CORE_IMAGE_PLACES_INL_H
#endif

#include <hwy/highway.h>

#include <cstdint>
#include <numbers>

#include <hwy/contrib/math/math-inl.h>

#include "core/run.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using PlaceTag = hn::CappedTag<double, kBlockPixels>;
using PlaceVector = hn::Vec<PlaceTag>;

constexpr double kTurn = 2 * std::numbers::pi;

HWY_INLINE PlaceVector Number(double value) { return hn::Set(PlaceTag(), value); }

// The centers of consecutive pixels of a row.
HWY_INLINE PlaceVector CentersFrom(std::int64_t pixel) {
    return hn::Iota(PlaceTag(), static_cast<double>(pixel) + 0.5);
}

HWY_INLINE PlaceVector Length(PlaceVector x, PlaceVector y) { return hn::Sqrt(hn::MulAdd(x, x, hn::Mul(y, y))); }

// 1 - t t (3 - 2 t) for t of at least 0; exactly 0 from 1 on.
HWY_INLINE PlaceVector SmoothFall(PlaceVector t) {
    t = hn::Min(t, Number(1));
    return hn::NegMulAdd(hn::Mul(t, t), hn::NegMulAdd(Number(2), t, Number(3)), Number(1));
}

// The angle of a direction, from -kTurn / 2 to kTurn / 2; 0 for (0, 0).
HWY_INLINE PlaceVector Angle(PlaceVector y, PlaceVector x) {
    const PlaceVector width = hn::Abs(x), height = hn::Abs(y);
    const PlaceVector longer = hn::Max(hn::Max(width, height), Number(1e-300));
    PlaceVector angle = hn::Atan(PlaceTag(), hn::Div(hn::Min(width, height), longer));
    angle = hn::IfThenElse(hn::Gt(height, width), hn::Sub(Number(kTurn / 4), angle), angle);
    angle = hn::IfThenElse(hn::Lt(x, Number(0)), hn::Sub(Number(kTurn / 2), angle), angle);
    return hn::CopySign(angle, y);
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
