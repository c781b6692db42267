// droste.cpp - a picture within itself, straight or as a spiral.
//
// The plane around the point where all copies meet is unrolled by the logarithm: nested copies then repeat along one direction,
// turns along the other. Turning and stretching that plane by one complex number, which takes a turn to whole turns and whole
// copies, makes the spiral; rolled up again it has no seam.
// Method: B. de Smit, H. W. Lenstra, "The Mathematical Structure of Escher's Print Gallery", Notices of the AMS 50(4), 2003.

#include <algorithm>
#include <cmath>
#include <numbers>
#include <optional>

#include "distortion/filters.h"
#include "distortion/formulas.h"
#include "sampling/repeat.h"

namespace core_image {
namespace {

// One direction of the picture and of its inset.
struct Axis {
    double fixed;          // where shrinking the picture to its inset moves nothing
    double below, beyond;  // how far the picture reaches from there
    double ratio;          // of the picture's length to the inset's

    // None where the inset is not shorter than the picture.
    static std::optional<Axis> Of(double least, double most, double insetLeast, double insetMost) {
        insetLeast = std::max(least, insetLeast);
        insetMost = std::min(most, insetMost);
        const double length = most - least, inset = insetMost - insetLeast;
        if (!(inset > 1 / kLargestNumber && inset < length)) return std::nullopt;
        const double fixed = least + (insetLeast - least) * length / (length - inset);
        // Why a least distance: an inset at the picture's border has the point on it, and nothing lies between them.
        constexpr double kLeast = 1e-3;
        return Axis{fixed, std::max(kLeast, fixed - least), std::max(kLeast, most - fixed), length / inset};
    }

    // How far a way goes, in distances to the picture's border.
    double Borders(double way) const { return way < 0 ? -way / below : way / beyond; }
};

// How the copies are laid out.
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
        // One turn more of the angle is periodicity turns and as many copies as there are strands.
        const double slant = layout_.strands * level_ / (2 * std::numbers::pi);
        const double newAngle = layout_.periodicity * angle - slant * depth;
        const double newDepth = layout_.periodicity * depth + slant * angle;

        // The copy that this lies in is taken to be the picture: 0 stands for its border, -1 for that of the copy inside.
        const Point way = {std::cos(newAngle), std::sin(newAngle)};
        const double borders = std::max(horizontal_.Borders(way.x), vertical_.Borders(way.y));
        const double copies = (newDepth + std::log(borders)) / level_;
        const double within = copies - std::floor(copies) - 1;
        const double length = std::exp(within * level_) / borders;
        return {meeting.x + way.x * length * Stretch(horizontal_, within),
                meeting.y + way.y * length * Stretch(vertical_, within)};
    }

    // A copy has the picture's shape, and its inset may have another: what lies between is stretched from one to the other.
    double Stretch(const Axis& axis, double within) const {
        return std::exp(-within * (level_ - std::log(axis.ratio)));
    }

    Extent extent_;
    Axis horizontal_, vertical_;
    Layout layout_;
    double level_;  // the logarithm of what a picture shrinks by to become the copy inside
};

}  // namespace

// CIDroste: the image within itself, again and again, from inputInsetPoint0 to inputInsetPoint1; endless.
//
// The copies shrink towards the point that stays where it is when the picture shrinks to its inset, which so is filled by the
// next copy wherever it lies. The part of the inset outside the picture does not count; one that leaves no copy, or no picture
// around it, changes nothing.
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
    // Clamped, so that no border of a copy is half transparent.
    return MakeWarpedImage(MakeClampedImage(std::move(input)),
                           std::make_shared<DrosteWarp>(extent, *horizontal, *vertical, layout), Extent::Infinite());
}

}  // namespace core_image
