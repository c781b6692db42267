// circular_screen.cpp - rings: the pattern rises from the middle of a ring to halfway between two rings, and falls
// again.
//
// At a distance r from the center f = fract(r / width), and the pattern is 2 min(f, 1 - f) - 1/2.
// Why doubles: far from the center a float cannot resolve the position between two rings.

#include <utility>
#include <vector>

#include "core/memory_budget.h"
#include "halftone/filters.h"
#include "halftone/screen.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "halftone/circular_screen.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

using HalfTag = hn::Half<WideTag>;
using DoubleTag = hn::Rebind<double, HalfTag>;

// The distance to the nearest ring, 1 halfway between two, for half as many pixels as a vector holds.
HWY_INLINE hn::Vec<HalfTag> FromRing(const double* columns, double row) {
    const DoubleTag d;
    const auto rings = hn::Sqrt(hn::Add(hn::LoadU(d, columns), hn::Set(d, row)));
    const auto beyond = hn::Sub(rings, hn::Floor(rings));
    const auto nearest = hn::Min(beyond, hn::Sub(hn::Set(d, 1.0), beyond));
    return hn::DemoteTo(HalfTag(), hn::Add(nearest, nearest));
}

// columns and row are squared distances in rings; their sum is the squared distance from the center.
HWY_ATTR void RingRow(const double* columns, double row, float slope, float* pixels, std::size_t count) {
    ForEachIndexedPlace<0>(pixels, nullptr, count, [&](Colors& c, const auto&, std::size_t index) HWY_ATTR {
        Clip(c);
        const Wide pattern = hn::Combine(WideTag(), FromRing(columns + index + hn::Lanes(HalfTag()), row),
                                         FromRing(columns + index, row));
        const Wide tone = DivideOrZero(Luminance(c), c.alpha);
        const Wide ink = Clamp01(hn::MulAdd(hn::Sub(tone, pattern), Constant(slope), Constant(0.5f)));
        c.red = c.green = c.blue = hn::Mul(ink, c.alpha);
    });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

HWY_EXPORT(RingRow);

class Rings : public ScreenRows {
  public:
    Rings(const Region& region, double centerX, double centerY, double width, float slope)
        : left_(region.x),
          bottom_(region.y),
          memory_(static_cast<std::uint64_t>(region.width + region.height) * sizeof(double)),
          slope_(slope) {
        columns_.reserve(static_cast<std::size_t>(region.width) + kBlockPixels);
        rows_.reserve(static_cast<std::size_t>(region.height));
        for (std::int64_t x = region.x; x < region.Right(); ++x) columns_.push_back(Square(x, centerX, width));
        columns_.resize(columns_.size() + kBlockPixels);
        for (std::int64_t y = region.y; y < region.Top(); ++y) rows_.push_back(Square(y, centerY, width));
    }

    void ApplyToRun(const Run& run, float* blocks) const override {
        HWY_DYNAMIC_DISPATCH(RingRow)
        (&columns_[static_cast<std::size_t>(run.x - left_)], rows_[static_cast<std::size_t>(run.y - bottom_)], slope_,
         blocks, run.count);
    }

  private:
    // The squared distance of a pixel from the center in one direction, in rings.
    static double Square(std::int64_t pixel, double center, double width) {
        const double rings = (static_cast<double>(pixel) + 0.5 - center) / width;
        return rings * rings;
    }

    std::int64_t left_, bottom_;
    BudgetShare memory_;  // of the next two
    std::vector<double> columns_, rows_;
    float slope_;
};

class RingScreen : public Screen {
  public:
    explicit RingScreen(const Inputs& inputs)
        : centerX_(inputs.GetElement("inputCenter", 0)),
          centerY_(inputs.GetElement("inputCenter", 1)),
          width_(WidthOf(inputs)),
          slope_(static_cast<float>(1 / (1 - LimitedSharpness(inputs.GetNumber("inputSharpness"))))) {}

    std::unique_ptr<const ScreenRows> MakeRows(const Region& region) const override {
        return std::make_unique<Rings>(region, centerX_, centerY_, width_, slope_);
    }

  private:
    double centerX_, centerY_, width_;
    float slope_;
};

}  // namespace

// CICircularScreen: rings around inputCenter, inputWidth apart.
ImageRef CircularScreen(const Inputs& inputs) {
    return MakeScreenImage(inputs.GetImage("inputImage"), std::make_unique<RingScreen>(inputs));
}

}  // namespace core_image
#endif
