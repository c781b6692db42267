// filters.h - filters that change colors pixel by pixel.
//
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define COLOR_FILTERS(FILTER)       \
    FILTER(ColorClamp)              \
    FILTER(ColorControls)           \
    FILTER(ColorCrossPolynomial)    \
    FILTER(ColorCube)               \
    FILTER(ColorCubeWithColorSpace) \
    FILTER(ColorInvert)             \
    FILTER(ColorMap)                \
    FILTER(ColorMatrix)             \
    FILTER(ColorMonochrome)         \
    FILTER(ColorPolynomial)         \
    FILTER(ColorPosterize)          \
    FILTER(ExposureAdjust)          \
    FILTER(FalseColor)              \
    FILTER(GammaAdjust)

namespace core_image {

COLOR_FILTERS(DECLARE_FILTER)

}  // namespace core_image
