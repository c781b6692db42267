// cube_kernels.cpp - the inner loops of cubes, compiled once for every instruction set.

#include "colour/cube_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "colour/cube_kernels.cpp"
#include <hwy/foreach_target.h>

#include "core/power-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

using PixelTag = hn::FixedTag<float, 4>;
using PixelVector = hn::Vec<PixelTag>;

// What lies at a share of the way from a to b.
HWY_INLINE PixelVector Between(PixelVector a, PixelVector b, PixelVector share) {
    return hn::MulAdd(hn::Sub(b, a), share, a);
}

// Why one pixel at a time: its texels lie apart in memory, but each is a vector of its own.
HWY_ATTR void LookUpCube(const float* texels, int dimension, float* pixels, std::size_t count) {
    const PixelTag d;
    const hn::RebindToSigned<PixelTag> integers;
    const std::size_t green = 4 * static_cast<std::size_t>(dimension);
    const std::size_t blue = green * static_cast<std::size_t>(dimension);
    const auto scale = hn::Set(d, static_cast<float>(dimension - 1));
    const auto last = hn::Set(d, static_cast<float>(dimension - 2));
    for (float* pixel = pixels; pixel != pixels + 4 * count; pixel += 4) {
        const auto value = Finite(hn::LoadU(d, pixel));
        const auto alpha = hn::Broadcast<3>(value);
        const auto colour = hn::IfThenElseZero(hn::Ne(alpha, hn::Zero(d)), hn::Div(value, alpha));
        const auto place = hn::Mul(Clamp01(colour), scale);
        const auto cell = hn::Min(hn::Floor(place), last);
        const auto share = hn::Sub(place, cell);
        HWY_ALIGN std::int32_t cells[4];
        hn::Store(hn::ConvertTo(integers, cell), integers, cells);
        const float* texel = texels + static_cast<std::size_t>(cells[0]) * 4 +
                             static_cast<std::size_t>(cells[1]) * green + static_cast<std::size_t>(cells[2]) * blue;
        const auto row = [&](std::size_t offset) HWY_ATTR {
            return Between(hn::LoadU(d, texel + offset), hn::LoadU(d, texel + offset + 4), hn::Broadcast<0>(share));
        };
        const auto square = [&](std::size_t offset)
                                HWY_ATTR { return Between(row(offset), row(offset + green), hn::Broadcast<1>(share)); };
        hn::StoreU(hn::Mul(Between(square(0), square(blue), hn::Broadcast<2>(share)), alpha), d, pixel);
    }
}

struct Encode {
    HWY_INLINE void operator()(Colours& c) const {
        Unpremultiply(c);
        c = {Encoded(Clamp01(c.red)), Encoded(Clamp01(c.green)), Encoded(Clamp01(c.blue)), c.alpha};
        Premultiply(c);
    }
};

struct Decode {
    HWY_INLINE void operator()(Colours& c) const {
        Unpremultiply(c);
        c = {Decoded(Clamp01(c.red)), Decoded(Clamp01(c.green)), Decoded(Clamp01(c.blue)), c.alpha};
        Premultiply(c);
    }
};

HWY_ATTR void EncodeRow(float* pixels, std::size_t count) { ForEachPixel(pixels, count, Encode()); }
HWY_ATTR void DecodeRow(float* pixels, std::size_t count) { ForEachPixel(pixels, count, Decode()); }

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(LookUpCube);
HWY_EXPORT(EncodeRow);
HWY_EXPORT(DecodeRow);

void LookUpCube(const float* texels, int dimension, float* pixels, std::size_t count) {
    HWY_DYNAMIC_DISPATCH(LookUpCube)(texels, dimension, pixels, count);
}

void EncodeRow(float* pixels, std::size_t count) { HWY_DYNAMIC_DISPATCH(EncodeRow)(pixels, count); }

void DecodeRow(float* pixels, std::size_t count) { HWY_DYNAMIC_DISPATCH(DecodeRow)(pixels, count); }

}  // namespace core_image
#endif
