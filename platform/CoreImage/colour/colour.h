// colour.h - the family of filters that change colours where they stand.

#pragma once

#include "core/inputs.h"

namespace core_image {

// CIColorControls: inputSaturation, then inputContrast, then inputBrightness.
ImageRef ColourControls(const Inputs& inputs);

// CIColorCube and CIColorCubeWithColorSpace: the colour that inputCubeData, a table of inputCubeDimension texels each way, holds
// for a pixel's. Texels are premultiplied red, green, blue and alpha; red runs fastest, blue slowest. A colour, divided by alpha
// and clipped to 0...1, lies between eight of them, whose mean by distance is multiplied by the pixel's alpha. The second filter
// looks colours up, and takes what it finds, encoded in inputColorSpace. Null for data too short.
ImageRef ColourCube(const Inputs& inputs);
ImageRef ColourCubeWithColourSpace(const Inputs& inputs);

}  // namespace core_image
