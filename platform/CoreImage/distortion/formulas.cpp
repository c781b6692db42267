// formulas.cpp - computes where pixels come from; compiled once per instruction set.

#include "distortion/formulas.h"

#include <algorithm>
#include <cmath>

#include "core/luminance.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "distortion/formulas.cpp"
#include <hwy/foreach_target.h>

#include "sampling/warp-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

using V = PlaceVector;

HWY_INLINE V Clamp01(V t) { return hn::Min(hn::Max(t, Number(0)), Number(1)); }

// An angle without whole turns, from -kTurn / 2 to kTurn / 2 even for numbers whose fractions are lost.
HWY_INLINE V WithoutTurns(V angle) {
    const V turns = hn::Round(hn::Mul(angle, Number(1 / kTurn)));
    return hn::Min(hn::Max(hn::NegMulAdd(turns, Number(kTurn), angle), Number(-kTurn / 2)), Number(kTurn / 2));
}

// The pixels of a guide at the places of one vector.
struct Guide {
    const PlaceRow& row;
    std::size_t index;

    // The luminance, times alpha, at an offset in pixels to the right and upward.
    HWY_INLINE V Light(std::int64_t right, std::int64_t up, V* alpha = nullptr) const {
        constexpr float kRed = kLuminance[0], kGreen = kLuminance[1], kBlue = kLuminance[2];
        const hn::Rebind<float, PlaceTag> d;
        const View& view = *row.guide;
        const auto column = static_cast<std::size_t>(row.x + right - view.region.x) + index;
        auto red = hn::Zero(d), green = red, blue = red, opacity = red;
        hn::LoadInterleaved4(d, view.Row(row.y + up) + column * kFloatsPerPixel, red, green, blue, opacity);
        const auto sum =
            hn::MulAdd(red, hn::Set(d, kRed), hn::MulAdd(green, hn::Set(d, kGreen), hn::Mul(blue, hn::Set(d, kBlue))));
        if (alpha != nullptr) *alpha = Within01(opacity);
        return Within01(sum);
    }

    // Limits numbers to 0...1; 0 for NaN.
    template <class Floats>
    HWY_INLINE V Within01(Floats numbers) const {
        const hn::DFromV<Floats> d;
        numbers = hn::IfThenElseZero(hn::Eq(numbers, numbers), numbers);
        return hn::PromoteTo(PlaceTag(), hn::Min(hn::Max(numbers, hn::Zero(d)), hn::Set(d, 1.0f)));
    }
};

HWY_INLINE void Move(const BumpFormula& f, const Guide&, V& x, V& y) {
    const V dx = hn::Sub(x, Number(f.center.x)), dy = hn::Sub(y, Number(f.center.y));
    const V share = hn::Mul(SmoothFall(hn::Mul(Length(dx, dy), Number(1 / f.radius))), Number(f.scale));
    x = hn::NegMulAdd(dx, share, x);
    y = hn::NegMulAdd(dy, share, y);
}

HWY_INLINE void Move(const LinearBumpFormula& f, const Guide&, V& x, V& y) {
    const V nx = Number(f.normal.x), ny = Number(f.normal.y);
    const V distance = hn::MulAdd(hn::Sub(x, Number(f.center.x)), nx, hn::Mul(hn::Sub(y, Number(f.center.y)), ny));
    const V fall = SmoothFall(hn::Mul(hn::Abs(distance), Number(1 / f.radius)));
    const V move = hn::Mul(hn::Mul(distance, fall), Number(f.scale));
    x = hn::NegMulAdd(nx, move, x);
    y = hn::NegMulAdd(ny, move, y);
}

HWY_INLINE void Move(const SplashFormula& f, const Guide&, V& x, V& y) {
    const V cx = Number(f.center.x), cy = Number(f.center.y), radius = Number(f.radius);
    const V dx = hn::Sub(x, cx), dy = hn::Sub(y, cy);
    const V distance = Length(dx, dy);
    const auto outside = hn::Gt(distance, radius);
    const V share = hn::Div(radius, distance);
    x = hn::IfThenElse(outside, hn::MulAdd(dx, share, cx), x);
    y = hn::IfThenElse(outside, hn::MulAdd(dy, share, cy), y);
}

