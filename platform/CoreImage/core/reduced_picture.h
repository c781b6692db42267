// reduced_picture.h - whether a picture that is decoded at a smaller scale looks like the whole one.
//
// A decoder averages the stored numbers of a square, not the light that they encode. Where neighbors differ much, the
// mean is too dark. How much is measured on the uppermost rows, which are decoded at both scales.
//
// Threads: any.
// Failure: SourceFailure, MemoryShortage.

#pragma once

#include <cstddef>

namespace core_image {

class RowWindow;

// A picture of bytes in the order red, green, blue, alpha.
struct DecodedRows {
    RowWindow* rows;
    std::size_t width;
    std::size_t height;
};

// Whether a picture that is shown so many times smaller differs by less than one level (root mean square) when it is
// decoded at a scale that is `factor` times smaller.
[[nodiscard]] bool LooksLikeWhole(const DecodedRows& whole, const DecodedRows& reduced, std::size_t factor,
                                  double shrinks);

}  // namespace core_image
