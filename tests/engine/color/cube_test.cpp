// cube_test.cpp - compares color cubes with the interpolation of eight texels in doubles, and tests unusable cubes.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/engine_images.h"
#include "support/point_oracle.h"

namespace {

using namespace core_image;

double Level(double value) { return std::floor(std::clamp(value, 0.0, 1.0) * 255 + 0.5) / 255; }

// Interpolates a channel of the eight texels around a color in 0...1.
double LookUp(const std::vector<float>& texels, int dimension, const double* color, int channel) {
    double sum = 0;
    for (int corner = 0; corner < 8; ++corner) {
        double weight = 1;
        int index = 0;
        for (int axis = 2; axis >= 0; --axis) {
            const double place = color[axis] * (dimension - 1);
            const int cell = std::min(static_cast<int>(place), dimension - 2);
            const int side = corner >> axis & 1;
            weight *= side == 1 ? place - cell : 1 - (place - cell);
            index = index * dimension + cell + side;
        }
        sum += weight * Level(texels[static_cast<std::size_t>(index * 4 + channel)]);
    }
    return sum;
}

Slow SlowCube(const std::vector<float>& texels, int dimension, const Slow& pixel, bool encoded) {
    const Slow c = Unpremultiplied(pixel);
    double color[] = {c.red, c.green, c.blue};
    for (double& number : color) {
        number = std::clamp(number, 0.0, 1.0);
        if (encoded) number = number <= 0.0031308 ? 12.92 * number : 1.055 * std::pow(number, 1 / 2.4) - 0.055;
    }
    double found[4];
    for (int channel = 0; channel < 4; ++channel) found[channel] = LookUp(texels, dimension, color, channel);
    for (int channel = 0; encoded && channel < 3; ++channel) {
        const double e = found[3] == 0 ? 0 : std::clamp(found[channel] / found[3], 0.0, 1.0);
        found[channel] = found[3] * (e <= 0.04045 ? e / 12.92 : std::pow((e + 0.055) / 1.055, 2.4));
    }
    return {found[0] * c.alpha, found[1] * c.alpha, found[2] * c.alpha, found[3] * c.alpha};
}

// Returns random premultiplied texels.
std::vector<float> RandomTexels(int dimension, RandomNumbers& random) {
    std::vector<float> texels;
    for (int index = 0; index < dimension * dimension * dimension; ++index) {
        const double alpha = index % 3 == 0 ? random(0.2, 1) : 1;
        for (int channel = 0; channel < 3; ++channel) texels.push_back(static_cast<float>(random(0, alpha)));
        texels.push_back(static_cast<float>(alpha));
    }
    return texels;
}

FilterValues CubeValues(const ImageRef& image, const std::vector<float>& texels, double dimension) {
    FilterValues values;
    values.Image("inputImage", image).Number("inputCubeDimension", dimension);
    values.Bytes("inputCubeData", texels.data(), texels.size() * sizeof(float));
    return values;
}

class CubeTest : public testing::TestWithParam<int> {};

TEST_P(CubeTest, InterpolatesTheEightNearestTexels) {
    RandomNumbers random(static_cast<unsigned>(GetParam()));
    const std::vector<float> texels = RandomTexels(GetParam(), random);
    const ImageRef image = OutOfRangeImage(3);
    const FilterValues values = CubeValues(image, texels, GetParam());
    ExpectPixels(values.Output("CIColorCube"), {image}, [&](const std::vector<Slow>& inputs) {
        return SlowCube(texels, GetParam(), inputs[0], /*encoded=*/false);
    });
}

// The tolerance is ten times the usual one: between texels the slope of the table grows with its dimension, and the
// curve of sRGB makes it steeper.
TEST_P(CubeTest, SRGBCubeUsesEncodedColors) {
    RandomNumbers random(static_cast<unsigned>(GetParam()) + 100);
    const std::vector<float> texels = RandomTexels(GetParam(), random);
    const ImageRef image = OutOfRangeImage(4);
    FilterValues values = CubeValues(image, texels, GetParam());
    values.Space("inputColorSpace", ColorSpace::kSRGB);
    ExpectPixels(
        values.Output("CIColorCubeWithColorSpace"), {image},
        [&](const std::vector<Slow>& inputs) { return SlowCube(texels, GetParam(), inputs[0], /*encoded=*/true); },
        1e-4);
}

INSTANTIATE_TEST_SUITE_P(Dimensions, CubeTest, testing::Values(2, 3, 5, 17, 32));

TEST(CubeTest, TexelsAreRoundedToBytesAndRedVariesFastest) {
    std::vector<float> texels(32, 0.0f);
    for (std::size_t index = 0; index < 8; ++index) texels[4 * index + 3] = 1;
    texels[4 * 1] = 0.1f;      // the red of pure red
    texels[4 * 2 + 1] = 0.5f;  // the green of pure green
    texels[4 * 4 + 2] = 2;     // the blue of pure blue
    const auto found = [&](float red, float green, float blue) {
        const ImageRef image = OnePixel(red, green, blue, 1);
        return PixelOf(CubeValues(image, texels, 2).Output("CIColorCube"));
    };
    ExpectNear(found(1, 0, 0), {26.0 / 255, 0, 0, 1});
    ExpectNear(found(0, 1, 0), {0, 128.0 / 255, 0, 1});
    ExpectNear(found(0, 0, 1), {0, 0, 1, 1});
    ExpectNear(found(0, 0, 0.25f), {0, 0, 0.25, 1});
    ExpectNear(found(0.5f, 0.5f, 0), {6.5 / 255, 32.0 / 255, 0, 1});
}

TEST(CubeTest, NoSpaceOrALinearSpaceMatchesThePlainCube) {
    RandomNumbers random(9);
    const std::vector<float> texels = RandomTexels(4, random);
    const ImageRef image = InRangeImage(5);
    const FilterValues values = CubeValues(image, texels, 4);
    const std::vector<float> plain = Pixels(values.Output("CIColorCube"), kOffsetRegion);
    EXPECT_EQ(Pixels(values.Output("CIColorCubeWithColorSpace"), kOffsetRegion), plain);
    FilterValues linear = CubeValues(image, texels, 4);
    linear.Space("inputColorSpace", ColorSpace::kLinear);
    EXPECT_EQ(Pixels(linear.Output("CIColorCubeWithColorSpace"), kOffsetRegion), plain);
}

TEST(CubeTest, ShortDataUnusableDimensionsAndUnknownSpacesGiveNull) {
    const ImageRef image = OnePixel(1, 1, 1, 1);
    const std::vector<float> texels(33, 1.0f);
    EXPECT_NE(CubeValues(image, texels, 2).Output("CIColorCube"), nullptr);
    for (double dimension : {-1e30, -2.0, 0.0, 1.0, 3.0, 64.0, 128.0, 129.0, 1e30})
        EXPECT_EQ(CubeValues(image, texels, dimension).Output("CIColorCube"), nullptr) << dimension;
    EXPECT_EQ(CubeValues(image, std::vector<float>(31, 1.0f), 2).Output("CIColorCube"), nullptr);
    EXPECT_EQ(CubeValues(nullptr, texels, 2).Output("CIColorCube"), nullptr);
    FilterValues foreign = CubeValues(image, texels, 2);
    foreign.Space("inputColorSpace", ColorSpace::kOther);
    EXPECT_EQ(foreign.Output("CIColorCubeWithColorSpace"), nullptr);
}

// The table of a picture with more pixels than texels is rounded once, before the pixels.
TEST(CubeTest, ManyPixelsGiveTheSameBitsAsFew) {
    constexpr int kDimension = 5;
    constexpr std::int64_t kWidth = 40, kHeight = 30;
    constexpr std::int64_t kTexels = kDimension * kDimension * kDimension;
    static_assert(kWidth < kTexels && kWidth * kHeight > kTexels);
    RandomNumbers random(10);
    std::vector<float> texels = RandomTexels(kDimension, random);
    for (std::size_t index = 0; index < texels.size(); index += 7) texels[index] = static_cast<float>(random(-1, 2));
    texels[40] = std::nanf("");
    const ImageRef image = RandomImage(kWidth, kHeight);
    const auto pixels = [&](const Region& region) {
        return Pixels(CubeValues(image, texels, kDimension).Output("CIColorCube"), region);
    };
    std::vector<float> rows;
    for (std::int64_t y = kHeight; y-- > 0;) {
        const std::vector<float> row = pixels({0, y, kWidth, 1});
        rows.insert(rows.end(), row.begin(), row.end());
    }
    EXPECT_EQ(pixels({0, 0, kWidth, kHeight}), rows);
}

TEST(CubeTest, NaNInPixelsAndTexelsReadsAsZero) {
    const float nan = std::nanf("");
    std::vector<float> texels(32, nan);
    texels[0] = 1;
    ExpectNear(PixelOf(CubeValues(OnePixel(nan, nan, nan, 1), texels, 2).Output("CIColorCube")), {1, 0, 0, 0});
    ExpectNear(PixelOf(CubeValues(OnePixel(1, 1, 1, nan), texels, 2).Output("CIColorCube")), {0, 0, 0, 0});
}

}  // namespace