// Light that leaves the glass upward was refracted where it reached the round surface. By Snell's law, with r the
// distance from the axis in radii, sin a = r and sin b = r / refraction, at most 1. On its way from the ground, which
// lies kGround radii below the axis, to the height sqrt(1 - r r) of the surface it has moved by
// (sqrt(1 - r r) + kGround) tan(a - b) across the axis: dense glass shows the picture reversed.
HWY_INLINE void Move(const LozengeFormula& f, const Guide&, V& x, V& y) {
    const double squaredLength = f.way.x * f.way.x + f.way.y * f.way.y;
    const V fromX = hn::Sub(x, Number(f.start.x)), fromY = hn::Sub(y, Number(f.start.y));
    const V along = hn::MulAdd(fromX, Number(f.way.x), hn::Mul(fromY, Number(f.way.y)));
    const V nearest = Clamp01(hn::Mul(along, Number(squaredLength > 0 ? 1 / squaredLength : 0)));
    const V dx = hn::NegMulAdd(nearest, Number(f.way.x), fromX), dy = hn::NegMulAdd(nearest, Number(f.way.y), fromY);
    const V sinA = hn::Min(hn::Mul(Length(dx, dy), Number(1 / f.radius)), Number(1));
    const V sinB = hn::Min(hn::Mul(sinA, Number(1 / f.refraction)), Number(1));
    const V cosA = hn::Sqrt(hn::NegMulAdd(sinA, sinA, Number(1))),
            cosB = hn::Sqrt(hn::NegMulAdd(sinB, sinB, Number(1)));
    const V sine = hn::Sub(hn::Mul(sinA, cosB), hn::Mul(cosA, sinB));
    const V cosine = hn::MulAdd(cosA, cosB, hn::Mul(sinA, sinB));
    // On the axis itself nothing moves, because dx and dy are 0.
    const V share = hn::Div(hn::Mul(hn::Add(cosA, Number(LozengeFormula::kGround)), sine),
                            hn::Max(hn::Mul(sinA, cosine), Number(1e-12)));
    const V move = hn::IfThenElseZero(hn::Lt(sinA, Number(1)), share);
    const auto within = [](V place, double least, double most)
                            HWY_ATTR { return hn::Min(hn::Max(place, Number(least)), Number(most)); };
    x = within(hn::NegMulAdd(dx, move, x), f.picture.left, f.picture.right);
    y = within(hn::NegMulAdd(dy, move, y), f.picture.bottom, f.picture.top);
}

HWY_INLINE void Move(const DisplacementFormula& f, const Guide& guide, V& x, V& y) {
    V alpha;
    const V light = guide.Light(0, 0, &alpha);
    const V move = hn::Mul(hn::NegMulAdd(alpha, Number(0.5), hn::Min(light, alpha)), Number(f.scale));
    x = hn::Add(x, move);
    y = hn::Add(y, move);
}

HWY_INLINE void Move(const GlassFormula& f, const Guide& guide, V& x, V& y) {
    const V half = Number(f.scale / 2);
    x = hn::MulAdd(hn::Sub(guide.Light(1, 0), guide.Light(-1, 0)), half, x);
    y = hn::MulAdd(hn::Sub(guide.Light(0, 1), guide.Light(0, -1)), half, y);
}

HWY_INLINE void Move(const WrapFormula& f, const Guide&, V& x, V& y) {
    const V dx = hn::Sub(x, Number(f.center.x)), dy = hn::Sub(y, Number(f.center.y));
    const V turns = hn::Mul(hn::Sub(Number(f.start - f.least), Angle(dy, dx)), Number(1 / kTurn));
    const V angle = hn::MulAdd(hn::Sub(turns, hn::Floor(turns)), Number(kTurn), Number(f.least));
    const V bend = hn::Sin(PlaceTag(), WithoutTurns(hn::Mul(Number(8), angle)));
    const V along = hn::MulAdd(bend, Number(WrapFormula::kBend), angle);
    x = hn::MulAdd(along, Number(f.radius), Number(f.extent.left + 0.5));
    y = hn::Add(Length(dx, dy), Number(f.extent.bottom + 0.5 - f.radius));
}

