// colour.h - the family of filters that change colours where they stand.

#pragma once

#include "core/inputs.h"

namespace core_image {

// CIColorControls: inputSaturation, then inputContrast, then inputBrightness.
ImageRef ColourControls(const Inputs& inputs);

// CIExposureAdjust: colours times two to the power of inputEV.
ImageRef ExposureAdjust(const Inputs& inputs);

// CIGammaAdjust: colours, 0 at least, to the power of inputPower.
ImageRef GammaAdjust(const Inputs& inputs);

// CIColorInvert: one minus each colour.
ImageRef ColourInvert(const Inputs& inputs);

// CIColorMatrix: red, green, blue and alpha are each the product of (red, green, blue, alpha) and inputRVector, inputGVector,
// inputBVector or inputAVector, plus an element of inputBiasVector. Alpha may exceed 1. Infinite where the bias has alpha.
ImageRef ColourMatrixFilter(const Inputs& inputs);

// CIColorClamp: each of red, green, blue and alpha between its elements of inputMinComponents and inputMaxComponents. Infinite
// where the least alpha is more than 0.
ImageRef ColourClamp(const Inputs& inputs);

// CIColorPosterize: each colour becomes the nearest of inputLevels evenly spaced ones. One level and less is black.
ImageRef ColourPosterize(const Inputs& inputs);

// CIColorMonochrome: by inputIntensity towards shades of inputColor, black through the colour to white.
ImageRef ColourMonochrome(const Inputs& inputs);

// CIFalseColor: inputColor0 where luminance is 0, inputColor1 where it is 1, and on the straight line through them elsewhere.
ImageRef FalseColour(const Inputs& inputs);

// CIColorPolynomial: each channel under a cubic of its own, alpha too. Infinite where that of alpha has a constant.
ImageRef ColourPolynomial(const Inputs& inputs);

// CIColorCrossPolynomial: each colour is a sum of red, green, blue, their squares, their products and 1.
ImageRef ColourCrossPolynomial(const Inputs& inputs);

// CIColorMap: the colour that inputGradientImage has in its lowest row, where luminance runs along its width from 0 to 1. Null for
// a gradient image that is empty or infinite.
ImageRef ColourMap(const Inputs& inputs);

// CIColorCube and CIColorCubeWithColorSpace: the colour that inputCubeData, a table of inputCubeDimension texels each way, holds
// for a pixel's. Texels are premultiplied red, green, blue and alpha; red runs fastest, blue slowest. A colour, divided by alpha
// and clipped to 0...1, lies between eight of them, whose mean by distance is multiplied by the pixel's alpha. The second filter
// looks colours up, and takes what it finds, encoded in inputColorSpace. Null for data too short.
ImageRef ColourCube(const Inputs& inputs);
ImageRef ColourCubeWithColourSpace(const Inputs& inputs);

}  // namespace core_image
