// transfer_run.cpp - the sRGB curve for runs; compiled once per instruction set.

#include "core/transfer.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/transfer_run.cpp"
#include <hwy/foreach_target.h>

#include "core/power-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Divides by alpha, applies a curve to the magnitude of each color, and multiplies again.
template <class Curve>
HWY_INLINE void FollowCurve(Colors& c, const Curve& curve) {
    MakeFinite(c);
    Unpremultiply(c);
    for (Wide* color : {&c.red, &c.green, &c.blue}) *color = hn::CopySign(curve(hn::Abs(*color)), *color);
    Premultiply(c);
}

HWY_ATTR void EncodeRun(float* blocks, std::size_t count) {
    ForEachPixel(blocks, count,
                 [](Colors& c) HWY_ATTR { FollowCurve(c, [](Wide linear) HWY_ATTR { return Encoded(linear); }); });
}

HWY_ATTR void DecodeRun(float* blocks, std::size_t count) {
    ForEachPixel(blocks, count,
                 [](Colors& c) HWY_ATTR { FollowCurve(c, [](Wide encoded) HWY_ATTR { return Decoded(encoded); }); });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(EncodeRun);
HWY_EXPORT(DecodeRun);

void EncodeRun(float* blocks, std::size_t count) { HWY_DYNAMIC_DISPATCH(EncodeRun)(blocks, count); }

void DecodeRun(float* blocks, std::size_t count) { HWY_DYNAMIC_DISPATCH(DecodeRun)(blocks, count); }

}  // namespace core_image
#endif