template <class Formula>
HWY_INLINE void FindPlacesOf(const Formula& formula, const PlaceRow& row, double* x, double* y) {
    ForEachPlaceOf(row, x, y, [&](std::size_t index, V& placeX, V& placeY) HWY_ATTR {
        Move(formula, Guide{row, index}, placeX, placeY);
    });
}

// The steps from a place to the one that the Droste effect shows there. Each replaces two numbers by two others.
struct DrosteSteps {
    const DrosteFormula& f;

    // A place becomes the angle and the logarithm of the distance from the meeting point, turned and stretched.
    HWY_INLINE void Unroll(V& x, V& y) const {
        const V dx = hn::Sub(x, Number(f.horizontal.fixed)), dy = hn::Sub(y, Number(f.vertical.fixed));
        const V angle = WithoutTurns(hn::Sub(Angle(dy, dx), Number(f.rotation)));
        const V square = hn::MulAdd(dx, dx, hn::Mul(dy, dy));
        const V scaled = hn::Mul(hn::Max(square, Number(1e-300)), Number(1 / (f.zoom * f.zoom)));
        // At the meeting point itself, which lies in all copies, the depth is not a number.
        const V depth = hn::IfThenElse(hn::Eq(square, Number(0)), hn::NaN(PlaceTag()),
                                       hn::Mul(hn::Log(PlaceTag(), scaled), Number(0.5)));
        // One more turn of the angle corresponds to as many turns as there are strands, and to periodicity copies.
        const V strands = Number(f.strands), slant = Number(f.periodicity * f.level / kTurn);
        x = WithoutTurns(hn::NegMulAdd(slant, depth, hn::Mul(strands, angle)));
        y = hn::MulAdd(slant, angle, hn::Mul(strands, depth));
    }

    // An angle becomes a way of length 1.
    HWY_INLINE void Roll(V& x, V& y) const {
        const V angle = x;
        x = hn::Cos(PlaceTag(), angle);
        y = hn::Sin(PlaceTag(), angle);
    }

    // The distance of the picture's edge on the way, by the way's length.
    HWY_INLINE V Border(V wayX, V wayY) const {
        // A signed distance from the fixed point, relative to the picture's edge on that side.
        const auto borders = [](const DrosteAxis& axis, V way) HWY_ATTR {
            return hn::Max(hn::Mul(way, Number(-axis.perBelow)), hn::Mul(way, Number(axis.perBeyond)));
        };
        return hn::Max(borders(f.horizontal, wayX), borders(f.vertical, wayY));
    }

    // Maps the copy that contains a place to the picture: 0 is its border, -1 the border of the next copy inside.
    HWY_INLINE V Within(V wayX, V wayY, V depth) const {
        const V copies = hn::Mul(hn::Add(depth, hn::Log(PlaceTag(), Border(wayX, wayY))), Number(1 / f.level));
        return hn::Sub(hn::Sub(copies, hn::Floor(copies)), Number(1));
    }

    // A way becomes a place of the picture.
    //
    // A copy has the picture's shape, but its inset may have another: the area between them is stretched from one to
    // the other, because each direction shrinks by its own level.
    HWY_INLINE void Go(V& x, V& y, V within) const {
        const V border = Border(x, y);
        const auto lengthIn = [&](const DrosteAxis& axis)
                                  HWY_ATTR { return hn::Exp(PlaceTag(), hn::Mul(within, Number(axis.level))); };
        const auto place = [&](const DrosteAxis& axis, V way, V length) HWY_ATTR {
            const V moved = hn::MulAdd(hn::Div(way, border), length, Number(axis.fixed));
            return hn::IfThenElse(hn::Eq(within, within), moved, Number(axis.fixed));
        };
        const V across = lengthIn(f.horizontal);
        const V up = f.vertical.level == f.horizontal.level ? across : lengthIn(f.vertical);
        x = place(f.horizontal, x, across);
        y = place(f.vertical, y, up);
    }
};

