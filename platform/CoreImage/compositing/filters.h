// filters.h - filters that combine inputImage with inputBackgroundImage.
//
// The extent covers both images. Where one of them is missing the other is the result; without both there is none.
//
// Adding one: a function in this folder, named like the filter without "CI", and a line in the list.

#pragma once

#include "core/filter.h"

// Every filter of the family.
#define COMPOSITING_FILTERS(FILTER) \
    FILTER(AdditionCompositing)     \
    FILTER(BlendWithAlphaMask)      \
    FILTER(BlendWithMask)           \
    FILTER(ColorBlendMode)          \
    FILTER(ColorBurnBlendMode)      \
    FILTER(ColorDodgeBlendMode)     \
    FILTER(DarkenBlendMode)         \
    FILTER(DifferenceBlendMode)     \
    FILTER(ExclusionBlendMode)

namespace core_image {

COMPOSITING_FILTERS(DECLARE_FILTER)

}  // namespace core_image
