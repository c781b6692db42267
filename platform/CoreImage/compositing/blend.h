// blend.h - how the pixels of two images are combined, or of two under a mask; vectorized for the processor.
//
// Pixels are premultiplied. A blend mode receives both images clipped to 0...1 and is a function of two colors, each
// divided by its alpha; the result is
//
//     (1 - background alpha) source + (1 - source alpha) background + source alpha * background alpha * mode
//
// with the alpha of source over background.
// Threads:  any.
// Adding one: its line in the list, and its function in blend.cpp.

#pragma once

#include <cstddef>

namespace core_image {

// Ways to combine a background, in place, with the other images in order: a source, and for the last two a mask.
#define CORE_IMAGE_BLENDS(BLEND)                                                                          \
    BLEND(Add)        /* source + background, alpha too, nothing clipped */                               \
    BLEND(Over)       /* source + (1 - source alpha) background, no color clipped */                      \
    BLEND(Darken)     /* the smaller of each color */                                                     \
    BLEND(Difference) /* how far each color is from the other */                                          \
    BLEND(Exclude)    /* source + background - 2 source * background */                                   \
    BLEND(Burn)       /* 1 - (1 - background) / source, 0 at least; white stays white */                  \
    BLEND(Dodge)      /* background / (1 - source), 1 at most; black stays black */                       \
    BLEND(Colorize)   /* hue and saturation of the source, lightness (max + min) / 2 of the background */ \
    BLEND(MaskGreen)  /* background to source, nothing clipped, as the mask's green goes from 0 to 1 */   \
    BLEND(MaskAlpha)  /* the same by the mask's alpha */

#define CORE_IMAGE_DECLARE(name) void name##Row(float* pixels, const float* const* others, std::size_t count);
CORE_IMAGE_BLENDS(CORE_IMAGE_DECLARE)
#undef CORE_IMAGE_DECLARE

}  // namespace core_image
