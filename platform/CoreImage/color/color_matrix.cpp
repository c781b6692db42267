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

// Vectors of whole pixels, multiplied column by column in the same order. Saves the way into blocks and back, which
// takes longer than the multiplications.
template <class D>
HWY_INLINE std::size_t MultiplyVectors(D d, const MatrixFunction::Columns& columns, const float* from, float* to,
                                       std::size_t count) {
    const auto column = [&](std::size_t index) HWY_ATTR { return hn::LoadDup128(d, columns[index].data()); };
    const auto reds = column(0), greens = column(1), blues = column(2), alphas = column(3);
    constexpr std::size_t kPixels = hn::MaxLanes(d) / kFloatsPerPixel;
    std::size_t done = 0;
    for (; done + kPixels <= count; done += kPixels) {
        const auto pixels = hn::LoadU(d, from + done * kFloatsPerPixel);
        auto sums = hn::Mul(reds, hn::Broadcast<0>(pixels));
        sums = hn::MulAdd(greens, hn::Broadcast<1>(pixels), sums);
        sums = hn::MulAdd(blues, hn::Broadcast<2>(pixels), sums);
        sums = hn::MulAdd(alphas, hn::Broadcast<3>(pixels), sums);
        if (HWY_UNLIKELY(!hn::AllTrue(d, hn::Le(hn::Abs(sums), hn::Set(d, kLargest))))) sums = Finite(sums);
        hn::StoreU(sums, d, to + done * kFloatsPerPixel);
    }
    return done;
}

HWY_ATTR void MultiplyPixels(const MatrixFunction::Columns& columns, const float* from, float* to, std::size_t count) {
    const std::size_t done = MultiplyVectors(WideTag(), columns, from, to, count);
    const hn::FixedTag<float, kFloatsPerPixel> pixel;
    MultiplyVectors(pixel, columns, from + done * kFloatsPerPixel, to + done * kFloatsPerPixel, count - done);
}

}  // namespace core_image::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace core_image {

HWY_EXPORT(MultiplyPixels);
HWY_EXPORT(MultiplyRun);

void MatrixFunction::ApplyToRun(float* blocks, std::size_t count) const {
    HWY_DYNAMIC_DISPATCH(MultiplyRun)(columns_, blocks, count);
}

bool MatrixFunction::ApplyToPixels(const float* from, float* to, std::size_t count) const {
    HWY_DYNAMIC_DISPATCH(MultiplyPixels)(columns_, from, to, count);
    return true;
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
