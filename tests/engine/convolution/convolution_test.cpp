// convolution_test.cpp - convolutions against four nested loops, and what must hold for any weights.

#include "support/oracle.h"

namespace {

using namespace oracle;

struct Shape {
    const char* filter;
    std::int64_t width, height;
};

class ConvolutionTest : public testing::TestWithParam<Shape> {
  protected:
    std::vector<double> Weights(double least, double most) {
        std::vector<double> all;
        for (std::int64_t index = 0; index < GetParam().width * GetParam().height; ++index) {
            all.push_back(random_.Between(least, most));
        }
        return all;
    }
    ImageRef Convolved(const ImageRef& input, const std::vector<double>& weights, double bias) {
        return Output(GetParam().filter, input, {{"inputWeights", weights}, {"inputBias", {bias}}});
    }
    Region Grown(const Region& region) {
        const std::int64_t x = GetParam().width / 2, y = GetParam().height / 2;
        return {region.x - x, region.y - y, region.width + 2 * x, region.height + 2 * y};
    }
    // The sum, before it is limited.
    double Sum(const Source& source, const std::vector<double>& weights, std::int64_t x, std::int64_t y,
               std::size_t c) {
        double result = 0;
        for (std::int64_t row = 0; row < GetParam().height; ++row) {
            for (std::int64_t column = 0; column < GetParam().width; ++column) {
                result += weights[static_cast<std::size_t>(row * GetParam().width + column)] *
                          source.At(x + column - GetParam().width / 2, y + GetParam().height / 2 - row, c);
            }
        }
        return result;
    }

    Random random_;
};

TEST_P(ConvolutionTest, IsTheSumOfWeighedNeighborsLimitedByAlpha) {
    for (int round = 0; round < 8; ++round) {
        const Source source = RandomSource(random_);
        const std::vector<double> all = Weights(-0.5, 1);
        const double bias = round % 2 == 0 ? 0 : random_.Between(-0.5, 0.5);
        const ImageRef image = Convolved(source.image, all, bias);
        EXPECT_EQ(image->GetExtent(), bias == 0 ? Extent::Of(Grown(source.region)) : Extent::Infinite());
        ExpectPixels(image, Grown(source.region).GrownBy(2), [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            if (bias == 0 && !Grown(source.region).Contains(x, y)) return 0.0;
            const double alpha = std::clamp(Sum(source, all, x, y, 3) + bias, 0.0, 1.0);
            return channel == 3 ? alpha : std::clamp(Sum(source, all, x, y, channel) + bias, 0.0, alpha);
        });
    }
}

TEST_P(ConvolutionTest, FirstWeightIsForTheUpperLeftNeighbor) {
    std::vector<double> all(static_cast<std::size_t>(GetParam().width * GetParam().height));
    all[0] = 1;
    const Source dot = SourceOf({10, 20, 1, 1}, {1, 0.5f, 0.25f, 1});
    const ImageRef image = Convolved(dot.image, all, 0);
    // The pixel below and to the right of the dot sees it up and to the left.
    const std::int64_t x = 10 + GetParam().width / 2, y = 20 - GetParam().height / 2;
    EXPECT_EQ(Pixels(image, {x, y, 1, 1}), (std::vector<float>{1, 0.5f, 0.25f, 1}));
    EXPECT_EQ(Pixels(image, {10, 20, 1, 1}), std::vector<float>(4, 0.0f));
}

TEST_P(ConvolutionTest, MiddleWeightOfOneAloneGivesTheVeryInput) {
    std::vector<double> all(static_cast<std::size_t>(GetParam().width * GetParam().height));
    all[all.size() / 2] = 1;
    const Source source = RandomSource(random_);
    EXPECT_EQ(Convolved(source.image, all, 0), source.image);
    EXPECT_NE(Convolved(source.image, all, 0.25), source.image);
    EXPECT_EQ(Output(GetParam().filter, nullptr, {}), nullptr);
}

TEST_P(ConvolutionTest, MovesWithTheImage) {
    const Source source = RandomSource(random_);
    const std::vector<double> all = Weights(0, 0.1);
    const ImageRef moved =
        SourceOf({source.region.x + 7, source.region.y - 3, source.region.width, source.region.height}, source.pixels)
            .image;
    const Region region = Grown(source.region);
    EXPECT_EQ(Pixels(Convolved(moved, all, 0), {region.x + 7, region.y - 3, region.width, region.height}),
              Pixels(Convolved(source.image, all, 0), region));
}

TEST_P(ConvolutionTest, AnyNumbersGiveFinitePixels) {
    const Source source = RandomSource(random_);
    for (const double number : kHostile) {
        std::vector<double> all(static_cast<std::size_t>(GetParam().width * GetParam().height), number);
        all[0] = -number;
        ExpectSound(Convolved(source.image, all, 0));
        ExpectSound(Convolved(source.image, {number}, number));
        ExpectSound(Convolved(MakeCroppedImage(source.image, {}), all, number));
    }
}

INSTANTIATE_TEST_SUITE_P(Shapes, ConvolutionTest,
                         testing::Values(Shape{"CIConvolution3X3", 3, 3}, Shape{"CIConvolution5X5", 5, 5},
                                         Shape{"CIConvolution7X7", 7, 7}, Shape{"CIConvolution9Horizontal", 9, 1},
                                         Shape{"CIConvolution9Vertical", 1, 9}),
                         [](const auto& test) { return std::string(test.param.filter); });

TEST(ConvolutionLimitTest, SharpenedEdgeStaysOpaqueAndNoBrighterThanWhite) {
    const Source white = SourceOf({0, 0, 2, 1}, {1, 1, 1, 1, 0.5f, 0.5f, 0.5f, 1});
    const ImageRef image = Output("CIConvolution3X3", white.image, {{"inputWeights", {0, -1, 0, -1, 5, -1, 0, -1, 0}}});
    // 5 - 0.5, clipped to 1; alpha 5 - 1, clipped. 5 * 0.5 - 1 = 1.5, clipped.
    EXPECT_EQ(Pixels(image, {-1, 0, 3, 1}), (std::vector<float>{0, 0, 0, 0, 1, 1, 1, 1, 1, 1, 1, 1}));
}

}  // namespace
