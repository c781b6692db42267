// point.h - images computed pixel by pixel from one input, where the pixel stands.
//
// The function works in the tile that its input has just written: a chain of them runs through the cache, not through memory.
// Adding one: derive from PointFunction and hand it to MakePointImage.

#pragma once

#include <cstddef>
#include <memory>

#include "core/image.h"

namespace core_image {

// What becomes of a pixel.
class PointFunction {
  public:
    virtual ~PointFunction() = default;

    // Replaces pixels in place. Transparent black must stay transparent black.
    virtual void apply(float* pixels, std::size_t count) const = 0;
};

// The image of an input under a function; its extent is the input's.
ImageRef MakePointImage(ImageRef input, std::unique_ptr<const PointFunction> function);

}  // namespace core_image
