// bitmap_store.cpp - encodes linear, premultiplied pixels for a bitmap; compiled once per instruction set.
//
// Why nothing is clipped until the end: alpha may exceed 1 between filters. Colors are divided by that alpha and
// multiplied by it again, and only then is everything clipped. Clipping alpha first would change the colors of sums.

#include <cstring>

#include "core/bitmap.h"
#include "core/transfer.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/bitmap_store.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// The nearest byte to a number of 0...1, in the lowest bits of an integer; 0 for NaN.
HWY_INLINE auto ToByte(Wide value) {
    const Wide positive = hn::IfThenElseZero(hn::Gt(value, Constant(0)), value);
    const Wide scaled = hn::MulAdd(hn::Min(positive, Constant(1)), Constant(255), Constant(0.5f));
    return hn::ConvertTo(hn::RebindToSigned<WideTag>(), scaled);
}

// Divides colors by alpha as it is stored, in steps of 1 / most: it is at most 1, and colors without any are black.
HWY_INLINE void MakeStraight(Colors& c, float most) {
    c.alpha = hn::IfThenElse(hn::Gt(c.alpha, Constant(1)), Constant(1), c.alpha);
    const auto isStored = hn::Ge(c.alpha, Constant(0.5f / most));
    c.alpha = hn::IfThenElseZero(isStored, c.alpha);
    Unpremultiply(c);
}

// Converts blocks to pixels of bytes, in place. Red is in the lowest bits of a pixel.
HWY_ATTR void ToBytes(float* blocks, std::size_t count, bool isStraight) {
    const hn::RebindToSigned<WideTag> integers;
    auto* to = reinterpret_cast<std::int32_t*>(blocks);
    for (std::size_t pixel = 0; pixel < count; pixel += hn::MaxLanes(WideTag())) {
        Colors c = LoadColors(blocks + PlaceInBlocks(pixel));
        if (isStraight) MakeStraight(c, 255);
        const auto redGreen = hn::Or(ToByte(c.red), hn::ShiftLeft<8>(ToByte(c.green)));
        const auto blueAlpha = hn::Or(ToByte(c.blue), hn::ShiftLeft<8>(ToByte(c.alpha)));
        hn::StoreU(hn::Or(redGreen, hn::ShiftLeft<16>(blueAlpha)), integers, to + pixel);
    }
}

// Converts blocks to pixels of words, in place.
//
// Why in two steps: a pixel of words takes half the memory of one of floats, so writing one would overwrite numbers of
// its block that are still to be read, if these did not stand pixel by pixel.
HWY_ATTR void ToWords(float* blocks, std::size_t count) {
    const WideTag d;
    const hn::RebindToSigned<WideTag> integers;
    const hn::Rebind<std::uint16_t, WideTag> halves;
    ForEachPixel(blocks, count, [](Colors& c) HWY_ATTR { MakeStraight(c, 65535); });
    core_image::FromBlocks(blocks, count, blocks);
    auto* to = reinterpret_cast<std::uint16_t*>(blocks);
    for (std::size_t i = 0; i < count * kFloatsPerPixel; i += hn::MaxLanes(d)) {
        const Wide value = hn::LoadU(d, blocks + i);
        const Wide positive = hn::IfThenElseZero(hn::Gt(value, Constant(0)), value);
        const Wide scaled = hn::MulAdd(hn::Min(positive, Constant(1)), Constant(65535), Constant(0.5f));
        hn::StoreU(hn::DemoteTo(halves, hn::ConvertTo(integers, scaled)), halves, to + i);
    }
}

// Copies whole cache lines with non-temporal stores.
HWY_ATTR void CopyLines(const std::uint8_t* from, std::size_t bytes, std::uint8_t* to) {
    const hn::ScalableTag<std::uint8_t> d;
    for (std::size_t index = 0; index < bytes; index += hn::Lanes(d)) {
        hn::Stream(hn::LoadU(d, from + index), d, to + index);
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(ToBytes);
HWY_EXPORT(ToWords);
HWY_EXPORT(CopyLines);

void* PlaceIn(const BitmapDestination& destination, const Region& region, std::int64_t x, std::int64_t y) {
    const auto row = static_cast<std::ptrdiff_t>(region.Top() - 1 - y);
    const auto column = static_cast<std::ptrdiff_t>(x - region.x);
    return static_cast<std::uint8_t*>(destination.pixels) + row * destination.bytesPerRow +
           column * static_cast<std::ptrdiff_t>(SizeOfPixel(destination.format));
}

}  // namespace

std::size_t PixelsToLine(const BitmapDestination& destination, const Region& region, std::int64_t x, std::int64_t y) {
    const auto beyond = reinterpret_cast<std::uintptr_t>(PlaceIn(destination, region, x, y)) % kLineBytes;
    return (kLineBytes - beyond) % kLineBytes / SizeOfPixel(destination.format);
}

void Store(float* blocks, const Run& run, const Region& region, const BitmapDestination& destination, bool pastCache) {
    if (destination.transfer == Transfer::kSRGB) EncodeRun(blocks, run.count);
    auto* to = static_cast<std::uint8_t*>(PlaceIn(destination, region, run.x, run.y));
    const bool byLines = pastCache && reinterpret_cast<std::uintptr_t>(to) % kLineBytes == 0;
    if (destination.format == PixelFormat::kBytes) {
        HWY_DYNAMIC_DISPATCH(ToBytes)(blocks, run.count, destination.hasStraightBytes);
    } else if (destination.format == PixelFormat::kWords) {
        HWY_DYNAMIC_DISPATCH(ToWords)(blocks, run.count);
    } else {
        FromBlocks(blocks, run.count, reinterpret_cast<float*>(to), byLines);
        return;
    }
    const auto* from = reinterpret_cast<const std::uint8_t*>(blocks);
    std::size_t bytes = run.count * SizeOfPixel(destination.format);
    if (byLines) {
        const std::size_t lines = bytes / kLineBytes * kLineBytes;
        HWY_DYNAMIC_DISPATCH(CopyLines)(from, lines, to);
        from += lines, to += lines, bytes -= lines;
    }
    std::memcpy(to, from, bytes);
}

}  // namespace core_image
#endif