// Why step by step for many places, instead of all steps for one place: each step has to wait for the one before, and
// the processor does not look far enough ahead to begin with the next place.
HWY_INLINE void FindPlacesOf(const DrosteFormula& formula, const PlaceRow& row, double* x, double* y) {
    const PlaceTag d;
    const DrosteSteps steps = {formula};
    constexpr std::size_t kMost = 256;
    static_assert(kMost % kPlaceStep == 0);
    HWY_ALIGN double depths[kMost];
    ForEachPlaceOf(row, x, y, [&](std::size_t, V& placeX, V& placeY) HWY_ATTR { steps.Unroll(placeX, placeY); });
    for (std::size_t begin = 0; begin < row.count; begin += kMost, x += kMost, y += kMost) {
        const std::size_t count = PlaceRowLength(static_cast<std::int64_t>(std::min(kMost, row.count - begin)));
        const auto forEach = [&](const auto& step) HWY_ATTR {
            for (std::size_t index = 0; index < count; index += hn::Lanes(d)) {
                V first = hn::LoadU(d, x + index), second = hn::LoadU(d, y + index),
                  depth = hn::Load(d, depths + index);
                step(first, second, depth);
                hn::StoreU(first, d, x + index);
                hn::StoreU(second, d, y + index);
                hn::Store(depth, d, depths + index);
            }
        };
        forEach([&](V& first, V& second, V& depth) HWY_ATTR {
            depth = second;
            steps.Roll(first, second);
        });
        forEach([&](V& first, V& second, V& depth) HWY_ATTR { depth = steps.Within(first, second, depth); });
        forEach([&](V& first, V& second, V& depth) HWY_ATTR { steps.Go(first, second, depth); });
    }
}

#define CORE_IMAGE_DEFINE(name)                                                                               \
    HWY_ATTR void FindPlaces##name(const name##Formula& formula, const PlaceRow& row, double* x, double* y) { \
        FindPlacesOf(formula, row, x, y);                                                                     \
    }
