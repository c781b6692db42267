// planes.cpp - conversions block by block, and sums of rows by the kernels of the pixels' blurs; compiled once per
// instruction set.

#include "blur/planes.h"

#include <algorithm>
#include <cstring>

#include "sampling/weighted_sums.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "blur/planes.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Vectors as long as those that filters read and write: shorter ones would have to be joined in memory first.
HWY_ATTR void CopyBlock(const float* from, float* to) {
    const WideTag d;
    for (std::size_t k = 0; k < kBlockPixels; k += hn::MaxLanes(d)) hn::StoreU(hn::LoadU(d, from + k), d, to + k);
}

HWY_ATTR void BlocksFromPlanes(const float* const* rows, float* blocks, std::size_t count) {
    for (std::size_t pixel = 0; pixel < count; pixel += kBlockPixels) {
        for (std::size_t channel = 0; channel < kFloatsPerPixel; ++channel, blocks += kBlockPixels) {
            CopyBlock(rows[channel] + pixel, blocks);
        }
    }
}

HWY_ATTR void RowToPlanes(const float* pixels, std::size_t count, float* const* rows) {
    const WideTag d;
    const auto convert = [&](const float* from, std::size_t pixel) HWY_ATTR {
        Wide red, green, blue, alpha;
        hn::LoadInterleaved4(d, from, red, green, blue, alpha);
        hn::StoreU(red, d, rows[0] + pixel);
        hn::StoreU(green, d, rows[1] + pixel);
        hn::StoreU(blue, d, rows[2] + pixel);
        hn::StoreU(alpha, d, rows[3] + pixel);
    };
    std::size_t pixel = 0;
    for (; pixel + hn::MaxLanes(d) <= count; pixel += hn::MaxLanes(d)) convert(pixels + pixel * kFloatsPerPixel, pixel);
    if (pixel == count) return;
    HWY_ALIGN float last[hn::MaxLanes(d) * kFloatsPerPixel] = {};
    std::memcpy(last, pixels + pixel * kFloatsPerPixel, (count - pixel) * kPixelBytes);
    convert(last, pixel);
}

HWY_ATTR void RowFromPlanes(float* const* rows, std::size_t count, float* pixels) {
    const WideTag d;
    const auto convert = [&](std::size_t pixel, float* to) HWY_ATTR {
        hn::StoreInterleaved4(hn::LoadU(d, rows[0] + pixel), hn::LoadU(d, rows[1] + pixel),
                              hn::LoadU(d, rows[2] + pixel), hn::LoadU(d, rows[3] + pixel), d, to);
    };
    std::size_t pixel = 0;
    for (; pixel + hn::MaxLanes(d) <= count; pixel += hn::MaxLanes(d)) convert(pixel, pixels + pixel * kFloatsPerPixel);
    if (pixel == count) return;
    HWY_ALIGN float last[hn::MaxLanes(d) * kFloatsPerPixel];
    convert(pixel, last);
    std::memcpy(pixels + pixel * kFloatsPerPixel, last, (count - pixel) * kPixelBytes);
}

HWY_ATTR bool IsRowAll(const float* row, float value, std::size_t count) {
    const WideTag d;
    const Wide expected = hn::Set(d, value);
    std::size_t index = 0;
    for (; index + hn::MaxLanes(d) <= count; index += hn::MaxLanes(d)) {
        if (!hn::AllTrue(d, hn::Eq(hn::LoadU(d, row + index), expected))) return false;
    }
    return std::all_of(row + index, row + count, [=](float number) { return number == value; });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(BlocksFromPlanes);
HWY_EXPORT(RowToPlanes);
HWY_EXPORT(RowFromPlanes);
HWY_EXPORT(IsRowAll);

// The distance between rows: whole cache lines, an odd number of them, so that the numbers of a column do not compete
// for the same cache sets.
std::size_t StrideFor(std::size_t width) {
    const std::size_t lines = (width + kBlockPixels - 1) / kBlockPixels + 1;
    return (lines | 1) * kBlockPixels;
}

// A count rounded up to whole blocks. The kernels then have no rests, and rows have room for it.
std::size_t WholeBlocks(std::size_t count) { return (count + kBlockPixels - 1) / kBlockPixels * kBlockPixels; }

}  // namespace

