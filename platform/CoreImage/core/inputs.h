// inputs.h - the values that a filter computes from, read by key.
//
// The values are views into objects that the filter keeps, so they hold nothing and need no cleaning up: an exception that
// leaves by a jump while they are being read loses nothing.
// Lifetime: until the filter function returns. What an image keeps, it copies; bytes it keeps by their owner.
// Threads:  one.

#pragma once

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "core/color_conversion.h"
#include "core/image.h"

namespace core_image {

// Why a limit on numbers: what is infinite or larger than this is taken as this, so that arithmetic in a filter stays finite.
inline constexpr double kLargestNumber = 1e30;

// A number as a float that arithmetic can rely on: none larger than kLargestNumber; 0 for what is no number.
float FiniteFloat(double value);

// The color spaces that values can be given in: none stands for no space, profile for one whose ICC profile is given, other for an
// object that is no space of red, green and blue.
enum class ColorSpace { kNone, kLinear, kSRGB, kProfile, kOther };

// An object that keeps bytes where they are. Without one they stay for good.
struct BytesOwner {
    const void* object = nullptr;
    void (*retain)(const void* object) = nullptr;
    void (*release)(const void* object) = nullptr;
};

// One input: whichever of the members its class fills; the others stay empty.
struct InputValue {
    const char* key = nullptr;
    double number = 0;
    const double* elements = nullptr;  // of a vector, a color (sRGB, straight alpha) or a transform (a b c d tx ty)
    std::size_t count = 0;             // of elements, or of bytes
    const void* bytes = nullptr;       // of data, or of a space's profile
    BytesOwner owner = {};             // of the bytes, which never change
    const ImageRef* image = nullptr;
    ColorSpace space = ColorSpace::kNone;
};

// Linear light, premultiplied.
struct Pixel {
    float red, green, blue, alpha;
};

// Thrown when a filter function reads a key that its filter does not declare; what() is the key. This is a mistake in the
// function, not in what a user gave: a misspelled key would otherwise read as 0 forever.
class UndeclaredKey : public std::logic_error {
  public:
    explicit UndeclaredKey(std::string_view key) : std::logic_error(std::string(key)) {}
};

// All inputs of one filter: one value for each key that it declares, empty for a key that has no value.
//
// Every function below throws UndeclaredKey for any other key.
class Inputs {
  public:
    Inputs(const InputValue* values, std::size_t count) : values_(values), count_(count) {}

    // A number; finite.
    double GetNumber(std::string_view key) const;

    // An element of a vector; finite, 0 where the vector is too short.
    double GetElement(std::string_view key, std::size_t index) const;

    // A rectangle (x, y, width, height) as an extent, rounded outward. Whatever reaches as far as the infinite one is infinite.
    Extent GetRectangle(std::string_view key) const;

    // A color.
    Pixel GetColor(std::string_view key) const;

    // The floats that bytes are, kept as long as they are used; null when there are fewer. They may lie anywhere in memory.
    std::shared_ptr<const float> GetFloats(std::string_view key, std::size_t count) const;

    // A color space.
    ColorSpace GetSpace(std::string_view key) const;

    // The profile of a color space that is given by one.
    Profile GetProfile(std::string_view key) const;

    // An image; null when there is none.
    ImageRef GetImage(std::string_view key) const;

  private:
    const InputValue& Find(std::string_view key) const;

    const InputValue* values_;
    std::size_t count_;
};

// The pixel of an sRGB color with straight alpha.
Pixel PixelOfColor(const double* components);

// The extent of a rectangle given by its corner and size, which may be negative, infinite or no numbers at all.
Extent ExtentOfRectangle(double x, double y, double width, double height);

}  // namespace core_image
