// filters.h - the family of filters that pull a picture out of shape.
//
// Each is a warp (geometry/warp.h) and reaches as far as its input unless it says otherwise. Without inputImage, or another image
// that it needs, there is none. Settings that move nothing give the input itself.
//
// Adding one: a function in this folder, named as the filter is without "CI", and a line in the list.

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
