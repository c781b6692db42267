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
    return hn::Sub(hn::MulAdd(Clamp01(number), hn::Set(d, 255.0f), hn::Set(d, kRounding)), hn::Set(d, kRounding));
}

// The cells of a table in which colors lie: the index of each cell's lower corner among the floats of the table, and
// how far from it the color is in each direction, 0 to 1.
struct Cells {
    hn::Vec<hn::RebindToSigned<WideTag>> corner;
    Wide red, green, blue;

    HWY_INLINE Cells(const Colors& c, int dimension) {
        const auto edge = static_cast<float>(dimension);
        const auto cellOf = [edge](Wide color, Wide& share) HWY_ATTR {
            const Wide place = hn::Mul(Clamp01(color), Constant(edge - 1));
            const Wide cell = hn::Min(hn::Floor(place), Constant(edge - 2));
            share = hn::Sub(place, cell);
            return cell;
        };
        // Exact, since a table has fewer floats than the integers that a float represents exactly.
        const Wide row = hn::MulAdd(cellOf(c.blue, blue), Constant(edge), cellOf(c.green, green));
        const Wide cell = hn::MulAdd(row, Constant(4 * edge), hn::Mul(cellOf(c.red, red), Constant(4)));
        corner = hn::ConvertTo(hn::RebindToSigned<WideTag>(), cell);
    }
};

// load(index) returns the levels of the texel at an index among the floats of the table, and those of the next texel.
template <class Load>
HWY_INLINE void LookUpLevels(const Load& load, int dimension, float* blocks, std::size_t count) {
    const std::size_t green = 4 * static_cast<std::size_t>(dimension);
    const std::size_t blue = green * static_cast<std::size_t>(dimension);
    HWY_ALIGN std::int32_t corners[kBlockPixels];
    HWY_ALIGN float shares[3][kBlockPixels];
    const auto prepare = [&](std::size_t pixel, const Colors& c) HWY_ATTR {
        const Cells cells(c, dimension);
        hn::Store(cells.corner, hn::RebindToSigned<WideTag>(), corners + pixel);
        hn::Store(cells.red, WideTag(), shares[0] + pixel);
        hn::Store(cells.green, WideTag(), shares[1] + pixel);
        hn::Store(cells.blue, WideTag(), shares[2] + pixel);
    };
    const auto look = [&](std::size_t pixel) HWY_ATTR {
        const auto corner = static_cast<std::size_t>(corners[pixel]);
        const auto rows = [&](std::size_t texel)
                              HWY_ATTR { return Between(load(texel), load(texel + green), shares[1][pixel]); };
        return Between(Between(rows(corner), rows(corner + blue), shares[2][pixel]), shares[0][pixel]);
    };
    LookUp(blocks, count, 1.0f / 255, prepare, look);
}

HWY_ATTR void LookUpCubeOfFloats(const float* texels, int dimension, float* blocks, std::size_t count) {
    const auto load = [texels](std::size_t index) HWY_ATTR {
        return OfBoth([](auto texel) HWY_ATTR { return RoundedLevel(texel); }, LoadPair(texels + index));
    };
    LookUpLevels(load, dimension, blocks, count);
}

#if HWY_MAX_BYTES >= 64

// Sixteen texels of four bytes.
using Texels = hn::Vec<hn::Rebind<std::uint32_t, WideTag>>;

// Two neighboring texels for each pixel of a vector. The index of the first is in bytes.
struct TexelPairs {
    Texels first, second;

    HWY_INLINE TexelPairs(const std::uint8_t* levels, hn::Vec<hn::RebindToSigned<WideTag>> index) {
        const hn::RebindToSigned<WideTag> integers;
        const hn::Repartition<std::int64_t, WideTag> wide;
        const hn::RebindToUnsigned<decltype(wide)> pairs;
        const hn::Repartition<std::uint32_t, WideTag> texels;
        const auto* base = reinterpret_cast<const std::uint64_t*>(levels);
        const auto low = hn::GatherOffset(pairs, base, hn::PromoteTo(wide, hn::LowerHalf(index)));
        const auto high =
            hn::GatherOffset(pairs, base, hn::PromoteTo(wide, hn::UpperHalf(hn::Half<decltype(integers)>(), index)));
        first = hn::ConcatEven(texels, hn::BitCast(texels, high), hn::BitCast(texels, low));
        second = hn::ConcatOdd(texels, hn::BitCast(texels, high), hn::BitCast(texels, low));
    }
};

// Looks up all pixels of a vector together: gathering their texels takes half the time of loading each.
struct CubeOfBytes {
    const std::uint8_t* levels;
    int dimension;

    // The levels of one channel of texels.
    template <int kChannel>
    HWY_INLINE static Wide LevelsOf(Texels texels) {
        const hn::RebindToSigned<WideTag> integers;
        const auto byte = hn::And(hn::ShiftRight<8 * kChannel>(texels), hn::Set(hn::DFromV<Texels>(), 255));
        return hn::ConvertTo(WideTag(), hn::BitCast(integers, byte));
    }

    template <int kChannel>
    HWY_INLINE static Wide Look(const TexelPairs (&rows)[4], const Cells& cells) {
        const auto mix = [](Wide a, Wide b, Wide share) HWY_ATTR { return hn::MulAdd(hn::Sub(b, a), share, a); };
        const auto face = [&](Texels TexelPairs::*side) HWY_ATTR {
            const auto row = [&](int i) HWY_ATTR { return LevelsOf<kChannel>(rows[i].*side); };
            return mix(mix(row(0), row(1), cells.green), mix(row(2), row(3), cells.green), cells.blue);
        };
        return mix(face(&TexelPairs::first), face(&TexelPairs::second), cells.red);
    }

    HWY_INLINE void operator()(Colors& c) const {
        MakeFinite(c);
        Unpremultiply(c);
        const Cells cells(c, dimension);
        const std::size_t green = 4 * static_cast<std::size_t>(dimension);
        const std::size_t blue = green * static_cast<std::size_t>(dimension);
        const TexelPairs rows[] = {{levels, cells.corner},
                                   {levels + green, cells.corner},
                                   {levels + blue, cells.corner},
                                   {levels + green + blue, cells.corner}};
        const Wide alpha = hn::Mul(c.alpha, Constant(1.0f / 255));
        c = {hn::Mul(Look<0>(rows, cells), alpha), hn::Mul(Look<1>(rows, cells), alpha),
             hn::Mul(Look<2>(rows, cells), alpha), hn::Mul(Look<3>(rows, cells), alpha)};
    }
};

HWY_ATTR void LookUpCubeOfBytes(const std::uint8_t* levels, int dimension, float* blocks, std::size_t count) {
    ForEachPixel(blocks, count, CubeOfBytes{levels, dimension});
}

#else

HWY_ATTR void LookUpCubeOfBytes(const std::uint8_t* levels, int dimension, float* blocks, std::size_t count) {
    LookUpLevels([levels](std::size_t index) HWY_ATTR { return LoadPair(levels + index); }, dimension, blocks, count);
}

#endif

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
