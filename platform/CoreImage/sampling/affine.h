// affine.h - images under affine maps.

#pragma once

#include <optional>

#include "sampling/warp.h"

namespace core_image {

// x' = a x + c y + tx, y' = b x + d y + ty.
struct Affine {
    double a = 1, b = 0, c = 0, d = 1, tx = 0, ty = 0;

    bool operator==(const Affine&) const = default;

    // The inverse map; nothing for a map without one, or whose inverse has numbers larger than filters work with
    // (kLargestNumber).
    std::optional<Affine> Inverse() const;

    // The smallest extent that contains the mapped extent, not rounded.
    Extent Map(const Extent& extent) const;
};

// The map of six numbers, a b c d tx ty.
inline Affine AffineOf(const double* numbers) {
    return {numbers[0], numbers[1], numbers[2], numbers[3], numbers[4], numbers[5]};
}

// The image under a map; its extent is rounded outward to whole pixels. Returns null for a map that cannot be
// inverted.
//
// Interpolation is bilinear, with transparent pixels around the image. A picture is interpolated as stored, encoded,
// unless linear light is requested; every other image is interpolated in linear light. Moves by whole pixels copy
// them. The identity returns the input.
ImageRef MakeAffineImage(ImageRef input, const Affine& map, Light light = Light::kAsStored);

}  // namespace core_image
