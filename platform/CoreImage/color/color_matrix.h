// color_matrix.h - colors as a linear map of premultiplied pixels.
//
// An offset of unpremultiplied colors is a multiple of alpha in premultiplied ones. So a filter that is a matrix
// plus an offset need not divide by alpha: its offset is the column for alpha.

#pragma once

#include <array>

#include "core/point.h"

namespace core_image {

// out[row] = sum over columns of columns[column][row] * in[column].
class MatrixFunction : public PointFunction {
  public:
    using Columns = std::array<std::array<float, kFloatsPerPixel>, kFloatsPerPixel>;

    explicit MatrixFunction(const Columns& columns) : columns_(columns) {}

    void ApplyToRun(float* blocks, std::size_t count) const override;

    bool ApplyToPixels(const float* from, float* to, std::size_t count) const override;

    // The product with another matrix; null if numbers might have to be limited between the two.
    std::unique_ptr<const PointFunction> After(const PointFunction& first) const override;

  private:
    Columns columns_;
};

}  // namespace core_image
