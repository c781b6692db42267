// generator.h - the family of filters that need no image.

#pragma once

#include "core/inputs.h"

namespace core_image {

// One pixel everywhere.
ImageRef MakeConstantImage(const Pixel& pixel);

// CIConstantColorGenerator: inputColor everywhere.
ImageRef ConstantColor(const Inputs& inputs);

// CICheckerboardGenerator: squares of inputWidth, one corner of them at inputCenter, inputColor0 above and to the right of it.
ImageRef CheckerboardGenerator(const Inputs& inputs);

// CIGaussianGradient: from inputColor0 at inputCenter to inputColor1 at inputRadius and beyond.
ImageRef GaussianGradientGenerator(const Inputs& inputs);

}  // namespace core_image
