// warp-inl.h - vectors of places for warps that are vectorized.
//
// A source file that is compiled once per instruction set includes this file each time. A formula is a function that
// changes vectors of pixel centers into the places where the pixels come from.

#if defined(CORE_IMAGE_WARP_INL_H) == defined(HWY_TARGET_TOGGLE)
#ifdef CORE_IMAGE_WARP_INL_H
#undef CORE_IMAGE_WARP_INL_H
#else
#define CORE_IMAGE_WARP_INL_H
#endif

#include "core/places-inl.h"
#include "sampling/bilinear.h"
#include "sampling/warp.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// Writes the places of a row: operator()(std::size_t index, PlaceVector& x, PlaceVector& y), with the index in the
// row.
template <class Formula>
HWY_INLINE void ForEachPlaceOf(const PlaceRow& row, double* x, double* y, const Formula& formula) {
    const PlaceTag d;
    const PlaceVector centerY = Number(static_cast<double>(row.y) + 0.5);
    for (std::size_t index = 0; index < row.count; index += hn::Lanes(d)) {
        PlaceVector placeX = CentersFrom(row.x + static_cast<std::int64_t>(index)), placeY = centerY;
        formula(index, placeX, placeY);
        hn::StoreU(placeX, d, x + index);
        hn::StoreU(placeY, d, y + index);
    }
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
