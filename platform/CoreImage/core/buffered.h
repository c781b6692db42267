// buffered.h - images rendered once for a region, where many tiles would otherwise render the same pixels again.

#pragma once

#include "core/image.h"

namespace core_image {

// The same image. While a region is rendered, everything that it needs of the image is held in memory.
ImageRef MakeBufferedImage(ImageRef input);

// A region of an image, rendered on all cores; transparent outside the image.
PixelBlock RenderBlock(const ImageRef& image, const Region& region);

}  // namespace core_image
