// cube.cpp - the cube filters: the plain one, and the one whose table is in a colour space of its own.
//
// The second is three steps, since dividing by alpha and multiplying by it again between them changes nothing: encode, look up,
// decode.

#include <algorithm>
#include <utility>

#include "colour/colour.h"
#include "colour/cube_kernels.h"
#include "core/point.h"

namespace core_image {
namespace {

constexpr double kSmallestDimension = 2;
constexpr double kLargestDimension = 128;

// Why levels: the table stands for a picture of bytes, and results are those of one. What is no number becomes 0; written
// without branches, so that the compiler rounds several at a time.
float RoundToByte(float value) {
    const float bounded = std::min(std::max(0.0f, value), 1.0f);
    return static_cast<float>(static_cast<int>(bounded * 255 + 0.5f)) / 255;
}

class Cube : public PointFunction {
  public:
    Cube(std::vector<float> texels, int dimension) : texels_(std::move(texels)), dimension_(dimension) {
        for (float& number : texels_) number = RoundToByte(number);
    }

    void apply(float* pixels, std::size_t count) const override {
        LookUpCube(texels_.data(), dimension_, pixels, count);
    }

  private:
    std::vector<float> texels_;
    int dimension_;
};

class Encoding : public PointFunction {
  public:
    void apply(float* pixels, std::size_t count) const override { EncodeRow(pixels, count); }
};

class Decoding : public PointFunction {
  public:
    void apply(float* pixels, std::size_t count) const override { DecodeRow(pixels, count); }
};

// The cube of a filter; null for a dimension that none has, and for data too short for it.
std::unique_ptr<const Cube> ReadCube(const Inputs& inputs) {
    const double number = inputs.number("inputCubeDimension");
    if (number < kSmallestDimension || number >= kLargestDimension + 1) return nullptr;
    const auto dimension = static_cast<std::size_t>(number);
    const std::size_t count = dimension * dimension * dimension * kFloatsPerPixel;
    std::vector<float> texels = inputs.floats("inputCubeData", count);
    if (texels.size() < count) return nullptr;
    return std::make_unique<Cube>(std::move(texels), static_cast<int>(dimension));
}

}  // namespace

ImageRef ColourCube(const Inputs& inputs) {
    ImageRef input = inputs.image("inputImage");
    std::unique_ptr<const Cube> cube = ReadCube(inputs);
    if (input == nullptr || cube == nullptr) return nullptr;
    return MakePointImage(std::move(input), std::move(cube));
}

ImageRef ColourCubeWithColourSpace(const Inputs& inputs) {
    const ColourSpace space = inputs.space("inputColorSpace");
    if (space == ColourSpace::other) return nullptr;
    if (space != ColourSpace::sRGB) return ColourCube(inputs);
    ImageRef input = inputs.image("inputImage");
    std::unique_ptr<const Cube> cube = ReadCube(inputs);
    if (input == nullptr || cube == nullptr) return nullptr;
    ImageRef encoded = MakePointImage(std::move(input), std::make_unique<Encoding>());
    return MakePointImage(MakePointImage(std::move(encoded), std::move(cube)), std::make_unique<Decoding>());
}

}  // namespace core_image
