// bars_swipe.cpp - bars of the image slide away, the first ones first and ever faster, and uncover the target.
//
// Bars of inputWidth lie side by side along inputAngle; the first is where u = x cos + y sin is least. Bar i has
// slid by inputBarOffset n^2 with n = max(0, time M - i), at right angles to u: its pixel (x, y) is the image's
// pixel at (x - sin slid, y + cos slid).

#include <algorithm>
#include <cmath>
#include <utility>

#include "sampling/warp.h"
#include "transition/between.h"
#include "transition/filters.h"
#include "transition/formulas.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "transition/bars_swipe.cpp"
#include <hwy/foreach_target.h>

#include "sampling/warp-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Writes where the pixels of a row come from. The bars lie along (x, y), the first at a least position, and a bar has
// slid by offset n n, where n is how many bars before reach it is.
HWY_ATTR void BarPlaces(const PlaceRow& row, const Direction& across, double least, double width, double offset,
                        double reach, double* x, double* y) {
    ForEachPlaceOf(row, x, y, [&](std::size_t, PlaceVector& placeX, PlaceVector& placeY) HWY_ATTR {
        const auto along = hn::Add(hn::Mul(placeX, Number(across.x)), hn::Mul(placeY, Number(across.y)));
        const auto bar = hn::Floor(hn::Div(hn::Sub(along, Number(least)), Number(width)));
        const auto n = hn::Max(hn::Sub(Number(reach), bar), Number(0));
        const auto slid = hn::Mul(hn::Mul(n, n), Number(offset));
        placeX = hn::Sub(placeX, hn::Mul(slid, Number(across.y)));
        placeY = hn::Add(placeY, hn::Mul(slid, Number(across.x)));
    });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(BarPlaces);

// The least width and offset of bars: both are divisors.
constexpr double kLeast = 1e-6;

bool HasEnds(const Extent& extent) {
    return std::isfinite(extent.right - extent.left) && std::isfinite(extent.top - extent.bottom);
}

// The area that the bars cover: both images, or the finite one.
Extent AreaOf(const Between& between) {
    if (HasEnds(between.extent)) return between.extent;
    return HasEnds(between.image->GetExtent()) ? between.image->GetExtent() : between.target->GetExtent();
}

class BarsWarp : public Warp {
  public:
    BarsWarp(const Inputs& inputs, double time, const Extent& area)
        : across_(inputs.GetNumber("inputAngle")),
          width_(std::max(inputs.GetNumber("inputWidth"), kLeast)),
          offset_(std::max(inputs.GetNumber("inputBarOffset"), kLeast)) {
        const double width = area.right - area.left, height = area.top - area.bottom;
        least_ = PositionsIn(area).least;
        // M: at time 1 the last bar that crosses the area has slid by the area's whole length.
        const double cos = std::abs(across_.x), sin = std::abs(across_.y);
        const double longest = std::min(height / cos, width / sin);
        const double lastLong = std::floor(std::max(width * cos, height * sin) / width_);
        reach_ = time * (lastLong + std::sqrt(longest / offset_));
    }

    void Places(const PlaceRow& row, double* x, double* y) const override {
        HWY_DYNAMIC_DISPATCH(BarPlaces)(row, across_, least_, width_, offset_, reach_, x, y);
    }

    Extent Source(const Extent& centers) const override {
        const auto [least, most] = PositionsIn(centers);
        const double far = SlidAt(least), near = SlidAt(most);
        const double farX = -across_.y * far, nearX = -across_.y * near;
        const double farY = across_.x * far, nearY = across_.x * near;
        return {centers.left + std::min(farX, nearX), centers.bottom + std::min(farY, nearY),
                centers.right + std::max(farX, nearX), centers.top + std::max(farY, nearY)};
    }

    // Where bars begin is rounded, so a pixel beside the region may move with it.
    bool Moves(const Extent& centers) const override { return SlidAt(PositionsIn(centers.GrownBy(1)).least) > 0; }

    bool IsScattered() const override { return true; }

  private:
    // The least and greatest position u in an extent.
    Direction::Range PositionsIn(const Extent& extent) const {
        return across_.Of(extent.left, extent.bottom, extent.right - extent.left, extent.top - extent.bottom);
    }

    // How far the bar at position u has slid.
    double SlidAt(double u) const {
        const double n = std::max(0.0, reach_ - std::floor((u - least_) / width_));
        return offset_ * n * n;
    }

    Direction across_;
    double width_;
    double offset_;
    double least_;
    double reach_;  // time M
};

}  // namespace

// CIBarsSwipeTransition: the image is cut into bars that slide away one after another.
ImageRef BarsSwipeTransition(const Inputs& inputs) {
    return MakeTransition(inputs, [](const Inputs& values, const Between& between) {
        const Extent area = AreaOf(between);
        ImageRef image = between.image;
        // Infinite images have no first bar: nothing slides until the end.
        if (HasEnds(area)) {
            auto bars = std::make_shared<BarsWarp>(values, between.time, area);
            image = MakeWarpedImage(std::move(image), std::move(bars), between.extent);
        }
        return MakeFormulaImage({std::move(image), between.target}, UncoverFormula{}, between.extent);
    });
}

}  // namespace core_image
#endif
