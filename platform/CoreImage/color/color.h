// color.h - the family of filters that change colors where they stand.

#pragma once

#include "core/inputs.h"

namespace core_image {

// CIColorControls: inputSaturation, then inputContrast, then inputBrightness.
ImageRef ColorControls(const Inputs& inputs);

// CIExposureAdjust: colors times two to the power of inputEV.
ImageRef ExposureAdjust(const Inputs& inputs);

// CIGammaAdjust: colors, 0 at least, to the power of inputPower.
ImageRef GammaAdjust(const Inputs& inputs);

// CIColorInvert: one minus each color.
ImageRef ColorInvert(const Inputs& inputs);

// CIColorMatrix: red, green, blue and alpha are each the product of (red, green, blue, alpha) and inputRVector, inputGVector,
// inputBVector or inputAVector, plus an element of inputBiasVector. Alpha may exceed 1. Infinite where the bias has alpha.
ImageRef ColorMatrixFilter(const Inputs& inputs);

// CIColorClamp: each of red, green, blue and alpha between its elements of inputMinComponents and inputMaxComponents. Infinite
// where the least alpha is more than 0.
ImageRef ColorClamp(const Inputs& inputs);

// CIColorPosterize: each color becomes the nearest of inputLevels evenly spaced ones. One level and less is black.
ImageRef ColorPosterize(const Inputs& inputs);

// CIColorMonochrome: by inputIntensity towards shades of inputColor, black through the color to white.
ImageRef ColorMonochrome(const Inputs& inputs);

// CIFalseColor: inputColor0 where luminance is 0, inputColor1 where it is 1, and on the straight line through them elsewhere.
ImageRef FalseColor(const Inputs& inputs);

// CIColorPolynomial: each channel under a cubic of its own, alpha too. Infinite where that of alpha has a constant.
ImageRef ColorPolynomial(const Inputs& inputs);

// CIColorCrossPolynomial: each color is a sum of red, green, blue, their squares, their products and 1.
ImageRef ColorCrossPolynomial(const Inputs& inputs);

// CIColorMap: the color that inputGradientImage has in its lowest row, where luminance runs along its width from 0 to 1. Null for
// a gradient image that is empty or infinite.
ImageRef ColorMap(const Inputs& inputs);

// CIColorCube and CIColorCubeWithColorSpace: the color that inputCubeData, a table of inputCubeDimension texels each way, holds
// for a pixel's. Texels are premultiplied red, green, blue and alpha; red runs fastest, blue slowest. A color, divided by alpha
// and clipped to 0...1, lies between eight of them, whose mean by distance is multiplied by the pixel's alpha. The second filter
// looks colors up, and takes what it finds, encoded in inputColorSpace. Null for data too short.
ImageRef ColorCube(const Inputs& inputs);
ImageRef ColorCubeWithColorSpace(const Inputs& inputs);

}  // namespace core_image
