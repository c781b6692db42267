// color_matching.h - images between the space of a profile and the space that filters work in: linear light, primaries of sRGB.
//
// Matching may be switched off for a rendering; images then are rendered with the numbers that their bitmaps hold.
// Threads: images on any thread; a scope belongs to the thread that prepares a rendering.

#pragma once

#include <memory>

#include "core/color_conversion.h"
#include "core/image.h"

namespace core_image {

// An image of a bitmap whose numbers were read as they are, with a conversion to light.
ImageRef MakeMatchedImage(ImageRef numbers, std::shared_ptr<const ColorConversion> toLight);

// An image under a conversion: from light to the numbers of a space, or back.
ImageRef MakeConvertedImage(ImageRef image, std::shared_ptr<const ColorConversion> conversion);

// Switches matching off, for what this thread prepares while the scope lasts.
class WithoutMatching {
  public:
    WithoutMatching();
    ~WithoutMatching();
    WithoutMatching(const WithoutMatching&) = delete;

  private:
    bool before_;
};

// Whether what this thread prepares is matched.
bool IsMatching();

}  // namespace core_image
