// geometry.h - the family of filters that choose and move places.

#pragma once

#include "core/inputs.h"

namespace core_image {

// The part of an image inside an extent. The image itself when all of it is; its extent is empty when nothing is.
ImageRef MakeCroppedImage(ImageRef input, const Extent& extent);

// CICrop: the part inside inputRectangle, rounded outward to whole pixels.
ImageRef Crop(const Inputs& inputs);

// CIAffineTransform: the image under inputTransform.
ImageRef AffineTransform(const Inputs& inputs);

// CIAffineClamp and CIAffineTile: the image made endless, by its outermost pixels or by itself, and then under inputTransform.
ImageRef AffineClamp(const Inputs& inputs);
ImageRef AffineTile(const Inputs& inputs);

}  // namespace core_image
