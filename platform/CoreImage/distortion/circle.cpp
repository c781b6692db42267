// circle.cpp - a picture that runs outward from a circle, and one that is bent around it.

#include <algorithm>
#include <cmath>
#include <numbers>
#include <utility>

#include "distortion/filters.h"
#include "distortion/formulas.h"

namespace core_image {
namespace {

// Maps a pixel, given by its angle and its distance from a circle, to a place that far along and above the lower
// edge of an extent.
class CircularWarp : public Warp {
  public:
    CircularWarp(const Extent& extent, const Point& center, double radius, double angle)
        : extent_(extent), center_(center), radius_(radius), turn_(std::remainder(angle, 2 * std::numbers::pi)) {}

    void Places(const PlaceRow& row, double* x, double* y) const override {
        const double middle = (extent_.left + extent_.right) / 2;
        const double dy = static_cast<double>(row.y) + 0.5 - center_.y;
        for (std::size_t index = 0; index < row.count; ++index) {
            const double dx = static_cast<double>(row.x + static_cast<std::int64_t>(index)) + 0.5 - center_.x;
            // Clockwise from the top, so that text on the circle reads from left to right.
            const double fromTop = std::remainder(std::atan2(dx, dy) + turn_, 2 * std::numbers::pi);
            x[index] = middle + radius_ * fromTop;
            y[index] = extent_.bottom + std::sqrt(dx * dx + dy * dy) - radius_;
        }
    }

    Extent Source(const Extent&) const override { return extent_; }

  private:
    Extent extent_;
    Point center_;
    double radius_;
    double turn_;
};

}  // namespace

// CICircleSplashDistortion: outside the circle of inputRadius around inputCenter, the colors on the circle continue
// outward. The result is infinite.
ImageRef CircleSplashDistortion(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr || input->GetExtent().IsEmpty()) return input;
    const double radius = std::max(0.0, inputs.GetNumber("inputRadius"));
    return MakeFormulaWarp(std::move(input), Extent::Infinite(), SplashFormula{PointOf(inputs, "inputCenter"), radius});
}

// CICircularWrap: the image bent around the circle of inputRadius around inputCenter. The middle of the image is at
// the top of the circle, rotated by inputAngle. The extent is that of the bent image. Returns null for an infinite
// image.
//
// The lower edge keeps its length; everything above becomes wider. An image longer than the circle loses its ends.
ImageRef CircularWrap(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr || input->GetExtent().IsEmpty()) return input;
    const Extent extent = input->GetExtent();
    Region pixels;
    if (!RegionOfExtent(extent, &pixels)) return nullptr;
    const Point center = PointOf(inputs, "inputCenter");
    const double radius = std::max(0.0, inputs.GetNumber("inputRadius"));
    const double reach = radius + extent.top - extent.bottom;
    const Extent bent = {std::floor(center.x - reach), std::floor(center.y - reach), std::ceil(center.x + reach),
                         std::ceil(center.y + reach)};
    return MakeWarpedImage(
        std::move(input), std::make_shared<CircularWarp>(extent, center, radius, inputs.GetNumber("inputAngle")), bent);
}

}  // namespace core_image
