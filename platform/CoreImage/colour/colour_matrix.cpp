// colour_matrix.cpp - the map itself: four products for each pixel, compiled once for every instruction set.

#include "colour/colour_matrix.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "colour/colour_matrix.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

// As many whole pixels as a vector has room for.
template <class D>
HWY_INLINE void MultiplyVector(D d, const ColourMatrix::Columns& columns, float* pixels) {
    const auto in = hn::LoadU(d, pixels);
    auto sum = hn::Mul(hn::LoadDup128(d, columns[0].data()), hn::Broadcast<0>(in));
    sum = hn::MulAdd(hn::LoadDup128(d, columns[1].data()), hn::Broadcast<1>(in), sum);
    sum = hn::MulAdd(hn::LoadDup128(d, columns[2].data()), hn::Broadcast<2>(in), sum);
    sum = hn::MulAdd(hn::LoadDup128(d, columns[3].data()), hn::Broadcast<3>(in), sum);
    hn::StoreU(Finite(sum), d, pixels);
}

HWY_ATTR void MultiplyRow(const ColourMatrix::Columns& columns, float* pixels, std::size_t count) {
    const WideTag wide;
    const hn::FixedTag<float, 4> pixel;
    const std::size_t floats = count * 4;
    std::size_t index = 0;
    for (; index + hn::Lanes(wide) <= floats; index += hn::Lanes(wide)) MultiplyVector(wide, columns, pixels + index);
    for (; index < floats; index += 4) MultiplyVector(pixel, columns, pixels + index);
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(MultiplyRow);

void ColourMatrix::apply(float* pixels, std::size_t count) const {
    const Columns columns = columns_;
    HWY_DYNAMIC_DISPATCH(MultiplyRow)(columns, pixels, count);
}

}  // namespace core_image
#endif
