// box_and_disc_test.cpp - compares box and disc blurs with sums over all pixels in doubles, and tests their limits.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "blur/blur.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

using Weight = std::function<double(std::int64_t x, std::int64_t y)>;

// Compares an image with the weighted mean of a source at random pixels in and around it. Weights are 0 beyond reach.
void ExpectWeightedMean(const ImageRef& image, const Source& source, std::int64_t reach, const Weight& weight,
                        Random& random) {
    double sum = 0;
    for (std::int64_t y = -reach; y <= reach; ++y) {
        for (std::int64_t x = -reach; x <= reach; ++x) sum += weight(x, y);
    }
    const Region wide = source.region.GrownBy(reach + 3);
    for (int place = 0; place < 40; ++place) {
        const Region pixel = {random.Whole(wide.x, wide.Right() - 1), random.Whole(wide.y, wide.Top() - 1), 1, 1};
        ExpectPixels(image, pixel, [&](std::int64_t px, std::int64_t py, std::size_t channel) {
            double result = 0;
            for (std::int64_t y = source.region.y; y < source.region.Top(); ++y) {
                for (std::int64_t x = source.region.x; x < source.region.Right(); ++x) {
                    if (std::abs(x - px) > reach || std::abs(y - py) > reach) continue;
                    result += weight(x - px, y - py) / sum * source.At(x, y, channel);
                }
            }
            return result;
        });
    }
}

TEST(BoxBlurTest, AveragesASquareOfOddWidth) {
    Random random;
    for (const double radius : {3.0, 4.9, 5.0, 21.0, 40.0, 64.9, 65.0, 67.0, 100.0, 129.0, 131.0, 301.0}) {
        const Source source = RandomSource(random);
        const auto reach = static_cast<std::int64_t>((radius - 1) / 2);
        const ImageRef image = Output("CIBoxBlur", source.image, {{"inputRadius", {radius}}});
        EXPECT_EQ(image->GetExtent(), Extent::Of(source.region.GrownBy(reach))) << radius;
        ExpectWeightedMean(
            image, source, reach, [](auto, auto) { return 1.0; }, random);
    }
}

TEST(BoxBlurTest, RadiusFortySpreadsAPixelOverThirtyNine) {
    const Source dot = SourceOf({0, 0, 1, 1}, {1, 1, 1, 1});
    const ImageRef image = Output("CIBoxBlur", dot.image, {{"inputRadius", {40}}});
    EXPECT_EQ(image->GetExtent(), (Extent{-19, -19, 20, 20}));
    for (const float number : Pixels(image, {-19, -19, 39, 39})) EXPECT_FLOAT_EQ(number, 1 / (39.0f * 39.0f));
}

TEST(DiscBlurTest, AveragesADiscWithASoftRim) {
    Random random;
    for (const double radius : {0.3, 0.5, 1.0, 2.5, 8.0, 5.9, 6.1, 20.0, 37.7, 100.0}) {
        const Source source = RandomSource(random);
        const ImageRef image = Output("CIDiscBlur", source.image, {{"inputRadius", {radius}}});
        const auto reach = static_cast<std::int64_t>(std::ceil(radius));
        EXPECT_EQ(image->GetExtent(), Extent::Of(source.region.GrownBy(reach + 2))) << radius;
        const auto weight = [&](std::int64_t x, std::int64_t y) {
            const double distance = std::hypot(static_cast<double>(x), static_cast<double>(y));
            return std::clamp(radius + 0.5 - distance, 0.0, 1.0);
        };
        ExpectWeightedMean(image, source, reach, weight, random);
    }
}