CORE_IMAGE_WARP_FORMULAS(CORE_IMAGE_DEFINE)
#undef CORE_IMAGE_DEFINE

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {
namespace {

// The largest value of t (1 - smooth(t)), rounded up: no bump moves anything by more than this many radii times
// scale.
constexpr double kLargestFall = 0.26;

// The extent between two points in any order.
Extent Spanning(const Point& a, const Point& b) {
    return {std::min(a.x, b.x), std::min(a.y, b.y), std::max(a.x, b.x), std::max(a.y, b.y)};
}

// Whether two extents have a point in common. For the centers of one row of pixels this differs from sharing an
// area.
bool Meet(const Extent& a, const Extent& b) {
    return a.left <= b.right && b.left <= a.right && a.bottom <= b.top && b.bottom <= a.top;
}

// The smallest extent that contains both. Neither counts as empty, even without an area.
Extent Both(const Extent& a, const Extent& b) {
    return {std::min(a.left, b.left), std::min(a.bottom, b.bottom), std::max(a.right, b.right), std::max(a.top, b.top)};
}

// The distance of a number from a range.
double Gap(double least, double most, double number) { return std::max({0.0, least - number, number - most}); }

Extent BoxOf(const LozengeFormula& f) {
    return Spanning(f.start, {f.start.x + f.way.x, f.start.y + f.way.y}).GrownBy(f.radius);
}

}  // namespace

bool BumpFormula::Moves(const Extent& centers) const {
    return std::hypot(Gap(centers.left, centers.right, center.x), Gap(centers.bottom, centers.top, center.y)) < radius;
}
Extent BumpFormula::Source(const Extent& centers) const {
    return Moves(centers) ? centers.GrownBy(kLargestFall * radius * std::abs(scale)) : centers;
}

bool LinearBumpFormula::Moves(const Extent& centers) const {
    // The distance of the middle from the line, minus the most by which a corner may be nearer.
    const Point middle = {(centers.left + centers.right) / 2 - center.x, (centers.bottom + centers.top) / 2 - center.y};
    const double nearer = std::abs(normal.x) * (centers.right - centers.left) / 2 +
                          std::abs(normal.y) * (centers.top - centers.bottom) / 2;
    return std::abs(middle.x * normal.x + middle.y * normal.y) - nearer < radius;
}
Extent LinearBumpFormula::Source(const Extent& centers) const {
    const double most = kLargestFall * radius * std::abs(scale);
    const double x = most * std::abs(normal.x), y = most * std::abs(normal.y);
    return {centers.left - x, centers.bottom - y, centers.right + x, centers.top + y};
}

bool SplashFormula::Moves(const Extent& centers) const {
    const double x = std::max(std::abs(centers.left - center.x), std::abs(centers.right - center.x));
    const double y = std::max(std::abs(centers.bottom - center.y), std::abs(centers.top - center.y));
    return std::hypot(x, y) > radius;
}
// A place lies between the center and the pixel, and in the circle.
Extent SplashFormula::Source(const Extent& centers) const {
    const Extent toward = Both(centers, Spanning(center, center));
    const Extent circle = Spanning(center, center).GrownBy(radius);
    return {std::max(toward.left, circle.left), std::max(toward.bottom, circle.bottom),
            std::min(toward.right, circle.right), std::min(toward.top, circle.top)};
}

double LozengeFormula::Distance(double x, double y) const {
    const double dx = x - start.x, dy = y - start.y, square = way.x * way.x + way.y * way.y;
    const double nearest = square > 0 ? std::clamp((dx * way.x + dy * way.y) / square, 0.0, 1.0) : 0;
    const double acrossX = dx - nearest * way.x, acrossY = dy - nearest * way.y;
    return std::sqrt(acrossX * acrossX + acrossY * acrossY);
}

bool LozengeFormula::Moves(const Extent& centers) const { return Meet(centers, BoxOf(*this)); }
// With h at most 1, tan(a - b) is at most that of the rim, sqrt(n n - 1), in dense glass, and at least that of the
// place of total reflection, -sqrt(1 / n n - 1), in thin glass.
Extent LozengeFormula::Source(const Extent& centers) const {
    if (!Moves(centers)) return centers;
    const double tangent = std::sqrt(std::abs(refraction * refraction - 1)) / std::min(1.0, refraction);
    const Extent all = Both(centers, BoxOf(*this).GrownBy(radius * (1 + kGround) * tangent));
    return {std::clamp(all.left, picture.left, picture.right), std::clamp(all.bottom, picture.bottom, picture.top),
            std::clamp(all.right, picture.left, picture.right), std::clamp(all.top, picture.bottom, picture.top)};
}

bool DisplacementFormula::Moves(const Extent&) const { return true; }
Extent DisplacementFormula::Source(const Extent& centers) const { return centers.GrownBy(std::abs(scale) / 2); }

bool GlassFormula::Moves(const Extent&) const { return true; }
Extent GlassFormula::Source(const Extent& centers) const { return centers.GrownBy(std::abs(scale) / 2); }

#define CORE_IMAGE_DISPATCH(name)                                                              \
    HWY_EXPORT(FindPlaces##name);                                                              \
    void FindPlaces(const name##Formula& formula, const PlaceRow& row, double* x, double* y) { \
        HWY_DYNAMIC_DISPATCH(FindPlaces##name)(formula, row, x, y);                            \
    }
CORE_IMAGE_WARP_FORMULAS(CORE_IMAGE_DISPATCH)
#undef CORE_IMAGE_DISPATCH

}  // namespace core_image
#endif
