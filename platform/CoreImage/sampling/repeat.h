// repeat.h - images made infinite on whole pixels: by repeating the image, or its outermost rows and columns.
//
// Interpolation then works on an infinite image: there are no seams.

#pragma once

#include "core/image.h"

namespace core_image {

// An image side by side with itself in both directions. Returns the input itself when its extent is empty or not
// finite.
ImageRef MakeTiledImage(ImageRef input);

// An image extended by its nearest pixels. Returns the input itself when its extent is empty or not finite.
ImageRef MakeClampedImage(ImageRef input);

// The input of a clamped image; null for any other image.
ImageRef InputOfClamped(const ImageRef& image);

// The pixels of a clamped image's input that a region shows: at least one.
[[nodiscard]] Region Nearest(const Region& region, const Region& all);

}  // namespace core_image
