// crop.cpp - CICrop.

#include <utility>

#include "core/cropped.h"
#include "geometry/filters.h"

namespace core_image {

// CICrop: the part inside inputRectangle, rounded outward to whole pixels.
ImageRef Crop(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    return input == nullptr ? nullptr : MakeCroppedImage(std::move(input), inputs.GetRectangle("inputRectangle"));
}

}  // namespace core_image