Plane::Plane(const Region& region)
    : region_(region),
      stride_(StrideFor(Width())),
      numbers_(static_cast<float*>(AllocatePooled(stride_ * static_cast<std::size_t>(region.height) * sizeof(float)))) {
}

Planes MakePlanes(const Region& region) { return {Plane(region), Plane(region), Plane(region), Plane(region)}; }

Planes PlanesOf(const View& view) {
    Planes planes = MakePlanes(view.region);
    for (std::int64_t y = view.region.y; y < view.region.Top(); ++y) {
        RowToPlanes(view.Row(y), view.Width(), RowsOf(planes, y));
    }
    return planes;
}

PlaneRows RowsOf(Planes& planes, std::int64_t y) {
    return {planes[0].Row(y), planes[1].Row(y), planes[2].Row(y), planes[3].Row(y)};
}

void RowToPlanes(const float* pixels, std::size_t count, const PlaneRows& rows) {
    HWY_DYNAMIC_DISPATCH(RowToPlanes)(pixels, count, rows.data());
}

void RowFromPlanes(const PlaneRows& rows, std::size_t count, float* pixels) {
    HWY_DYNAMIC_DISPATCH(RowFromPlanes)(rows.data(), count, pixels);
}

void FromPlanes(const Planes& planes, const Run& run, float* blocks) {
    const auto start = static_cast<std::size_t>(run.x - planes[0].GetRegion().x);
    const float* rows[kFloatsPerPixel];
    for (std::size_t channel = 0; channel < kFloatsPerPixel; ++channel)
        rows[channel] = planes[channel].Row(run.y) + start;
    HWY_DYNAMIC_DISPATCH(BlocksFromPlanes)(rows, blocks, run.count);
}

bool AreAll(const Plane& plane, float value) {
    const Region& region = plane.GetRegion();
    for (std::int64_t y = region.y; y < region.Top(); ++y) {
        if (!IsRowAll(plane, y, value)) return false;
    }
    return true;
}

bool IsRowAll(const Plane& plane, std::int64_t y, float value) {
    return HWY_DYNAMIC_DISPATCH(IsRowAll)(plane.Row(y), value, plane.Width());
}

void BlurPlane(const Plane& plane, const std::vector<float>& weights, Plane& out, RowsAhead* ahead) {
    // Rows that are summed together, because they share most of what they read.
    constexpr std::int64_t kTogether = 16;
    const auto reach = static_cast<std::int64_t>(weights.size() / 2);
    const Region& region = out.GetRegion();
    const auto above = static_cast<std::size_t>(region.x - reach - plane.GetRegion().x);
    Plane lines({region.x - reach, 0, region.width + 2 * reach, kTogether});
    float* sums[kTogether];
    for (std::int64_t i = 0; i < kTogether; ++i) sums[i] = lines.Row(i);
    std::vector<const float*> rows;
    for (std::int64_t y = region.y; y < region.Top(); y += kTogether) {
        const std::int64_t count = std::min(kTogether, region.Top() - y);
        rows.clear();
        for (std::int64_t row = y - reach; row < y + reach + count; ++row) rows.push_back(plane.Row(row) + above);
        SumRowsTogether(rows.data(), weights.data(), weights.size(), sums, static_cast<std::size_t>(count),
                        WholeBlocks(lines.Width()));
        for (std::int64_t i = 0; i < count; ++i) {
            SumAlong(sums[i], 1, weights.data(), weights.size(), out.Row(y + i), WholeBlocks(out.Width()),
                     ahead != nullptr ? &ahead[y + i - region.y] : nullptr);
        }
    }
}

}  // namespace core_image
#endif
