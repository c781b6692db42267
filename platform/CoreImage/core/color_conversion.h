// color_conversion.h - converts colors between an ICC profile and linear light with the primaries of sRGB, with
// Little CMS.
//
// Conversions are relative colorimetric. Out-of-range colors are converted too where the profile's curves are
// formulas. A profile equivalent to the sRGB curve, or to no curve, is recognized and handled by the engine's own
// faster code.
// Lifetime: shared; the most recent conversions are cached.
// Threads:  any.

#pragma once

#include <cstddef>
#include <memory>

#include "core/transfer.h"

namespace core_image {

// The bytes of an ICC profile, borrowed.
struct Profile {
    const void* bytes = nullptr;
    std::size_t length = 0;
};

// The direction of a conversion.
enum class MatchingDirection { kToLight, kFromLight };

// Converts colors of one profile in one direction.
class ColorConversion {
  public:
    virtual ~ColorConversion() = default;

    // Converts pixels in place: four floats each. The colors are not premultiplied; the fourth number is unchanged.
    virtual void Convert(float* pixels, std::size_t count) const = 0;
};

// How the numbers of a bitmap encode light: by a curve, or by a conversion where there is one.
struct Coding {
    Transfer transfer = Transfer::kSRGB;
    std::shared_ptr<const ColorConversion> conversion;
};

// The coding of a profile of red, green and blue, or of gray, which is stored in red and copied to all three. A
// profile that cannot be read gets the sRGB curve.
Coding CodingOfProfile(const Profile& profile, MatchingDirection direction);

}  // namespace core_image
