// color_matrix.cpp - multiplies pixels by the matrix, one row per channel; compiled once per instruction set.

#include "color/color_matrix.h"

#include <cmath>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "color/color_matrix.cpp"
#include <hwy/foreach_target.h>

#include "core/pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace core_image::HWY_NAMESPACE {

HWY_ATTR void MultiplyRun(const MatrixFunction::Columns& columns, float* blocks, std::size_t count) {
    const auto row = [&columns](const Colors& c, std::size_t index) HWY_ATTR {
        Wide sum = hn::Mul(Constant(columns[0][index]), c.red);
        sum = hn::MulAdd(Constant(columns[1][index]), c.green, sum);
        sum = hn::MulAdd(Constant(columns[2][index]), c.blue, sum);
        return hn::MulAdd(Constant(columns[3][index]), c.alpha, sum);
    };
    ForEachPixel(blocks, count, [&](Colors& c) HWY_ATTR { c = {row(c, 0), row(c, 1), row(c, 2), row(c, 3)}; });
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(MultiplyRun);

void MatrixFunction::ApplyToRun(float* blocks, std::size_t count) const {
    HWY_DYNAMIC_DISPATCH(MultiplyRun)(columns_, blocks, count);
}

std::unique_ptr<const PointFunction> MatrixFunction::After(const PointFunction& first) const {
    const auto* other = dynamic_cast<const MatrixFunction*>(&first);
    if (other == nullptr) return nullptr;
    constexpr double kLarge = 1e6;
    Columns product;
    for (std::size_t column = 0; column < kFloatsPerPixel; ++column) {
        for (std::size_t row = 0; row < kFloatsPerPixel; ++row) {
            double sum = 0;
            for (std::size_t k = 0; k < kFloatsPerPixel; ++k) {
                if (std::abs(columns_[k][row]) > kLarge || std::abs(other->columns_[column][k]) > kLarge)
                    return nullptr;
                sum += static_cast<double>(columns_[k][row]) * other->columns_[column][k];
            }
            product[column][row] = static_cast<float>(sum);
        }
    }
    return std::make_unique<MatrixFunction>(product);
}

}  // namespace core_image
#endif
