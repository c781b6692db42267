// filters.h - filters that distort the shape of a picture.
//
// Each is a warp (sampling/warp.h) with the extent of its input, unless noted. Without inputImage, or another image
// that it needs, a filter returns null. Settings that move nothing return the input itself.
//
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define DISTORTION_FILTERS(FILTER) \
    FILTER(BumpDistortion)         \
    FILTER(BumpDistortionLinear)   \
    FILTER(CircleSplashDistortion) \
    FILTER(CircularWrap)           \
    FILTER(DisplacementDistortion) \
    FILTER(Droste)                 \
    FILTER(GlassDistortion)        \
    FILTER(GlassLozenge)

namespace core_image {

DISTORTION_FILTERS(DECLARE_FILTER)

}  // namespace core_image
