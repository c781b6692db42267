// colour_matrix.cpp - the map itself: four products for each number, which the compiler makes one instruction each.

#include "colour/colour_matrix.h"

namespace core_image {

void ColourMatrix::apply(float* pixels, std::size_t count) const {
    const Columns columns = columns_;
    for (float* pixel = pixels; pixel != pixels + count * kFloatsPerPixel; pixel += kFloatsPerPixel) {
        float result[kFloatsPerPixel];
        for (std::size_t row = 0; row < kFloatsPerPixel; ++row) {
            result[row] = columns[0][row] * pixel[0] + columns[1][row] * pixel[1] + columns[2][row] * pixel[2] +
                          columns[3][row] * pixel[3];
        }
        for (std::size_t row = 0; row < kFloatsPerPixel; ++row) pixel[row] = result[row];
    }
}

}  // namespace core_image
