// colour.h - the family of filters that change colours where they stand.

#pragma once

#include "core/inputs.h"

namespace core_image {

// CIColorControls: inputSaturation, then inputContrast, then inputBrightness.
ImageRef ColourControls(const Inputs& inputs);

}  // namespace core_image
