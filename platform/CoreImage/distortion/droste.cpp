// droste.cpp - a picture within itself, straight or as a spiral.
//
// The logarithm unrolls the plane around the point where all copies meet: nested copies then repeat along one
// direction, turns along the other. Rotating and stretching that plane by one complex number, which maps one turn to
// whole turns and whole copies, makes the spiral; rolled up again it has no seam.
// Method: B. de Smit, H. W. Lenstra, "The Mathematical Structure of Escher's Print Gallery", Notices of the AMS
// 50(4), 2003.

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>
#include <utility>

#include "distortion/filters.h"
#include "distortion/formulas.h"
#include "sampling/repeat.h"

namespace core_image {
namespace {

// One direction of the picture and of its inset.
struct Axis {
    double fixed;          // the fixed point of shrinking the picture to its inset
    double below, beyond;  // the distances from the fixed point to the picture's edges
    double ratio;          // of the picture's length to the inset's

    // Nothing where the inset is not shorter than the picture.
    static std::optional<Axis> Of(double least, double most, double insetLeast, double insetMost) {
        insetLeast = std::max(least, insetLeast);
        insetMost = std::min(most, insetMost);
        const double length = most - least, inset = insetMost - insetLeast;
        if (!(inset > 1 / kLargestNumber && inset < length)) return std::nullopt;
        const double fixed = least + (insetLeast - least) * length / (length - inset);
        // Why a least distance: if the inset touches the picture's edge, so does the fixed point, and the distance
        // is 0.
        constexpr double kLeast = 1e-3;
        return Axis{fixed, std::max(kLeast, fixed - least), std::max(kLeast, most - fixed), length / inset};
    }

    // A signed distance from the fixed point, relative to the picture's edge on that side.
    double Borders(double way) const { return way < 0 ? -way / below : way / beyond; }
};

// The arrangement of the copies.
struct Layout {
    double periodicity;
    double strands;
    double rotation;
    double zoom;  // above 0
};

class DrosteWarp : public Warp {
  public:
    DrosteWarp(const Extent& extent, const Axis& horizontal, const Axis& vertical, const Layout& layout)
        : extent_(extent),
          horizontal_(horizontal),
          vertical_(vertical),
          layout_(layout),
          level_(std::log(std::max(horizontal.ratio, vertical.ratio))) {}

    void Places(const PlaceRow& row, double* x, double* y) const override {
        for (std::size_t index = 0; index < row.count; ++index) {
            const Point place = PlaceOf(static_cast<double>(row.x + static_cast<std::int64_t>(index)) + 0.5,
                                        static_cast<double>(row.y) + 0.5);
            x[index] = place.x;
            y[index] = place.y;
        }
    }

    Extent Source(const Extent&) const override { return extent_; }
    bool IsScattered() const override { return true; }

  private:
    Point PlaceOf(double x, double y) const {
        const Point meeting = {horizontal_.fixed, vertical_.fixed};
        const double distance = std::hypot(x - meeting.x, y - meeting.y);
        if (distance == 0) return meeting;
        const double angle =
            std::remainder(std::atan2(y - meeting.y, x - meeting.x) - layout_.rotation, 2 * std::numbers::pi);
        const double depth = std::log(distance / layout_.zoom);
        // One more turn of the angle corresponds to as many turns as there are strands, and to periodicity copies.
        const double slant = layout_.periodicity * level_ / (2 * std::numbers::pi);
        const double newAngle = layout_.strands * angle - slant * depth;
        const double newDepth = layout_.strands * depth + slant * angle;

        // Maps the copy that contains this place to the picture: 0 is its border, -1 the border of the next copy
        // inside.
        const Point way = {std::cos(newAngle), std::sin(newAngle)};
        const double borders = std::max(horizontal_.Borders(way.x), vertical_.Borders(way.y));
        const double copies = (newDepth + std::log(borders)) / level_;
        const double within = copies - std::floor(copies) - 1;
        const double length = std::exp(within * level_) / borders;
        return {meeting.x + way.x * length * Stretch(horizontal_, within),
                meeting.y + way.y * length * Stretch(vertical_, within)};
    }

    // A copy has the picture's shape, but its inset may have another: the area between them is stretched from one to
    // the other.
    double Stretch(const Axis& axis, double within) const {
        return std::exp(-within * (level_ - std::log(axis.ratio)));
    }

    Extent extent_;
    Axis horizontal_, vertical_;
    Layout layout_;
    double level_;  // the logarithm of the factor by which each copy shrinks
};

}  // namespace

// CIDroste: the image within itself, again and again, from inputInsetPoint0 to inputInsetPoint1. The result is
// infinite.
//
// The copies shrink towards the fixed point of the map from the picture to its inset, so the next copy fills the
// inset wherever it is. The part of the inset outside the picture is ignored. An inset that leaves no copy, or no
// picture around it, has no effect.
//
// Measured without a spiral: a periodicity of 0 and one strand nest copies about the fixed point. The sense of the
// spiral, of the rotation and of the zoom is chosen, and so is the stretch for an inset of another shape.
ImageRef Droste(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    const Extent extent = input->GetExtent();
    Region pixels;
    if (!RegionOfExtent(extent, &pixels)) return input;
    const Point a = PointOf(inputs, "inputInsetPoint0"), b = PointOf(inputs, "inputInsetPoint1");
    const auto horizontal = Axis::Of(extent.left, extent.right, std::min(a.x, b.x), std::max(a.x, b.x));
    const auto vertical = Axis::Of(extent.bottom, extent.top, std::min(a.y, b.y), std::max(a.y, b.y));
    if (!horizontal || !vertical) return input;
    constexpr double kLeastZoom = 0.01;
    const Layout layout = {inputs.GetNumber("inputPeriodicity"), inputs.GetNumber("inputStrands"),
                           inputs.GetNumber("inputRotation"), std::max(kLeastZoom, inputs.GetNumber("inputZoom"))};
    // Clamped, so that the border of a copy is not half transparent.
    return MakeWarpedImage(MakeClampedImage(std::move(input)),
                           std::make_shared<DrosteWarp>(extent, *horizontal, *vertical, layout), Extent::Infinite());
}

}  // namespace core_image
