// field.h - infinite images computed from the coordinates of each pixel.
//
// Adding one: derive from Field and pass it to MakeFieldImage.

#pragma once

#include <memory>

#include "core/image.h"
#include "core/inputs.h"

namespace core_image {

// A function of the coordinates.
class Field {
  public:
    virtual ~Field() = default;

    // Writes every pixel of a tile. Each depends only on its coordinates.
    virtual void Render(const Tile& tile) const = 0;
};

ImageRef MakeFieldImage(std::shared_ptr<const Field> field);

// Writes a + k (b - a).
inline void WriteMix(const Pixel& a, const Pixel& b, float k, float* to) {
    to[0] = a.red + k * (b.red - a.red);
    to[1] = a.green + k * (b.green - a.green);
    to[2] = a.blue + k * (b.blue - a.blue);
    to[3] = a.alpha + k * (b.alpha - a.alpha);
}

}  // namespace core_image
