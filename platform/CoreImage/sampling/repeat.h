// repeat.h - images made endless on whole pixels: by repeating them, or by repeating their outermost rows and columns.
//
// Places between pixels are then simply places between pixels of the endless image: there are no seams.

#pragma once

#include "core/image.h"

namespace core_image {

// An image side by side with itself in both directions. The input itself when its extent is empty or not finite.
ImageRef MakeTiledImage(ImageRef input);

// An image whose nearest pixel stands wherever it is not. The input itself when its extent is empty or not finite.
ImageRef MakeClampedImage(ImageRef input);

}  // namespace core_image
