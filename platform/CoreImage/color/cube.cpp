// cube.cpp - the cube filters: the plain one, and the one whose table is in a color space of its own.
//
// The second is three steps: encode, look up, decode. Each divides by alpha and multiplies again, which cancels out
// between them.

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <utility>
#include <vector>

#include "color/cube_kernels.h"
#include "color/filters.h"
#include "core/color_matching.h"
#include "core/point.h"
#include "core/transfer.h"

namespace core_image {
namespace {

constexpr double kSmallestDimension = 2;
constexpr double kLargestDimension = 128;

class Cube : public PointFunction {
  public:
    Cube(std::shared_ptr<const float> texels, int dimension) : texels_(std::move(texels)), dimension_(dimension) {}

    void ApplyToRun(float* blocks, std::size_t count) const override {
        if (const std::uint8_t* levels = levels_.load(std::memory_order_acquire)) {
            LookUpCube(levels, dimension_, blocks, count);
        } else {
            LookUpCube(texels_.get(), dimension_, blocks, count);
        }
    }

    // Why not always: a table may be larger than a picture, of which it then needs few texels.
    void Expect(double pixels) const override {
        const auto texels = static_cast<std::size_t>(dimension_ * dimension_ * dimension_);
        if (pixels < static_cast<double>(texels)) return;
        std::call_once(once_, [&] {
            rounded_.resize(texels * kFloatsPerPixel);
            RoundTexels(texels_.get(), rounded_.size(), rounded_.data());
            levels_.store(rounded_.data(), std::memory_order_release);
        });
    }

  private:
    std::shared_ptr<const float> texels_;
    int dimension_;

    mutable std::once_flag once_;
    mutable std::vector<std::uint8_t> rounded_;
    mutable std::atomic<const std::uint8_t*> levels_ = nullptr;  // once they are rounded
};

class Encoding : public PointFunction {
  public:
    void ApplyToRun(float* blocks, std::size_t count) const override { EncodeClipped(blocks, count); }
};

class Decoding : public PointFunction {
  public:
    void ApplyToRun(float* blocks, std::size_t count) const override { DecodeClipped(blocks, count); }
};

// The cube of a filter; null for an unsupported dimension or too little data.
std::unique_ptr<const Cube> ReadCube(const Inputs& inputs) {
    const double number = inputs.GetNumber("inputCubeDimension");
    if (number < kSmallestDimension || number >= kLargestDimension + 1) return nullptr;
    const auto dimension = static_cast<std::size_t>(number);
    const std::size_t count = dimension * dimension * dimension * kFloatsPerPixel;
    std::shared_ptr<const float> texels = inputs.GetFloats("inputCubeData", count);
    if (texels == nullptr) return nullptr;
    return std::make_unique<Cube>(std::move(texels), static_cast<int>(dimension));
}

}  // namespace

// CIColorCube and CIColorCubeWithColorSpace: replace each color by that in inputCubeData, a table of
// inputCubeDimension texels in each direction. Texels are premultiplied red, green, blue and alpha; red varies
// fastest, blue slowest. A color, divided by alpha and clipped to 0...1, is interpolated linearly between eight
// texels; the result is multiplied by the pixel's alpha. The second filter encodes colors in inputColorSpace before
// the lookup and decodes the result. Returns null for too little data.
ImageRef ColorCube(const Inputs& inputs) {
    ImageRef input = inputs.GetImage("inputImage");
    std::unique_ptr<const Cube> cube = ReadCube(inputs);
    if (input == nullptr || cube == nullptr) return nullptr;
    return MakePointImage(std::move(input), std::move(cube));
}

ImageRef ColorCubeWithColorSpace(const Inputs& inputs) {
    ColorSpace space = inputs.GetSpace("inputColorSpace");
    if (space == ColorSpace::kOther) return nullptr;
    Coding toSpace, toLight;
    if (space == ColorSpace::kProfile) {
        toSpace = CodingOfProfile(inputs.GetProfile("inputColorSpace"), MatchingDirection::kFromLight);
        toLight = CodingOfProfile(inputs.GetProfile("inputColorSpace"), MatchingDirection::kToLight);
        space = toSpace.transfer == Transfer::kLinear ? ColorSpace::kLinear : ColorSpace::kSRGB;
    }
    if (space != ColorSpace::kSRGB) return ColorCube(inputs);
    ImageRef input = inputs.GetImage("inputImage");
    std::unique_ptr<const Cube> cube = ReadCube(inputs);
    if (input == nullptr || cube == nullptr) return nullptr;
    if (toSpace.conversion != nullptr && toLight.conversion != nullptr) {
        ImageRef numbers = MakeConvertedImage(std::move(input), std::move(toSpace.conversion));
        return MakeConvertedImage(MakePointImage(std::move(numbers), std::move(cube)), std::move(toLight.conversion));
    }
    ImageRef encoded = MakePointImage(std::move(input), std::make_unique<Encoding>());
    return MakePointImage(MakePointImage(std::move(encoded), std::move(cube)), std::make_unique<Decoding>());
}

}  // namespace core_image
