// folds.cpp - the folds, compiled once per instruction set.

#include "tile/folds.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "tile/folds.cpp"
#include <hwy/foreach_target.h>

#include "sampling/warp-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// A place, in edges of the cell.
struct InCell {
    PlaceVector s, t;
};

// Why: a place this close to a seam counts as on it. Otherwise seams through the centers of pixels would be ragged
// because of rounding errors.
constexpr double kOnSeam = 1e-9;

// The distance of a number from the previous multiple of a period.
HWY_INLINE PlaceVector Modulo(PlaceVector number, double period) {
    const PlaceVector periods = hn::Floor(hn::MulAdd(number, Number(1 / period), Number(kOnSeam)));
    return hn::NegMulAdd(periods, Number(period), number);
}

// A triangle wave: up to a height and down again.
HWY_INLINE PlaceVector UpAndDown(PlaceVector number, double height) {
    const PlaceVector up = Modulo(number, 2 * height);
    return hn::Min(up, hn::Sub(Number(2 * height), up));
}

HWY_INLINE InCell Translate(InCell p) { return {Modulo(p.s, 1), Modulo(p.t, 1)}; }

HWY_INLINE InCell Reflect(InCell p) { return {UpAndDown(p.s, 1), UpAndDown(p.t, 1)}; }

HWY_INLINE InCell ReflectEight(InCell p) {
    const PlaceVector s = UpAndDown(p.s, 0.5), t = UpAndDown(p.t, 0.5);
    return {hn::Max(s, t), hn::Min(s, t)};
}

HWY_INLINE InCell Rotate(InCell p) {
    const PlaceVector one = Number(1), last = Number(1 - kOnSeam);
    const PlaceVector s = Modulo(p.s, 2), t = Modulo(p.t, 2);
    const auto isRight = hn::Ge(s, last), isUpper = hn::Ge(t, last);
    const PlaceVector a = hn::IfThenElse(isRight, hn::Sub(s, one), s), b = hn::IfThenElse(isUpper, hn::Sub(t, one), t);
    // (a, b) below left and (1 - a, 1 - b) above right; (b, 1 - a) below right and (1 - b, a) above left.
    const auto isTurned = hn::Xor(isRight, isUpper);
    const PlaceVector x = hn::IfThenElse(isTurned, b, a), y = hn::IfThenElse(isTurned, a, b);
    return {hn::IfThenElse(isUpper, hn::Sub(one, x), x), hn::IfThenElse(isRight, hn::Sub(one, y), y)};
}

HWY_INLINE InCell Glide(InCell p) {
    const PlaceVector column = Modulo(p.s, 2);
    const auto isOdd = hn::Ge(column, Number(1 - kOnSeam));
    return {hn::Min(column, hn::Sub(Number(2), column)),
            Modulo(hn::IfThenElse(isOdd, hn::Add(p.t, Number(0.5)), p.t), 1)};
}

// Runs a fold over a row of pixels: from the plane to the cell's edges and back.
template <class Function>
HWY_INLINE void FoldRow(const Cell& cell, const PlaceRow& row, double* x, double* y, const Function& fold) {
    const PlaceVector area = Number(cell.firstX * cell.secondY - cell.firstY * cell.secondX);
    const PlaceVector firstX = Number(cell.firstX), firstY = Number(cell.firstY);
    const PlaceVector secondX = Number(cell.secondX), secondY = Number(cell.secondY);
    ForEachPlaceOf(row, x, y, [&](std::size_t, PlaceVector& placeX, PlaceVector& placeY) HWY_ATTR {
        const PlaceVector right = hn::Sub(placeX, Number(cell.x)), up = hn::Sub(placeY, Number(cell.y));
        const PlaceVector s = hn::Div(hn::Sub(hn::Mul(right, secondY), hn::Mul(up, secondX)), area);
        const PlaceVector t = hn::Div(hn::Sub(hn::Mul(up, firstX), hn::Mul(right, firstY)), area);
        const InCell folded = fold(InCell{s, t});
        placeX = hn::MulAdd(folded.s, firstX, hn::MulAdd(folded.t, secondX, Number(cell.x)));
        placeY = hn::MulAdd(folded.s, firstY, hn::MulAdd(folded.t, secondY, Number(cell.y)));
    });
}

#define CORE_IMAGE_DEFINE(name)                                                            \
    HWY_ATTR void name##Row(const Cell& cell, const PlaceRow& row, double* x, double* y) { \
        FoldRow(cell, row, x, y, [](InCell place) HWY_ATTR { return name(place); });       \
    }
CORE_IMAGE_FOLDS(CORE_IMAGE_DEFINE)
#undef CORE_IMAGE_DEFINE

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

#define CORE_IMAGE_DISPATCH(name)                                                  \
    HWY_EXPORT(name##Row);                                                         \
    void name##Fold(const Cell& cell, const PlaceRow& row, double* x, double* y) { \
        HWY_DYNAMIC_DISPATCH(name##Row)(cell, row, x, y);                          \
    }
CORE_IMAGE_FOLDS(CORE_IMAGE_DISPATCH)
#undef CORE_IMAGE_DISPATCH

}  // namespace core_image
#endif
