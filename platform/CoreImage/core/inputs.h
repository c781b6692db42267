// inputs.h - the values that a filter computes from, read by key.
//
// The values are views of objects that the filter keeps. They own nothing and need no clean-up, so an exception that
// leaves by longjmp while they are read leaks nothing.
// Lifetime: until the filter function returns. An image copies the values that it keeps, and retains the owner of
//           bytes.
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

// Larger numbers, including infinity, are limited to this so that arithmetic in a filter stays finite.
inline constexpr double kLargestNumber = 1e30;

// A finite float: limited to kLargestNumber, and 0 for NaN.
float FiniteFloat(double value);

// The color spaces of values. kNone: no space given. kProfile: a space given by its ICC profile. kOther: an object
// that is not a space of red, green and blue.
enum class ColorSpace { kNone, kLinear, kSRGB, kProfile, kOther };

// The object that keeps bytes alive. Null for bytes that live forever.
struct BytesOwner {
    const void* object = nullptr;
    void (*retain)(const void* object) = nullptr;
    void (*release)(const void* object) = nullptr;
};

// One input. Its class determines which members are filled; the others stay empty.
struct InputValue {
    const char* key = nullptr;
    double number = 0;
    const double* elements = nullptr;  // of a vector, a color (sRGB, straight alpha) or a transform (a b c d tx ty)
    std::size_t count = 0;             // of elements or bytes
    const void* bytes = nullptr;       // of data, or of a space's profile
    BytesOwner owner = {};             // of the bytes, which never change
    const ImageRef* image = nullptr;
    ColorSpace space = ColorSpace::kNone;
};

// A pixel of linear light, premultiplied.
struct Pixel {
    float red, green, blue, alpha;
};

// Thrown when a filter function reads a key that its filter does not declare; what() is the key. This is a mistake
// in the function, not in the user's input: a misspelled key would otherwise read as 0 forever.
class UndeclaredKey : public std::logic_error {
  public:
    explicit UndeclaredKey(std::string_view key) : std::logic_error(std::string(key)) {}
};

// All inputs of one filter: one value for each key that it declares, empty for a key without a value.
//
// Every function below throws UndeclaredKey for any other key.
class Inputs {
  public:
    Inputs(const InputValue* values, std::size_t count) : values_(values), count_(count) {}

    // A number; always finite.
    double GetNumber(std::string_view key) const;

    // An element of a vector; always finite, 0 beyond the vector's end.
    double GetElement(std::string_view key, std::size_t index) const;

    // A rectangle (x, y, width, height) as an extent, rounded outward. An edge as far away as that of the infinite
    // rectangle becomes infinite.
    Extent GetRectangle(std::string_view key) const;

    Pixel GetColor(std::string_view key) const;

    // The bytes as floats, kept alive by the result; null when there are fewer than count. They may be unaligned.
    std::shared_ptr<const float> GetFloats(std::string_view key, std::size_t count) const;

    ColorSpace GetSpace(std::string_view key) const;

    // The profile of a color space of kind kProfile.
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

// The extent of a rectangle given by its corner and size, which may be negative, infinite or NaN.
Extent ExtentOfRectangle(double x, double y, double width, double height);

}  // namespace core_image
