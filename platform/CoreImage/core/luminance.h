// luminance.h - the contribution of each linear color to brightness.

#pragma once

namespace core_image {

// Of red, green and blue.
inline constexpr double kLuminance[] = {0.2125, 0.7154, 0.0721};

}  // namespace core_image
