// color_conversion.h - colors of an ICC profile to linear light with the primaries of sRGB, and back, by Little CMS.
//
// Colors are brought over as they are measured relative to white, out-of-range ones too where the profile's curves have a formula.
// Profiles that say the same as the curve of sRGB, or as no curve at all, are known, so that these take the engine's own way.
// Lifetime: shared; conversions that were made last are kept for the next who asks for the same.
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

// What a conversion leads to.
enum class MatchingDirection { kToLight, kFromLight };

// Converts colors of one profile in one direction.
class ColorConversion {
  public:
    virtual ~ColorConversion() = default;

    // Converts pixels in place: four floats each, not multiplied by the fourth, which stays.
    virtual void Convert(float* pixels, std::size_t count) const = 0;
};

// How the numbers of a bitmap stand for light: by a curve, or as a conversion says where there is one.
struct Coding {
    Transfer transfer = Transfer::kSRGB;
    std::shared_ptr<const ColorConversion> conversion;
};

// The coding of a profile: of red, green and blue, or of gray, which stands in the red and is given to all three. The curve of sRGB
// for what cannot be understood.
Coding CodingOfProfile(const Profile& profile, MatchingDirection direction);

}  // namespace core_image
