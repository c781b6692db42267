// profiles.h - ICC profiles: made of numbers, and read for what they are about.
//
// Threads: any; nothing is shared. Nothing is printed.

#pragma once

#include <cstddef>

namespace core_graphics {

// The bytes of a profile, allocated with malloc, for the caller to free; null where there are none.
struct ProfileBytes {
    void* bytes = nullptr;
    std::size_t length = 0;
};

// A place on the chromaticity diagram.
struct Chromaticity {
    double x;
    double y;
};

inline constexpr Chromaticity kD65 = {0.3127, 0.3290};

// How numbers stand for light: a power, or the curve of sRGB.
inline constexpr double kCurveOfSRGB = 0;

// The profile of a space of red, green and blue. Null when the primaries do not span one.
ProfileBytes MakeRGBProfile(Chromaticity white, const Chromaticity (&primaries)[3], const double (&gammas)[3]);

// The profile of a space of gray.
ProfileBytes MakeGrayProfile(Chromaticity white, double gamma);

// What a profile is about: how many numbers make a color, 1 for gray and 3 for red, green and blue; 0 for what is no profile of
// a picture in one of these.
int ComponentsOfProfile(const void* bytes, std::size_t length);

}  // namespace core_graphics
