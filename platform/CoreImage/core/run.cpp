// run.cpp - converts between the two forms of pixels; compiled once per instruction set.

#include "core/run.h"

#include <hwy/cache_control.h>

#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "core/run.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

constexpr std::size_t kBlockFloats = kBlockPixels * kFloatsPerPixel;

// Prefetches pixels two runs ahead. Why: nothing else reads memory while a run is processed, and the hardware
// prefetcher stops at page ends. Prefetching beyond the last pixel is harmless.
constexpr std::size_t kFloatsAhead = 2 * kRunFloats;

// Where a block can be read while it is written: a copy if both forms are at the same address.
HWY_INLINE const float* Readable(const float* block, const float* written, float* copy) {
    if (block != written) return block;
    std::memcpy(copy, block, kBlockFloats * sizeof(float));
    return copy;
}

HWY_INLINE void BlockOf(const float* pixels, float* block) {
    HWY_ALIGN float copy[kBlockFloats];
    pixels = Readable(pixels, block, copy);
    for (std::size_t pixel = 0; pixel < kBlockPixels; pixel += hn::MaxLanes(WideTag())) {
        Colors c;
        hn::LoadInterleaved4(WideTag(), pixels + pixel * kFloatsPerPixel, c.red, c.green, c.blue, c.alpha);
        StoreColors(c, block + pixel);
    }
}

HWY_INLINE void PixelsOf(const float* block, float* pixels) {
    HWY_ALIGN float copy[kBlockFloats];
    block = Readable(block, pixels, copy);
    for (std::size_t pixel = 0; pixel < kBlockPixels; pixel += hn::MaxLanes(WideTag())) {
        const Colors c = LoadColors(block + pixel);
        hn::StoreInterleaved4(c.red, c.green, c.blue, c.alpha, WideTag(), pixels + pixel * kFloatsPerPixel);
    }
}

HWY_ATTR void ToBlocks(const float* pixels, std::size_t count, float* blocks) {
    const std::size_t rest = count % kBlockPixels * kFloatsPerPixel;
    for (; count >= kBlockPixels; count -= kBlockPixels, pixels += kBlockFloats, blocks += kBlockFloats) {
        for (std::size_t line = 0; line < kBlockFloats; line += kFloatsPerLine) {
            hwy::Prefetch(pixels + kFloatsAhead + line);
        }
        BlockOf(pixels, blocks);
    }
    if (rest == 0) return;
    HWY_ALIGN float last[kBlockFloats] = {};
    std::memcpy(last, pixels, rest * sizeof(float));  // may be unaligned
    BlockOf(last, blocks);
}

HWY_INLINE void StreamPixelsOf(const float* block, float* pixels) {
    HWY_ALIGN float kept[kBlockFloats];  // in registers, if there are enough of them
    PixelsOf(block, kept);
    for (std::size_t i = 0; i < kBlockFloats; i += hn::MaxLanes(WideTag())) {
        hn::Stream(hn::Load(WideTag(), kept + i), WideTag(), pixels + i);
    }
}

HWY_ATTR void FromBlocks(const float* blocks, std::size_t count, float* pixels, bool pastCache) {
    const std::size_t rest = count % kBlockPixels * kFloatsPerPixel;
    for (; count >= kBlockPixels; count -= kBlockPixels, pixels += kBlockFloats, blocks += kBlockFloats) {
        pastCache ? StreamPixelsOf(blocks, pixels) : PixelsOf(blocks, pixels);
    }
    if (rest == 0) return;
    HWY_ALIGN float last[kBlockFloats];
    PixelsOf(blocks, last);
    std::memcpy(pixels, last, rest * sizeof(float));
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(ToBlocks);
HWY_EXPORT(FromBlocks);

void ToBlocks(const float* pixels, std::size_t count, float* blocks) {
    HWY_DYNAMIC_DISPATCH(ToBlocks)(pixels, count, blocks);
}

void FromBlocks(const float* blocks, std::size_t count, float* pixels, bool pastCache) {
    HWY_DYNAMIC_DISPATCH(FromBlocks)(blocks, count, pixels, pastCache);
}

}  // namespace core_image
#endif
