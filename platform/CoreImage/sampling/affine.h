// affine.h - images under affine maps.

#pragma once

#include <optional>

#include "sampling/warp.h"

namespace core_image {

// x' = a x + c y + tx, y' = b x + d y + ty.
struct Affine {
    double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;

    bool operator==(const Affine&) const = default;

    // The map back; none for a map that has none, or whose numbers are larger than filters work with (kLargestNumber).
    std::optional<Affine> Inverse() const;

    // The smallest extent that holds the map of another, not rounded.
    Extent Map(const Extent& extent) const;
};

// The map of six numbers, a b c d tx ty.
inline Affine AffineOf(const double* numbers) {
    return {numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], numbers[5]};
}

// The image under a map; its extent is rounded outward to whole pixels. Null for a map that cannot be inverted.
//
// Between pixels it is interpolated bilinearly, with transparent pixels around the image: in a picture the numbers that are
// stored there, encoded, unless linear light is asked for; in everything else linear light. Moving by whole pixels copies
// them. The identity gives the input.
ImageRef MakeAffineImage(ImageRef input, const Affine& map, Light light = Light::kAsStored);

}  // namespace core_image
