// documented_filters_test.cpp - properties of the filters that no reference render shows.
//
// Each of these twelve filters is known from the platform's documentation only: AffineClamp, AffineTile, AreaAverage,
// AreaHistogram, the four area extremes, ColumnAverage, Convolution7X7, DisplacementDistortion and GlassDistortion. The
// tests hold what the documentation says about identity, extent, limits, transparency and symmetry.

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "generator/generator.h"
#include "support/oracle.h"

namespace {

using namespace oracle;
using Floats = std::vector<float>;

constexpr Region kRegion = {3, -2, 6, 5};

// Returns pixels that all differ, some of them translucent.
Source Different() {
    Floats pixels;
    for (int index = 0; index < 30; ++index) {
        const float share = static_cast<float>(index) / 40, alpha = 1 - static_cast<float>(index % 7) / 10;
        pixels.insert(pixels.end(), {share * alpha, (1 - share) * alpha, share * share * alpha, alpha});
    }
    return SourceOf(kRegion, pixels);
}

// Returns a source mirrored left to right, or top to bottom, in its own region.
Source Mirrored(const Source& source, bool leftToRight) {
    Floats pixels;
    const Region& all = source.region;
    for (std::int64_t y = all.Top() - 1; y >= all.y; --y) {
        for (std::int64_t x = all.x; x < all.Right(); ++x) {
            const std::int64_t fromX = leftToRight ? all.x + all.Right() - 1 - x : x;
            const std::int64_t fromY = leftToRight ? y : all.y + all.Top() - 1 - y;
            for (std::size_t channel = 0; channel < 4; ++channel)
                pixels.push_back(static_cast<float>(source.At(fromX, fromY, channel)));
        }
    }
    return SourceOf(all, pixels);
}

Source Uniform(const Region& region, const Floats& pixel) {
    Floats pixels;
    for (std::int64_t index = 0; index < region.width * region.height; ++index)
        pixels.insert(pixels.end(), pixel.begin(), pixel.end());
    return SourceOf(region, pixels);
}

void ExpectNear(const Floats& pixels, const Floats& expected) {
    ASSERT_EQ(pixels.size(), expected.size());
    for (std::size_t index = 0; index < pixels.size(); ++index) ASSERT_NEAR(pixels[index], expected[index], 1e-5);
}

// --- The area reductions: average, maximum, minimum, maximum alpha, minimum alpha.

// A filter, and its results for an opaque pixel of 0.6, 0.4, 0.2 beside a transparent one.
struct Area {
    const char* filter;
    Floats halfTransparent;
};

class AreaPropertiesTest : public testing::TestWithParam<Area> {
  protected:
    static Floats PixelOf(const Source& source, const std::vector<double>& rectangle) {
        return Pixels(Output(GetParam().filter, source.image, {{"inputExtent", rectangle}}), {0, 0, 1, 1});
    }
};

TEST_P(AreaPropertiesTest, AreaOfOnePixelIsThatPixel) {
    const Source source = Different();
    for (const std::int64_t x : {3, 5, 8}) {
        Floats expected;
        for (std::size_t channel = 0; channel < 4; ++channel)
            expected.push_back(static_cast<float>(source.At(x, 1, channel)));
        ExpectNear(PixelOf(source, {static_cast<double>(x), 1, 1, 1}), expected);
    }
}

TEST_P(AreaPropertiesTest, ResultIsOnePixelAtTheOrigin) {
    for (const double far : {0.0, 700.0}) {
        const ImageRef image = Output(GetParam().filter, Different().image, {{"inputExtent", {3, -2, 6 + far, 5}}});
        EXPECT_EQ(image->GetExtent(), (Extent{0, 0, 1, 1}));
        EXPECT_EQ(Pixels(image, {1, 0, 1, 1}), Floats(4, 0.0f));
    }
}

TEST_P(AreaPropertiesTest, ValuesAboveOneAreKept) {
    ExpectNear(PixelOf(Uniform(kRegion, {1.004f, 2.5f, -0.25f, 1}), {3, -2, 6, 5}), {1.004f, 2.5f, -0.25f, 1});
}

TEST_P(AreaPropertiesTest, TransparentPixelsInsideCountAsZero) {
    const Source source = SourceOf({0, 0, 2, 1}, {0.6f, 0.4f, 0.2f, 1, 0, 0, 0, 0});
    ExpectNear(PixelOf(source, {0, 0, 2, 1}), GetParam().halfTransparent);
}

TEST_P(AreaPropertiesTest, MirroredPictureGivesTheSame) {
    Floats pixels;
    for (int index = 0; index < 30; ++index) {
        const float alpha = static_cast<float>((index * 7) % 30 + 1) / 32;
        pixels.insert(pixels.end(), {alpha / 2, alpha / 3, alpha, alpha});
    }
    const Source source = SourceOf(kRegion, pixels);
    for (const bool leftToRight : {true, false})
        ExpectNear(PixelOf(Mirrored(source, leftToRight), {3, -2, 6, 5}), PixelOf(source, {3, -2, 6, 5}));
}

TEST_P(AreaPropertiesTest, AreaBeyondThePictureDoesNotCount) {
    const Source source = Different();
    ExpectNear(PixelOf(source, {-100, -100, 300, 300}), PixelOf(source, {3, -2, 6, 5}));
}

INSTANTIATE_TEST_SUITE_P(Filters, AreaPropertiesTest,
                         testing::Values(Area{"CIAreaAverage", {0.3f, 0.2f, 0.1f, 0.5f}},
                                         Area{"CIAreaMaximum", {0.6f, 0.4f, 0.2f, 1}},
                                         Area{"CIAreaMinimum", {0, 0, 0, 0}},
                                         Area{"CIAreaMaximumAlpha", {0.6f, 0.4f, 0.2f, 1}},
                                         Area{"CIAreaMinimumAlpha", {0, 0, 0, 0}}),
                         [](const auto& test) { return std::string(test.param.filter); });

TEST(AreaAveragePropertiesTest, IsTheMeanOfLight) {
    // Black and white in equal parts are half the light, which is stored as 188, not 128.
    const Source source = SourceOf({0, 0, 2, 1}, {1, 1, 1, 1, 0, 0, 0, 1});
    ExpectNear(Pixels(Output("CIAreaAverage", source.image, {{"inputExtent", {0, 0, 2, 1}}}), {0, 0, 1, 1}),
               {0.5f, 0.5f, 0.5f, 1});
}

// --- AreaHistogram

Floats Histogram(const Source& source, double count, double scale = 1) {
    return Pixels(Output("CIAreaHistogram", source.image,
                         {{"inputExtent", {-100, -100, 300, 300}}, {"inputCount", {count}}, {"inputScale", {scale}}}),
                  {0, 0, static_cast<std::int64_t>(count), 1});
}

TEST(AreaHistogramPropertiesTest, UniformPictureFillsOneBinPerChannel) {
    Floats expected(4 * 4, 0.0f);
    expected[4 * 0 + 0] = expected[4 * 1 + 1] = expected[4 * 2 + 2] = expected[4 * 3 + 3] = 1;
    ExpectNear(Histogram(Uniform(kRegion, {0.1f, 0.3f, 0.6f, 1}), 4), expected);
}

TEST(AreaHistogramPropertiesTest, BinsOfEachChannelSumToTheScale) {
    for (const double scale : {1.0, 0.25, 0.0}) {
        const Floats bins = Histogram(Different(), 10, scale);
        for (std::size_t channel = 0; channel < 4; ++channel) {
            double sum = 0;
            for (std::size_t bin = 0; bin < 10; ++bin) sum += static_cast<double>(bins[4 * bin + channel]);
            EXPECT_NEAR(sum, scale, 1e-5);
        }
    }
}

TEST(AreaHistogramPropertiesTest, ExtentHasOnePixelPerBin) {
    const ImageRef image = Output("CIAreaHistogram", Different().image,
                                  {{"inputExtent", {3, -2, 6, 5}}, {"inputCount", {17}}, {"inputScale", {1}}});
    EXPECT_EQ(image->GetExtent(), (Extent{0, 0, 17, 1}));
}

TEST(AreaHistogramPropertiesTest, ValuesBeyondTheRangeFallIntoTheBinsAtTheEnds) {
    const Floats bins = Histogram(Uniform(kRegion, {7, -3, 1, 1}), 5);
    EXPECT_EQ(bins[4 * 4 + 0], 1);
    EXPECT_EQ(bins[4 * 0 + 1], 1);
    EXPECT_EQ(bins[4 * 4 + 2], 1);
}

TEST(AreaHistogramPropertiesTest, TransparentPixelsFallIntoTheFirstBins) {
    const Floats bins = Histogram(SourceOf({0, 0, 2, 1}, {1, 1, 1, 1, 0, 0, 0, 0}), 2);
    EXPECT_EQ(bins, Floats(8, 0.5f));
}

TEST(AreaHistogramPropertiesTest, MirroredPictureHasTheSameHistogram) {
    for (const bool leftToRight : {true, false})
        EXPECT_EQ(Histogram(Mirrored(Different(), leftToRight), 12), Histogram(Different(), 12));
}

// --- ColumnAverage

ImageRef Columns(const Source& source) {
    return Output("CIColumnAverage", source.image, {{"inputExtent", {3, -2, 6, 5}}});
}

TEST(ColumnAveragePropertiesTest, PictureOfOneRowIsUnchanged) {
    const Source row = SourceOf({3, 0, 2, 1}, {0.1f, 0.2f, 0.3f, 1, 0.25f, 0, 0, 0.5f});
    EXPECT_EQ(Pixels(Columns(row), {0, 0, 2, 1}), row.pixels);
}

TEST(ColumnAveragePropertiesTest, ExtentIsOneRowFromTheOrigin) {
    EXPECT_EQ(Columns(Different())->GetExtent(), (Extent{0, 0, 6, 1}));
}

TEST(ColumnAveragePropertiesTest, ValuesAboveOneAreKept) {
    ExpectNear(Pixels(Columns(Uniform(kRegion, {3, 1.004f, -1, 1})), {2, 0, 1, 1}), {3, 1.004f, -1, 1});
}

TEST(ColumnAveragePropertiesTest, TransparentPixelsCountAsZero) {
    const Source source = SourceOf({3, 0, 1, 2}, {0.8f, 0.4f, 0.2f, 1, 0, 0, 0, 0});
    ExpectNear(Pixels(Columns(source), {0, 0, 1, 1}), {0.4f, 0.2f, 0.1f, 0.5f});
}

TEST(ColumnAveragePropertiesTest, TopAndBottomCanBeSwappedButLeftAndRightMirrorTheRow) {
    const Floats row = Pixels(Columns(Different()), {0, 0, 6, 1});
    ExpectNear(Pixels(Columns(Mirrored(Different(), /*leftToRight=*/false)), {0, 0, 6, 1}), row);
    const Floats mirrored = Pixels(Columns(Mirrored(Different(), /*leftToRight=*/true)), {0, 0, 6, 1});
    for (std::size_t x = 0; x < 6; ++x) {
        for (std::size_t channel = 0; channel < 4; ++channel)
            EXPECT_NEAR(mirrored[4 * x + channel], row[4 * (5 - x) + channel], 1e-5);
    }
}

// --- AffineClamp and AffineTile

ImageRef Repeated(const char* filter, const ImageRef& image, std::vector<double> transform = {1, 0, 0, 1, 0, 0}) {
    return Output(filter, image, {{"inputTransform", std::move(transform)}});
}

class RepeatPropertiesTest : public testing::TestWithParam<const char*> {};

TEST_P(RepeatPropertiesTest, IdentityTransformLeavesThePictureUnchanged) {
    const Source source = Different();
    EXPECT_EQ(Pixels(Repeated(GetParam(), source.image), kRegion), source.pixels);
}

TEST_P(RepeatPropertiesTest, ExtentIsInfinite) {
    for (const double scale : {1.0, 0.1, -3.0})
        EXPECT_TRUE(Repeated(GetParam(), Different().image, {scale, 0, 0, 1, 7, 0})->GetExtent().IsInfinite());
}

TEST_P(RepeatPropertiesTest, TransformThatFlattensThePictureGivesNoImage) {
    EXPECT_EQ(Repeated(GetParam(), Different().image, {1, 1, 1, 1, 0, 0}), nullptr);
}

TEST_P(RepeatPropertiesTest, TranslationMovesEverything) {
    const ImageRef image = Repeated(GetParam(), Different().image, {1, 0, 0, 1, 4, -9});
    EXPECT_EQ(Pixels(image, {-20, -30, 50, 50}), Pixels(Repeated(GetParam(), Different().image), {-24, -21, 50, 50}));
}

TEST_P(RepeatPropertiesTest, MirroredPictureGivesTheMirroredPlane) {
    // The mirror of the picture's region about its middle, x = 6.
    const ImageRef mirror = Repeated(GetParam(), Different().image, {-1, 0, 0, 1, 12, 0});
    const ImageRef mirrored = Repeated(GetParam(), Mirrored(Different(), /*leftToRight=*/true).image);
    ExpectNear(Pixels(mirror, {-20, -20, 50, 50}), Pixels(mirrored, {-20, -20, 50, 50}));
}

TEST_P(RepeatPropertiesTest, AlphaIsKeptOutsideAsInside) {
    const ImageRef image = Repeated(GetParam(), Uniform(kRegion, {0.1f, 0.2f, 0, 0.25f}).image);
    for (const std::int64_t far : {-5000, 4, 5000})
        EXPECT_EQ(Pixels(image, {far, far, 1, 1}), (Floats{0.1f, 0.2f, 0, 0.25f}));
}

INSTANTIATE_TEST_SUITE_P(Filters, RepeatPropertiesTest, testing::Values("CIAffineClamp", "CIAffineTile"),
                         [](const auto& test) { return std::string(test.param); });

TEST(AffineClampPropertiesTest, OutermostPixelsContinueForever) {
    const ImageRef image = Repeated("CIAffineClamp", Different().image);
    EXPECT_EQ(Pixels(image, {100000, 1, 1, 1}), Pixels(image, {8, 1, 1, 1}));
    EXPECT_EQ(Pixels(image, {5, -77, 1, 1}), Pixels(image, {5, -2, 1, 1}));
    EXPECT_EQ(Pixels(image, {-9, 99, 1, 1}), Pixels(image, {3, 2, 1, 1}));
}

TEST(AffineTilePropertiesTest, RepeatsWithThePicturesOwnSize) {
    const ImageRef image = Repeated("CIAffineTile", Different().image);
    const Floats once = Pixels(image, {-10, -10, 30, 30});
    EXPECT_EQ(Pixels(image, {-10 + 6 * 1000, -10, 30, 30}), once);
    EXPECT_EQ(Pixels(image, {-10, -10 - 5 * 1000, 30, 30}), once);
}

// --- Convolution7X7

ImageRef Convolved(const Source& source, const std::vector<double>& weights, double bias = 0) {
    return Output("CIConvolution7X7", source.image, {{"inputWeights", weights}, {"inputBias", {bias}}});
}

// Returns 49 weights of which one is 1.
std::vector<double> Single(std::size_t row, std::size_t column) {
    std::vector<double> weights(49, 0.0);
    weights[7 * row + column] = 1;
    return weights;
}

TEST(Convolution7X7PropertiesTest, WeightInTheMiddleLeavesThePictureUnchanged) {
    const Source source = Different();
    ExpectNear(Pixels(Convolved(source, Single(3, 3)), kRegion), source.pixels);
}

TEST(Convolution7X7PropertiesTest, ExtentGrowsByThreeAndIsInfiniteWithBias) {
    EXPECT_EQ(Convolved(Different(), Single(0, 0))->GetExtent(), Extent::Of(kRegion.GrownBy(3)));
    EXPECT_TRUE(Convolved(Different(), Single(0, 0), 0.1)->GetExtent().IsInfinite());
}

TEST(Convolution7X7PropertiesTest, FirstWeightAppliesToThePixelAboveAndToTheLeft) {
    const Source source = Different();
    ExpectNear(Pixels(Convolved(source, Single(0, 0)), {kRegion.x + 3, kRegion.y - 3, kRegion.width, kRegion.height}),
               source.pixels);
}

TEST(Convolution7X7PropertiesTest, TransparentSurroundingsDarkenTheFrame) {
    const ImageRef image = Convolved(Uniform({0, 0, 20, 20}, {1, 1, 1, 1}), std::vector<double>(49, 1.0 / 49));
    ExpectNear(Pixels(image, {10, 10, 1, 1}), {1, 1, 1, 1});
    ExpectNear(Pixels(image, {0, 10, 1, 1}), Floats(4, 4.0f / 7));
    ExpectNear(Pixels(image, {-3, -3, 1, 1}), Floats(4, 1.0f / 49));
}

TEST(Convolution7X7PropertiesTest, AlphaIsLimitedToOneAndLimitsColors) {
    const Floats pixel =
        Pixels(Convolved(Uniform({0, 0, 9, 9}, {0.5f, 0.9f, 0, 1}), std::vector<double>(49, 0.1)), {4, 4, 1, 1});
    ExpectNear(pixel, {1, 1, 0, 1});
}

TEST(Convolution7X7PropertiesTest, SymmetricWeightsMirrorWithThePicture) {
    std::vector<double> weights;
    for (int row = 0; row < 7; ++row)
        for (int column = 0; column < 7; ++column) weights.push_back(0.02 * (1 + std::abs(column - 3)) / (1 + row));
    const Region all = kRegion.GrownBy(3);
    const Floats plain = Pixels(Convolved(Different(), weights), all);
    const Floats mirrored = Pixels(Convolved(Mirrored(Different(), /*leftToRight=*/true), weights), all);
    for (std::size_t index = 0; index < plain.size(); ++index) {
        const std::size_t pixel = index / 4, x = pixel % 12, twin = pixel - x + 11 - x;
        EXPECT_NEAR(mirrored[index], plain[4 * twin + index % 4], 1e-5);
    }
}

// --- DisplacementDistortion and GlassDistortion. The pictures are ramps: red is the column, green the row.

Source Ramp() {
    Floats pixels;
    for (int y = 59; y >= 0; --y) {
        for (int x = 0; x < 80; ++x) pixels.insert(pixels.end(), {static_cast<float>(x), static_cast<float>(y), 0, 1});
    }
    return SourceOf({0, 0, 80, 60}, pixels);
}

// Returns from where the pixel at (40, 30) comes.
Floats Place(const ImageRef& image) {
    const Floats pixel = Pixels(image, {40, 30, 1, 1});
    return {pixel[0], pixel[1]};
}

ImageRef Displaced(const ImageRef& guide, double scale) {
    return Output("CIDisplacementDistortion", Ramp().image,
                  {{"inputDisplacementImage", {}, guide}, {"inputScale", {scale}}});
}

ImageRef Gray(float light) { return MakeConstantImage({light, light, light, 1}); }

TEST(DisplacementPropertiesTest, MiddleGrayAndAScaleOfZeroMoveNothing) {
    ExpectNear(Place(Displaced(Gray(0.5f), 40)), {40, 30});
    const ImageRef picture = Ramp().image;
    EXPECT_EQ(
        Output("CIDisplacementDistortion", picture, {{"inputDisplacementImage", {}, Gray(1)}, {"inputScale", {0}}}),
        picture);
}

TEST(DisplacementPropertiesTest, ExtentMatchesThePicture) {
    EXPECT_EQ(Displaced(Gray(1), 40)->GetExtent(), (Extent{0, 0, 80, 60}));
}

TEST(DisplacementPropertiesTest, MovesByAtMostHalfTheScale) {
    ExpectNear(Place(Displaced(Gray(1), 40)), {60, 50});
    ExpectNear(Place(Displaced(Gray(900), 40)), {60, 50});
    ExpectNear(Place(Displaced(Gray(-5), 40)), {20, 10});
}

TEST(DisplacementPropertiesTest, TransparentDisplacementMovesNothing) {
    ExpectNear(Place(Displaced(MakeConstantImage({0, 0, 0, 0}), 40)), {40, 30});
    ExpectNear(Place(Displaced(Uniform({0, 0, 5, 5}, {1, 1, 1, 1}).image, 40)), {40, 30});
}

TEST(DisplacementPropertiesTest, BrightAndDarkMoveInOppositeDirectionsAndInProportion) {
    const Floats bright = Place(Displaced(Gray(0.75f), 24)), dark = Place(Displaced(Gray(0.25f), 24));
    EXPECT_NEAR(bright[0] - 40, 40 - dark[0], 1e-4);
    EXPECT_NEAR(bright[0] - 40, bright[1] - 30, 1e-4);
    EXPECT_NEAR(Place(Displaced(Gray(0.75f), 48))[0] - 40, 2 * (bright[0] - 40), 1e-4);
}

ImageRef BehindGlass(const ImageRef& texture, double scale, double centerX = 0) {
    return Output("CIGlassDistortion", Ramp().image,
                  {{"inputTexture", {}, texture}, {"inputScale", {scale}}, {"inputCenter", {centerX, 0}}});
}

// Returns a texture that rises to the right from 0.2 by a step per pixel, or falls, five pixels wide.
ImageRef Slope(float step) {
    Floats pixels;
    for (int x = 0; x < 5; ++x) {
        const float height = 0.5f + step * static_cast<float>(x - 2);
        pixels.insert(pixels.end(), {height, height, height, 1});
    }
    return SourceOf({0, 0, 5, 1}, pixels).image;
}

TEST(GlassPropertiesTest, FlatGlassAndAScaleOfZeroMoveNothing) {
    ExpectNear(Place(BehindGlass(Gray(0.8f), 200)), {40, 30});
    const ImageRef picture = Ramp().image;
    EXPECT_EQ(Output("CIGlassDistortion", picture, {{"inputTexture", {}, Slope(0.1f)}, {"inputScale", {0}}}), picture);
}

TEST(GlassPropertiesTest, ExtentMatchesThePicture) {
    EXPECT_EQ(BehindGlass(Slope(0.1f), 40)->GetExtent(), (Extent{0, 0, 80, 60}));
}

TEST(GlassPropertiesTest, MovesByAtMostHalfTheScale) {
    const ImageRef steep = BehindGlass(Slope(5), 20);
    for (std::int64_t x = 20; x < 60; ++x) {
        const Floats pixel = Pixels(steep, {x, 30, 1, 1});
        EXPECT_LE(std::abs(pixel[0] - static_cast<float>(x)), 10.001f);
        EXPECT_NEAR(pixel[1], 30, 1e-4);
    }
}

TEST(GlassPropertiesTest, TransparentTextureIsFlat) {
    ExpectNear(Place(BehindGlass(Uniform({0, 0, 5, 1}, {0, 0, 0, 0}).image, 200)), {40, 30});
}

TEST(GlassPropertiesTest, OppositeSlopesMoveInOppositeDirections) {
    // The middle of the slope is under pixel 40, because the texture repeats every five pixels from the center.
    const Floats rising = Place(BehindGlass(Slope(0.1f), 40, 38)), falling = Place(BehindGlass(Slope(-0.1f), 40, 38));
    EXPECT_NEAR(rising[0], 44, 1e-4);
    EXPECT_NEAR(falling[0], 36, 1e-4);
    EXPECT_NEAR(rising[1], 30, 1e-4);
}

TEST(GlassPropertiesTest, TextureRepeatsFromTheCenter) {
    EXPECT_EQ(Place(BehindGlass(Slope(0.1f), 40, 38)), Place(BehindGlass(Slope(0.1f), 40, 38 - 5 * 7)));
    EXPECT_NE(Place(BehindGlass(Slope(0.1f), 40, 38)), Place(BehindGlass(Slope(0.1f), 40, 36)));
}

}  // namespace
