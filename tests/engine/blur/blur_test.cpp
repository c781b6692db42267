// blur_test.cpp - compares the Gaussian blur with a slow one in doubles: each pixel sums its whole row, then its whole
// column, weighted by the bell curve.

#include "blur/blur.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/engine_images.h"

namespace {

using namespace core_image;

constexpr std::int64_t kWidth = 61;
constexpr std::int64_t kHeight = 47;

// Blurs in one direction: out[i] = sum over j of g(i - j) in[j], for i in from...to.
std::vector<double> Line(const std::vector<double>& in, double sigma, std::int64_t from, std::int64_t to) {
    const auto reach = static_cast<std::int64_t>(std::ceil(8 * sigma)) + 1;
    double sum = 0;
    for (std::int64_t distance = -reach; distance <= reach; ++distance) {
        sum += std::exp(-0.5 * std::pow(static_cast<double>(distance) / sigma, 2));
    }
    std::vector<double> out;
    for (std::int64_t i = from; i < to; ++i) {
        double value = 0;
        for (std::int64_t j = 0; j < static_cast<std::int64_t>(in.size()); ++j) {
            const double distance = static_cast<double>(i - j) / sigma;
            value += std::exp(-0.5 * distance * distance) / sum * in[static_cast<std::size_t>(j)];
        }
        out.push_back(value);
    }
    return out;
}

// Returns a channel of the blurred test image in a region, top row first.
std::vector<double> SlowBlur(const std::vector<float>& image, std::size_t channel, double sigma, const Region& region) {
    std::vector<std::vector<double>> rows;  // bottom row first
    for (std::int64_t y = 0; y < kHeight; ++y) {
        std::vector<double> row;
        for (std::int64_t x = 0; x < kWidth; ++x) {
            row.push_back(image[static_cast<std::size_t>((kHeight - 1 - y) * kWidth + x) * 4 + channel]);
        }
        rows.push_back(Line(row, sigma, region.x, region.Right()));
    }
    std::vector<double> blurred(static_cast<std::size_t>(region.width * region.height));
    for (std::int64_t x = 0; x < region.width; ++x) {
        std::vector<double> column;
        for (const auto& row : rows) column.push_back(row[static_cast<std::size_t>(x)]);
        const std::vector<double> line = Line(column, sigma, region.y, region.Top());
        for (std::int64_t y = 0; y < region.height; ++y) {
            blurred[static_cast<std::size_t>((region.height - 1 - y) * region.width + x)] =
                line[static_cast<std::size_t>(y)];
        }
    }
    return blurred;
}

class BlurTest : public testing::TestWithParam<double> {};

TEST_P(BlurTest, MatchesTheSlowBlur) {
    const double sigma = GetParam();
    const ImageRef image = RandomImage(kWidth, kHeight);
    const ImageRef blurred = MakeGaussianBlurImage(image, sigma);
    const auto margin = static_cast<std::int64_t>(std::ceil(3 * sigma));
    const Region region = Region{0, 0, kWidth, kHeight}.GrownBy(margin);
    EXPECT_EQ(blurred->GetExtent(), Extent::Of(region));
    const std::vector<float> source = Pixels(image, {0, 0, kWidth, kHeight});
    const std::vector<float> fast = Pixels(blurred, region);
    for (std::size_t channel : {0u, 3u}) {
        const std::vector<double> slow = SlowBlur(source, channel, sigma, region);
        const double largest = *std::max_element(slow.begin(), slow.end());
        double apart = 0;
        for (std::size_t index = 0; index < slow.size(); ++index) {
            apart = std::max(apart, std::abs(fast[index * 4 + channel] - slow[index]));
        }
        EXPECT_LT(apart, 1e-5 * largest);
    }
}

// Includes values on both sides of each sigma at which the blur switches to a coarser grid.
INSTANTIATE_TEST_SUITE_P(Sigmas, BlurTest,
                         testing::Values(0.01, 0.3, 1.0, 2.5, 3.999, 4.0, 5.5, 7.999, 8.0, 11.3, 16.0, 50.0));

TEST(BlurLimitsTest, LongThinImagesAndDistantRegionsRender) {
    const ImageRef thin = MakeGaussianBlurImage(RandomImage(3000, 1), 40);
    EXPECT_GT(Pixels(thin, {1500, 0, 1, 1})[3], 0);
    const ImageRef wide = MakeGaussianBlurImage(RandomImage(4, 4), 2e4);
    EXPECT_EQ(Pixels(wide, {59000, -59000, 2, 2}).size(), 16u);
    // Pixels outside the extent are transparent.
    EXPECT_EQ(Pixels(wide, {60010, 0, 1, 1}), std::vector<float>(4, 0.0f));
}

TEST(BlurLimitsTest, ZeroOrNaNSigmaReturnsTheInput) {
    const ImageRef image = RandomImage(2, 2);
    EXPECT_EQ(MakeGaussianBlurImage(image, 0), image);
    EXPECT_EQ(MakeGaussianBlurImage(image, std::nan("")), image);
}

TEST(BlurLimitsTest, TinySigmaKeepsEveryBit) {
    const ImageRef image = RandomImage(8, 8);
    for (double sigma : {1e-3, 1e-20, 1e-300, 5e-324}) {
        EXPECT_EQ(Pixels(MakeGaussianBlurImage(image, sigma), {0, 0, 8, 8}), Pixels(image, {0, 0, 8, 8})) << sigma;
    }
}

}  // namespace
