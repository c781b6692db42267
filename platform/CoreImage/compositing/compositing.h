// compositing.h - the family of filters that lay inputImage over inputBackgroundImage.
//
// All reach over both images. Where one of them is missing the other is the result; without either there is none.

#pragma once

#include "core/inputs.h"

namespace core_image {

// The image over the background, as a transparent sheet lies over another; no filter of its own, a method of images.
ImageRef SourceOver(const Inputs& inputs);

// CIAdditionCompositing: the sum, of alpha too, which may then exceed 1.
ImageRef AdditionCompositing(const Inputs& inputs);

// The blend modes: where both images are, the mode's own color; where one of them is, that. See blend.h.
ImageRef ColorBlendMode(const Inputs& inputs);
ImageRef ColorBurnBlendMode(const Inputs& inputs);
ImageRef ColorDodgeBlendMode(const Inputs& inputs);
ImageRef DarkenBlendMode(const Inputs& inputs);
ImageRef DifferenceBlendMode(const Inputs& inputs);
ImageRef ExclusionBlendMode(const Inputs& inputs);

// CIBlendWithMask, CIBlendWithAlphaMask: from the background to the image as inputMaskImage's green, or alpha, goes from 0 to 1.
// Reaches over the background and over the image inside the mask. Without a mask it is the background.
ImageRef BlendWithMask(const Inputs& inputs);
ImageRef BlendWithAlphaMask(const Inputs& inputs);

}  // namespace core_image
