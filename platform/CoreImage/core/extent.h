// extent.h - rectangles: where an image is, and which pixels are requested.
//
// Extent: edges at whole numbers or infinity, stored as doubles, so that intersection and growth need no special
// cases.
// Region: whole pixels, finite.
// Pixel (i, j) covers [i, i+1) x [j, j+1); y points up.
// Threads: plain values.

#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

namespace core_image {

// A finite rectangle of pixels.
struct Region {
    std::int64_t x = 0;
    std::int64_t y = 0;
    std::int64_t width = 0;
    std::int64_t height = 0;

    bool IsEmpty() const { return width <= 0 || height <= 0; }
    std::int64_t Right() const { return x + width; }
    std::int64_t Top() const { return y + height; }
    bool Contains(std::int64_t pixelX, std::int64_t pixelY) const {
        return pixelX >= x && pixelX < Right() && pixelY >= y && pixelY < Top();
    }
    bool Contains(const Region& other) const {
        return other.x >= x && other.Right() <= Right() && other.y >= y && other.Top() <= Top();
    }
    [[nodiscard]] Region GrownBy(std::int64_t amount) const {
        return {x - amount, y - amount, width + 2 * amount, height + 2 * amount};
    }
    [[nodiscard]] Region Intersection(const Region& other) const {
        const std::int64_t left = std::max(x, other.x);
        const std::int64_t bottom = std::max(y, other.y);
        return {left, bottom, std::min(Right(), other.Right()) - left, std::min(Top(), other.Top()) - bottom};
    }
    bool operator==(const Region&) const = default;
};

// The number of pixels of a region, which may be too large for an integer.
inline double PixelCount(const Region& region) {
    return static_cast<double>(region.width) * static_cast<double>(region.height);
}

// The rectangle outside which an image is transparent.
struct Extent {
    double left = 0;
    double bottom = 0;
    double right = 0;
    double top = 0;

    static constexpr Extent Infinite() {
        constexpr double far = std::numeric_limits<double>::infinity();
        return {-far, -far, far, far};
    }
    static Extent Of(const Region& region) {
        return {static_cast<double>(region.x), static_cast<double>(region.y), static_cast<double>(region.Right()),
                static_cast<double>(region.Top())};
    }
    // Written so that a NaN edge makes the extent empty.
    bool IsEmpty() const { return !(right > left && top > bottom); }
    bool IsInfinite() const { return *this == Infinite(); }
    [[nodiscard]] Extent GrownBy(double amount) const {
        return {left - amount, bottom - amount, right + amount, top + amount};
    }
    [[nodiscard]] Extent Intersection(const Extent& other) const {
        const Extent shared = {std::max(left, other.left), std::max(bottom, other.bottom), std::min(right, other.right),
                               std::min(top, other.top)};
        return shared.IsEmpty() ? Extent{} : shared;
    }
    // The smallest extent that contains both.
    [[nodiscard]] Extent UnionWith(const Extent& other) const {
        if (IsEmpty()) return other;
        if (other.IsEmpty()) return *this;
        return {std::min(left, other.left), std::min(bottom, other.bottom), std::max(right, other.right),
                std::max(top, other.top)};
    }
    bool operator==(const Extent&) const = default;
};

// The pixels whose edges and centers are exact as doubles: up to 2^52 in each direction.
inline constexpr Region kCountable = {-(std::int64_t{1} << 52), -(std::int64_t{1} << 52), std::int64_t{1} << 53,
                                      std::int64_t{1} << 53};

// The pixels that an extent covers. Returns false for an extent that is empty, infinite, or so far from the origin
// that its pixels cannot be counted exactly.
[[nodiscard]] bool RegionOfExtent(const Extent& extent, Region* region) noexcept;

// An extent in units of n pixels, rounded outward.
[[nodiscard]] Extent Divided(const Extent& extent, double n);

// The pixels of a region that lie in an extent.
[[nodiscard]] inline Region Clip(const Region& region, const Extent& extent) {
    const Extent shared = Extent::Of(region).Intersection(extent);
    if (shared.IsEmpty()) return {};
    const auto x = static_cast<std::int64_t>(shared.left);
    const auto y = static_cast<std::int64_t>(shared.bottom);
    return {x, y, static_cast<std::int64_t>(shared.right) - x, static_cast<std::int64_t>(shared.top) - y};
}

}  // namespace core_image
