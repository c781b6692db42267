// colour_matrix.cpp - the map itself: a row of it for each channel, compiled once for every instruction set.

#include "colour/colour_matrix.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "colour/colour_matrix.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

HWY_ATTR void MultiplyRun(const ColourMatrix::Columns& columns, float* blocks, std::size_t count) {
    const auto row = [&columns](const Colours& c, std::size_t index) HWY_ATTR {
        Wide sum = hn::Mul(Constant(columns[0][index]), c.red);
        sum = hn::MulAdd(Constant(columns[1][index]), c.green, sum);
        sum = hn::MulAdd(Constant(columns[2][index]), c.blue, sum);
        return hn::MulAdd(Constant(columns[3][index]), c.alpha, sum);
    };
    ForEachPixel(blocks, count, [&](Colours& c) HWY_ATTR { c = {row(c, 0), row(c, 1), row(c, 2), row(c, 3)}; });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(MultiplyRun);

void ColourMatrix::apply(float* blocks, std::size_t count) const {
    HWY_DYNAMIC_DISPATCH(MultiplyRun)(columns_, blocks, count);
}

}  // namespace core_image
#endif
