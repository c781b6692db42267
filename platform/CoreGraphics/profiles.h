// profiles.h - makes ICC profiles from parameters, and reads which color model a profile describes.
//
// Failure: null bytes or 0; nothing is printed.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>

namespace core_graphics {

// The bytes of a profile, allocated with malloc and freed by the caller; null on failure.
struct ProfileBytes {
    void* bytes = nullptr;
    std::size_t length = 0;
};

// A point on the CIE xy chromaticity diagram.
struct Chromaticity {
    double x;
    double y;
};

inline constexpr Chromaticity kD65 = {0.3127, 0.3290};

// A gamma is the exponent that maps a component to light. This value selects the curve of sRGB instead.
inline constexpr double kCurveOfSRGB = 0;

// Returns the profile of an RGB space. Null when the primaries do not span a space or a gamma is unusable.
[[nodiscard]] ProfileBytes MakeRGBProfile(Chromaticity white, const Chromaticity (&primaries)[3],
                                          const double (&gammas)[3]);

// Returns the profile of a gray space. Null when the gamma is unusable.
[[nodiscard]] ProfileBytes MakeGrayProfile(Chromaticity white, double gamma);

// Returns the number of color components that a profile describes: 1 for gray, 3 for RGB, 0 for any other bytes.
[[nodiscard]] int ComponentsOfProfile(const void* bytes, std::size_t length);

// Whether colors can be converted to a profile.
[[nodiscard]] bool SupportsOutput(const void* bytes, std::size_t length);

}  // namespace core_graphics
