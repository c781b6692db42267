// cube_kernels.cpp - the inner loops of cubes, compiled once per instruction set.

#include "color/cube_kernels.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/cube_kernels.cpp"
#include <hwy/foreach_target.h>

#include "color/texels-inl.h"
#include "core/power-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// The level of a byte, 0...255, to which a number is rounded; the level of 0 for NaN.
template <class V>
HWY_INLINE V RoundedLevel(V number) {
    const hn::DFromV<V> d;
    // Adding this to a number of 0...255 rounds it to an integer.
    constexpr float kRounding = 8388608;
    // In this order the maximum of NaN and 0 is 0.
    const V bounded = hn::Min(hn::Max(number, hn::Zero(d)), hn::Set(d, 1.0f));
    return hn::Sub(hn::MulAdd(bounded, hn::Set(d, 255.0f), hn::Set(d, kRounding)), hn::Set(d, kRounding));
}

// load(index) returns the levels of the texel at an index among the floats of the table, and those of the next texel.
template <class Load>
HWY_INLINE void LookUpLevels(const Load& load, int dimension, float* blocks, std::size_t count) {
    const std::size_t green = 4 * static_cast<std::size_t>(dimension);
    const std::size_t blue = green * static_cast<std::size_t>(dimension);
    const auto edge = static_cast<float>(dimension);
    HWY_ALIGN std::int32_t cells[kBlockPixels];
    HWY_ALIGN float shares[3][kBlockPixels];
    const auto prepare = [&](std::size_t pixel, const Colors& c) HWY_ATTR {
        const auto cellOf = [&](Wide color, std::size_t axis) HWY_ATTR {
            const Wide place = hn::Mul(Clamp01(color), Constant(edge - 1));
            const Wide cell = hn::Min(hn::Floor(place), Constant(edge - 2));
            hn::Store(hn::Sub(place, cell), WideTag(), shares[axis] + pixel);
            return cell;
        };
        // Exact, since a table has fewer floats than the integers that a float represents exactly.
        const Wide row = hn::MulAdd(cellOf(c.blue, 2), Constant(edge), cellOf(c.green, 1));
        const Wide cell = hn::MulAdd(row, Constant(4 * edge), hn::Mul(cellOf(c.red, 0), Constant(4)));
        const hn::RebindToSigned<WideTag> integers;
        hn::Store(hn::ConvertTo(integers, cell), integers, cells + pixel);
    };
    const auto look = [&](std::size_t pixel) HWY_ATTR {
        const auto cell = static_cast<std::size_t>(cells[pixel]);
        const auto rows = [&](std::size_t texel)
                              HWY_ATTR { return Between(load(texel), load(texel + green), shares[1][pixel]); };
        return Between(Between(rows(cell), rows(cell + blue), shares[2][pixel]), shares[0][pixel]);
    };
    LookUp(blocks, count, 1.0f / 255, prepare, look);
}

HWY_ATTR void LookUpCubeOfFloats(const float* texels, int dimension, float* blocks, std::size_t count) {
    const auto load = [texels](std::size_t index) HWY_ATTR {
        return OfBoth([](auto texel) HWY_ATTR { return RoundedLevel(texel); }, LoadPair(texels + index));
    };
    LookUpLevels(load, dimension, blocks, count);
}

HWY_ATTR void LookUpCubeOfBytes(const std::uint8_t* levels, int dimension, float* blocks, std::size_t count) {
    LookUpLevels([levels](std::size_t index) HWY_ATTR { return LoadPair(levels + index); }, dimension, blocks, count);
}

HWY_ATTR void RoundTexels(const float* texels, std::size_t count, std::uint8_t* levels) {
    for (std::size_t index = 0; index < count; index += kFloatsPerPixel) {
        const auto level = RoundedLevel(hn::LoadU(TexelTag(), texels + index));
        const hn::RebindToSigned<TexelTag> integers;
        const hn::Rebind<std::uint8_t, TexelTag> bytes;
        hn::StoreU(hn::DemoteTo(bytes, hn::ConvertTo(integers, level)), bytes, levels + index);
    }
}

struct Encode {
    HWY_INLINE void operator()(Colors& c) const {
        Unpremultiply(c);
        c = {Encoded(Clamp01(c.red)), Encoded(Clamp01(c.green)), Encoded(Clamp01(c.blue)), c.alpha};
        Premultiply(c);
    }
};

struct Decode {
    HWY_INLINE void operator()(Colors& c) const {
        Unpremultiply(c);
        c = {Decoded(Clamp01(c.red)), Decoded(Clamp01(c.green)), Decoded(Clamp01(c.blue)), c.alpha};
        Premultiply(c);
    }
};

HWY_ATTR void EncodeClipped(float* blocks, std::size_t count) { ForEachPixel(blocks, count, Encode()); }
HWY_ATTR void DecodeClipped(float* blocks, std::size_t count) { ForEachPixel(blocks, count, Decode()); }

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(LookUpCubeOfFloats);
HWY_EXPORT(LookUpCubeOfBytes);
HWY_EXPORT(RoundTexels);
HWY_EXPORT(EncodeClipped);
HWY_EXPORT(DecodeClipped);

void LookUpCube(const float* texels, int dimension, float* blocks, std::size_t count) {
    HWY_DYNAMIC_DISPATCH(LookUpCubeOfFloats)(texels, dimension, blocks, count);
}

void LookUpCube(const std::uint8_t* levels, int dimension, float* blocks, std::size_t count) {
    HWY_DYNAMIC_DISPATCH(LookUpCubeOfBytes)(levels, dimension, blocks, count);
}

void RoundTexels(const float* texels, std::size_t count, std::uint8_t* levels) {
    HWY_DYNAMIC_DISPATCH(RoundTexels)(texels, count, levels);
}

void EncodeClipped(float* blocks, std::size_t count) { HWY_DYNAMIC_DISPATCH(EncodeClipped)(blocks, count); }

void DecodeClipped(float* blocks, std::size_t count) { HWY_DYNAMIC_DISPATCH(DecodeClipped)(blocks, count); }

}  // namespace core_image
#endif
