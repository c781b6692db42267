// field.h - infinite images computed from the coordinates of each pixel.
//
// Adding one: derive from Field and pass it to MakeFieldImage.

#pragma once

#include <memory>

#include "core/image.h"

namespace core_image {

// A function of the coordinates.
class Field {
  public:
    virtual ~Field() = default;

    // Writes every pixel of a tile. Each depends only on its coordinates.
    virtual void Render(const Tile& tile) const = 0;
};

ImageRef MakeFieldImage(std::shared_ptr<const Field> field);

}  // namespace core_image
