// tiles.cpp - the filters: their cell, and their fold (folds.h).

#include "tile/filters.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "tile/folds.h"

namespace core_image {
namespace {

// Narrower cells get this width: places are divided by the cell's area.
constexpr double kNarrowestCell = 1e-6;

// Flatter cells, by the sine of the angle between the edges, get this sine, for the same reason.
constexpr double kFlattest = 0.01;

// A rotation by an angle. Why rounded: a quarter turn given as a 32-bit float would miss pixels by a little, and
// make seams through their centers ragged.
struct Turn {
    double cos, sin;

    explicit Turn(double angle) : cos(std::cos(angle)), sin(std::sin(angle)) {
        constexpr double kNone = 1e-6;
        if (std::abs(sin) < kNone) cos = std::copysign(1, cos), sin = 0;
        if (std::abs(cos) < kNone) sin = std::copysign(1, sin), cos = 0;
    }
};

// The cell of a filter. Its second edge is rotated from the first, and that many times as long.
Cell CellOf(const Inputs& inputs, Turn second, double height) {
    const double given = inputs.GetNumber("inputWidth");
    // Why 1 for none: one pixel of the image is the least that can be shown.
    const double width = given > 0 ? std::max(given, kNarrowestCell) : 1;
    if (std::abs(second.sin) < kFlattest) second.sin = std::copysign(kFlattest, second.sin);
    const Turn first(inputs.GetNumber("inputAngle"));
    return {inputs.GetElement("inputCenter", 0),
            inputs.GetElement("inputCenter", 1),
            width * first.cos,
            width * first.sin,
            height * width * (second.cos * first.cos - second.sin * first.sin),
            height * width * (second.cos * first.sin + second.sin * first.cos)};
}

class TileWarp : public Warp {
  public:
    TileWarp(const Cell& cell, Fold fold) : cell_(cell), fold_(fold) {}

    void Places(const PlaceRow& row, double* x, double* y) const override { fold_(cell_, row, x, y); }

    // The whole cell, whatever part of the plane is shown.
    Extent Source(const Extent&) const override {
        const auto [left, right] = Reach(cell_.firstX, cell_.secondX);
        const auto [bottom, top] = Reach(cell_.firstY, cell_.secondY);
        return {cell_.x + left, cell_.y + bottom, cell_.x + right, cell_.y + top};
    }

    bool IsScattered() const override { return true; }

  private:
    // The least and the greatest sum of none, either or both of two edges.
    static std::pair<double, double> Reach(double first, double second) {
        return {std::min(first, 0.0) + std::min(second, 0.0), std::max(first, 0.0) + std::max(second, 0.0)};
    }

    Cell cell_;
    Fold fold_;
};

constexpr double kRightAngle = 1.5707963267948966;

ImageRef MakeTile(const Inputs& inputs, Fold fold, double between = kRightAngle, double height = 1) {
    ImageRef input = inputs.GetImage("inputImage");
    if (input == nullptr) return nullptr;
    return MakeWarpedImage(std::move(input), std::make_shared<TileWarp>(CellOf(inputs, Turn(between), height), fold),
                           Extent::Infinite());
}

}  // namespace

// CIEightfoldReflectedTile: an eighth of the cell, reflected in all sides of its triangle.
ImageRef EightfoldReflectedTile(const Inputs& inputs) { return MakeTile(inputs, ReflectEightFold); }

// CIFourfoldReflectedTile: the cell, reflected in its sides.
ImageRef FourfoldReflectedTile(const Inputs& inputs) {
    return MakeTile(inputs, ReflectFold, inputs.GetNumber("inputAcuteAngle"));
}

// CIFourfoldRotatedTile: the cell, rotated about its corners by quarter turns.
ImageRef FourfoldRotatedTile(const Inputs& inputs) { return MakeTile(inputs, RotateFold); }

// CIFourfoldTranslatedTile: the cell, side by side with itself.
ImageRef FourfoldTranslatedTile(const Inputs& inputs) {
    return MakeTile(inputs, TranslateFold, inputs.GetNumber("inputAcuteAngle"));
}

// CIGlideReflectedTile: columns of a cell twice as tall as wide, every other column reflected left to right and moved
// along by half the cell.
//
// Measured byte for byte at angle 0. That the columns turn with inputAngle is chosen.
ImageRef GlideReflectedTile(const Inputs& inputs) { return MakeTile(inputs, GlideFold, kRightAngle, /*height=*/2); }

}  // namespace core_image
