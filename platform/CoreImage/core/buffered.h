// buffered.h - images rendered once for a region, where many tiles would each render the same pixels again.

#pragma once

#include "core/image.h"

namespace core_image {

// The same image. All that a region needs of it is held in memory while the region is rendered.
ImageRef MakeBufferedImage(ImageRef input);

// A region of an image, rendered on all cores; transparent where the image is not.
PixelBlock RenderBlock(const ImageRef& image, const Region& region);

}  // namespace core_image
