// halftone.h - the family of filters that draw tones with patterns of ink.
//
// A pattern is a number between -1/2 and 1/2 for every place, 0 in the mean. A tone v becomes clamp(0.5 + (v - 0.5 - pattern) /
// (1 - sharpness)): a sharp pattern is nearly black and white, and white in as much of it as the tone is light; rings exactly,
// dots within a tenth.
// Filters see their image divided by alpha and clipped to 0...1; alpha stays. The extent is the input's.

#pragma once

#include "core/inputs.h"

namespace core_image {

// CICircularScreen: rings around inputCenter, inputWidth apart.
ImageRef CircularScreen(const Inputs& inputs);

// CIDotScreen: dots inputWidth apart in rows along inputAngle, placed by inputCenter.
ImageRef DotScreen(const Inputs& inputs);

// CICMYKHalftone: a screen of dots for each of four inks on white paper. Black replaces inputGCR of the gray that the other inks
// have in common; inputUCR of that black is taken away from them.
ImageRef CMYKHalftone(const Inputs& inputs);

}  // namespace core_image
