// cmyk.h - converts pictures of printing inks to sRGB, with Little CMS.

#pragma once

#include "decode.h"

namespace image_io {

// Converts the four inks of each pixel - cyan, magenta, yellow and black - in place, by the picture's profile if it has
// one of inks, and drops the profile. Without a profile each ink takes away its part of the light. Inverted inks are 0
// where there is all of the ink.
void ConvertInks(Picture* picture, bool isInverted);

}  // namespace image_io
