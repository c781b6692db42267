// formulas.h - warps vectorized for the processor: their parameters, and the loops.
//
// In the comments p is a pixel's center, S(p) the input there, and smooth(t) = t t (3 - 2 t) with t limited to
// 0...1.
// Threads:  any.
// Adding one: a struct here and its line in the list; its places in formulas.cpp.

#pragma once

#include <memory>
#include <string_view>
#include <utility>

#include "core/inputs.h"
#include "sampling/warp.h"

namespace core_image {

// Every formula; its struct is called ...Formula.
#define CORE_IMAGE_WARP_FORMULAS(FORMULA) \
    FORMULA(Bump)                         \
    FORMULA(LinearBump)                   \
    FORMULA(Splash)                       \
    FORMULA(Lozenge)                      \
    FORMULA(Displacement)                 \
    FORMULA(Glass)                        \
    FORMULA(Wrap)                         \
    FORMULA(Droste)

// A point, or the vector from one to another.
struct Point {
    double x, y;
};

// S(p - d scale (1 - smooth(|d| / radius))), where d is p relative to the center.
struct BumpFormula {
    Point center;
    double radius;  // above 0
    double scale;

    Extent Source(const Extent& centers) const;
    bool Moves(const Extent& centers) const;
};

// The same where d is p relative to the nearest point of a line.
struct LinearBumpFormula {
    Point center;   // a point of the line
    Point normal;   // across the line, of length 1
    double radius;  // above 0
    double scale;

    Extent Source(const Extent& centers) const;
    bool Moves(const Extent& centers) const;
};

// S(p) in a circle; outside it, S on the circle in the direction of p.
struct SplashFormula {
    Point center;
    double radius;

    Extent Source(const Extent& centers) const;
    bool Moves(const Extent& centers) const;
};

// A rod of glass, half a cylinder with round ends that lies some way above the image; see formulas.cpp.
struct LozengeFormula {
    static constexpr double kGround = 2;  // the depth of the image below the axis, in radii

    Point start;
    Point way;          // to the other end of the axis
    double radius;      // above 0
    double refraction;  // above 0
    Extent picture;     // continues with its outermost pixels, so that places need not lie beyond it

    // The distance of a point from the axis, which ends at its two points.
    double Distance(double x, double y) const;

    Extent Source(const Extent& centers) const;
    bool Moves(const Extent& centers) const;
};

// S(p + scale (luminance - 0.5) (1, 1)). The guide's luminance is limited to 0...1, and moves less the more
// transparent it is.
struct DisplacementFormula {
    double scale;

    Extent Source(const Extent& centers) const;
    bool Moves(const Extent& centers) const;
};

// S(p + scale slope). The guide's luminance, within 0...1, is the height of the glass. The slope is half its
// difference between the right and left neighbors, and between the upper and lower ones.
struct GlassFormula {
    double scale;

    Extent Source(const Extent& centers) const;
    bool Moves(const Extent& centers) const;
};

// A pixel, by its angle and its distance from a circle, is the place that far along and above the lower left pixel of
// an extent. Angles are counted clockwise from the start.
struct WrapFormula {
    static constexpr double kBend = 0.0102;  // how far the angle bends at most, eight times around the circle

    Extent extent;
    Point center;
    double radius;
    double start;
    double least;  // the angle half a pixel before the start, which still shows the soft edge of the image

    Extent Source(const Extent&) const { return extent; }
    bool Moves(const Extent&) const { return true; }
};

// One direction of a picture within itself, from the fixed point of shrinking the picture to its inset.
struct DrosteAxis {
    double fixed;
    double perBelow, perBeyond;  // one by the distances to the picture's edges
    double level;                // the logarithm of the picture's length by the inset's
};

// The plane around the point where all copies of a picture meet, unrolled by the logarithm, turned and stretched by one
// complex number, and rolled up again; see droste.cpp.
struct DrosteFormula {
    static constexpr bool kIsScattered = true;

    Extent extent;
    DrosteAxis horizontal, vertical;
    double level;        // the larger one of both directions
    double periodicity;  // copies for each turn
    double strands;      // turns for each turn
    double rotation;
    double zoom;  // above 0

    Extent Source(const Extent&) const { return extent; }
    bool Moves(const Extent&) const { return true; }
};

#define CORE_IMAGE_DECLARE(name) \
    void FindPlaces(const name##Formula& formula, const PlaceRow& row, double* x, double* y);
CORE_IMAGE_WARP_FORMULAS(CORE_IMAGE_DECLARE)
#undef CORE_IMAGE_DECLARE

// A formula as a warp.
template <class Formula, std::int64_t kGuideMargin>
class FormulaWarp : public Warp {
  public:
    explicit FormulaWarp(const Formula& formula) : formula_(formula) {}

    void Places(const PlaceRow& row, double* x, double* y) const override { FindPlaces(formula_, row, x, y); }
    Extent Source(const Extent& centers) const override { return formula_.Source(centers); }
    bool Moves(const Extent& centers) const override { return formula_.Moves(centers); }
    bool IsScattered() const override {
        return requires { Formula::kIsScattered; };
    }
    std::int64_t GuideMargin() const override { return kGuideMargin; }

  private:
    Formula formula_;
};

// The image of an input under a formula, within an extent. A guide is read up to its margin.
template <std::int64_t kGuideMargin = 0, class Formula>
ImageRef MakeFormulaWarp(ImageRef input, const Extent& extent, const Formula& formula, ImageRef guide = nullptr) {
    return MakeWarpedImage(std::move(input), std::make_shared<FormulaWarp<Formula, kGuideMargin>>(formula), extent,
                           Light::kAsStored, std::move(guide));
}

// The first two elements of a vector.
inline Point PointOf(const Inputs& inputs, std::string_view key) {
    return {inputs.GetElement(key, 0), inputs.GetElement(key, 1)};
}

}  // namespace core_image