// Opaque rows are told from others as the disc comes to them.
TEST(DiscBlurTest, OneRowThatIsNotOpaqueShowsInAllThatItReaches) {
    constexpr double kRadius = 5;
    constexpr std::size_t kWidth = 30, kHeight = 90;
    const auto weight = [](std::int64_t x, std::int64_t y) {
        return std::clamp(kRadius + 0.5 - std::hypot(static_cast<double>(x), static_cast<double>(y)), 0.0, 1.0);
    };
    double rowSums[6] = {}, all = 0;  // of the weights at each distance from the center
    for (std::int64_t y = 0; y <= 5; ++y) {
        for (std::int64_t x = -5; x <= 5; ++x) rowSums[y] += weight(x, y);
        all += y == 0 ? rowSums[y] : 2 * rowSums[y];
    }
    for (std::size_t glass = 20; glass < 60; ++glass) {
        std::vector<float> floats(kWidth * kHeight * 4, 1.0f);
        std::fill_n(floats.begin() + static_cast<std::ptrdiff_t>(glass * kWidth * 4), kWidth * 4, 0.5f);
        const ImageRef image = Output("CIDiscBlur", ImageOf(kWidth, kHeight, floats), {{"inputRadius", {kRadius}}});
        const Region inside = {10, 10, 10, 70};
        const std::vector<float> pixels = Pixels(image, inside);
        for (std::int64_t down = 0; down < inside.height; ++down) {
            const auto distance = std::abs(down + 10 - static_cast<std::int64_t>(glass));
            const double expected = distance <= 5 ? 1 - 0.5 * rowSums[distance] / all : 1;
            for (std::size_t i = 0; i < 40; ++i) {
                ASSERT_NEAR(pixels[static_cast<std::size_t>(down) * 40 + i], expected, 1e-6)
                    << "row " << glass << ", " << distance << " from it";
            }
        }
    }
}

struct Blur {
    const char* filter;
    double identity;
};

class FlatBlurTest : public testing::TestWithParam<Blur> {
  protected:
    ImageRef Blurred(const ImageRef& input, double radius) {
        return Output(GetParam().filter, input, {{"inputRadius", {radius}}});
    }
};

TEST_P(FlatBlurTest, DoesNotDependOnTiling) {
    const ImageRef image = RandomImage(190, 170);
    for (const double radius : {5.0, 21.0, 90.0}) {
        const ImageRef blurred = Blurred(image, radius);
        const Region region = {-31, -29, 250, 221};
        const std::vector<float> whole = Pixels(blurred, region, {4096, 4096, 4096});
        EXPECT_EQ(Pixels(blurred, region, {4096, 64, 16}), whole) << radius;
        EXPECT_EQ(Pixels(blurred, region, {77, 13, 31}), whole) << radius;
    }
}

TEST_P(FlatBlurTest, PreservesTheSumOfLight) {
    const ImageRef image = RandomImage(23, 17);
    const auto sum = [](const std::vector<float>& pixels) {
        double all = 0;
        for (std::size_t index = 1; index < pixels.size(); index += 4) all += static_cast<double>(pixels[index]);
        return all;
    };
    const double expected = sum(Pixels(image, {0, 0, 23, 17}));
    for (const double radius : {3.0, 12.0, 47.0, 91.0}) {
        EXPECT_NEAR(sum(Pixels(Blurred(image, radius), Region{0, 0, 23, 17}.GrownBy(95))), expected, 1e-5 * expected);
    }
}

TEST_P(FlatBlurTest, IdentityRadiusReturnsTheInputAndNoInputGivesNull) {
    const ImageRef image = RandomImage(5, 5);
    for (const double radius : {GetParam().identity, -5.0, std::nan(""), -HUGE_VAL}) {
        EXPECT_EQ(Blurred(image, radius), image) << radius;
    }
    EXPECT_EQ(Output(GetParam().filter, nullptr, {}), nullptr);
}

TEST_P(FlatBlurTest, HugeBlursOfAnInfinitePatternGiveItsMean) {
    // The blur covers many squares of both colors everywhere.
    const ImageRef board = Generated(
        "CICheckerboardGenerator",
        {{"inputWidth", {16}}, {"inputSharpness", {1}}, {"inputColor0", {1, 1, 1, 1}}, {"inputColor1", {0, 0, 0, 1}}});
    for (const double radius : {300.0, 1e5, 1e30}) {
        const std::vector<float> pixel = Pixels(Blurred(board, radius), {0, 0, 8, 1});
        EXPECT_NEAR(pixel[0], 0.5, 0.03) << radius;
        EXPECT_NEAR(pixel[3], 1, 1e-5) << radius;
    }
}

TEST_P(FlatBlurTest, HostileNumbersGiveFinitePixels) {
    const ImageRef image = RandomImage(5, 3);
    for (const double number : kHostile) {
        ExpectFinite(Blurred(image, number));
        ExpectFinite(Blurred(MakeCroppedImage(image, {}), number));
    }
}

INSTANTIATE_TEST_SUITE_P(Blurs, FlatBlurTest, testing::Values(Blur{"CIBoxBlur", 2.9}, Blur{"CIDiscBlur", 0}),
                         [](const auto& test) { return std::string(test.param.filter); });

}  // namespace
