// color_matching.h - images converted between the space of a profile and the working space of filters: linear light
// with the primaries of sRGB.
//
// Matching can be switched off for a rendering; images are then rendered with the numbers stored in their bitmaps.
// Threads: images on any thread; a WithoutMatching scope affects only the thread that prepares the rendering.

#pragma once

#include <memory>

#include "core/color_conversion.h"
#include "core/image.h"

namespace core_image {

// The image of a bitmap whose numbers are read unchanged, together with a conversion to light.
ImageRef MakeMatchedImage(ImageRef numbers, std::shared_ptr<const ColorConversion> toLight);

// An image under a conversion: from light to the numbers of a space, or back.
ImageRef MakeConvertedImage(ImageRef image, std::shared_ptr<const ColorConversion> conversion);

// Switches matching off for everything that this thread prepares within the scope.
class WithoutMatching {
  public:
    WithoutMatching();
    ~WithoutMatching();
    WithoutMatching(const WithoutMatching&) = delete;

  private:
    bool before_;
};

// Whether matching is on for what this thread prepares.
bool IsMatching();

}  // namespace core_image
