// field.h - endless images computed from the place of each pixel.
//
// Adding one: derive from Field and hand it to MakeFieldImage.

#pragma once

#include <memory>

#include "core/image.h"
#include "core/inputs.h"

namespace core_image {

// What stands where.
class Field {
  public:
    virtual ~Field() = default;

    // Writes every pixel of a tile; each depends on its place only.
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
