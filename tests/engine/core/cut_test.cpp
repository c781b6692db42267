// cut_test.cpp - checks that tile sizes, block sizes and the number of threads do not change a single bit of a render.

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <cstddef>
#include <cstdint>
#include <vector>

#include "blur/blur.h"
#include "core/cropped.h"
#include "support/declared_keys.h"
#include "support/engine_images.h"
#include "support/oracle.h"
#include "support/point_oracle.h"

namespace {

using namespace core_image;

constexpr Region kRegion = {-37, -29, 301, 257};

// Returns a narrow blur, a crop, color controls and a wide blur.
ImageRef Chain() {
    const ImageRef narrow = MakeGaussianBlurImage(RandomImage(230, 190), 1.7);
    const ImageRef cropped = MakeCroppedImage(narrow, {3, 5, 201, 177});
    std::vector<InputValue> values(2);
    values[0].key = "inputImage";
    values[0].image = &cropped;
    values[1] = {"inputContrast", 1.5};
    return MakeGaussianBlurImage(CallFilter("CIColorControls", values), 9);
}

TEST(CutTest, DoesNotDependOnTileSize) {
    const ImageRef image = Chain();
    const std::vector<float> whole = Pixels(image, kRegion, {4096, 4096, 4096});
    for (const Cut& cut : {Cut{}, Cut{4096, 1, 257}, Cut{4096, 301, 1}, Cut{4096, 7, 5}, Cut{4096, 64, 64}}) {
        EXPECT_EQ(Pixels(image, kRegion, cut), whole) << cut.tileWidth << " x " << cut.tileHeight;
    }
}

// Returns a chain of pointwise filters of two images.
ImageRef PointwiseChain() {
    const ImageRef first = RandomImage(230, 190), second = MakeCroppedImage(RandomImage(211, 230), {3, 7, 190, 230});
    const ImageRef both =
        FilterValues().Image("inputImage", first).Image("inputBackgroundImage", second).Output("CIColorBurnBlendMode");
    const ImageRef bent = FilterValues().Image("inputImage", both).Number("inputPower", 2.2).Output("CIGammaAdjust");
    return FilterValues().Image("inputImage", bent).Number("inputLevels", 9).Output("CIColorPosterize");
}

TEST(CutTest, PointwiseChainDoesNotDependOnTileSize) {
    const ImageRef image = PointwiseChain();
    const std::vector<float> whole = Pixels(image, kRegion, {4096, 4096, 4096});
    for (const Cut& cut : {Cut{}, Cut{4096, 1, 257}, Cut{4096, 301, 1}, Cut{4096, 7, 5}, Cut{100, 64, 64}}) {
        EXPECT_EQ(Pixels(image, kRegion, cut), whole) << cut.tileWidth << " x " << cut.tileHeight;
    }
}

// Returns an opaque picture with a transparent square: blurs leave out the alpha of the tiles around the square.
ImageRef PictureWithAHole() {
    constexpr std::size_t kWidth = 230, kHeight = 190;
    std::vector<float> pixels;
    for (std::size_t index = 0; index < kWidth * kHeight; ++index) {
        const bool isHole = index % kWidth / 20 == 3 && index / kWidth / 20 == 2;
        const float color = isHole ? 0 : static_cast<float>(index * 37 % 101) / 100;
        pixels.insert(pixels.end(), {color, 1 - color, color / 2, isHole ? 0.0f : 1.0f});
    }
    return oracle::SourceOf({0, 0, kWidth, kHeight}, pixels).image;
}

TEST(CutTest, BlursByDiscsDoNotDependOnTileSize) {
    const ImageRef picture = PictureWithAHole();
    const auto miniature = [&](double radius, double sharpRadius) {
        return oracle::Output("CIDepthOfField", picture,
                              {{"inputPoint0", {0, 90}},
                               {"inputPoint1", {200, 100}},
                               {"inputRadius", {radius}},
                               {"inputUnsharpMaskRadius", {sharpRadius}}});
    };
    // The last one has blurs so wide that they are images of their own.
    for (const ImageRef& image : {MakeDiscBlurImage(picture, 7.3), miniature(5, 2.5), miniature(60, 9)}) {
        const std::vector<float> whole = Pixels(image, kRegion, {4096, 4096, 4096});
        for (const Cut& cut : {Cut{}, Cut{4096, 19, 23}, Cut{4096, 301, 1}, Cut{4096, 64, 64}}) {
            EXPECT_EQ(Pixels(image, kRegion, cut), whole) << cut.tileWidth << " x " << cut.tileHeight;
        }
    }
}

TEST(CutTest, DoesNotDependOnBlockSize) {
    const ImageRef image = Chain();
    const std::vector<float> whole = Pixels(image, kRegion);
    for (std::int64_t edge : {50, 64, 101, 300}) EXPECT_EQ(Pixels(image, kRegion, {edge, 32, 32}), whole) << edge;
}

TEST(CutTest, DoesNotDependOnTheNumberOfThreads) {
    const ImageRef image = Chain();
    const std::vector<float> usual = Pixels(image, kRegion);
    for (std::size_t threads : {1u, 2u, 5u}) {
        const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
        EXPECT_EQ(Pixels(image, kRegion), usual) << threads;
    }
}

TEST(CutTest, RegionMatchesThatPartOfTheWhole) {
    const ImageRef image = Chain();
    const std::vector<float> whole = Pixels(image, kRegion);
    const Region part = {11, 13, 3, 1};
    const std::vector<float> pixels = Pixels(image, part);
    const auto row = static_cast<std::size_t>(kRegion.Top() - 1 - part.y);
    const auto column = static_cast<std::size_t>(part.x - kRegion.x);
    const auto* first = &whole[(row * static_cast<std::size_t>(kRegion.width) + column) * 4];
    EXPECT_EQ(pixels, std::vector<float>(first, first + 12));
}

}  // namespace
