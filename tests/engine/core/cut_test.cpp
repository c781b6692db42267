// cut_test.cpp - a render is the same to the last bit however it is cut and on however many threads.

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include "blur/blur.h"
#include "core/cropped.h"
#include "support/declared_keys.h"
#include "support/engine_images.h"
#include "support/point_oracle.h"

namespace {

using namespace core_image;

constexpr Region kRegion = {-37, -29, 301, 257};

// Two blurs, the wide one over the narrow one, with a crop and colors between.
ImageRef Chain() {
    const ImageRef narrow = MakeGaussianBlurImage(RandomImage(230, 190), 1.7);
    const ImageRef cropped = MakeCroppedImage(narrow, {3, 5, 201, 177});
    std::vector<InputValue> values(2);
    values[0].key = "inputImage";
    values[0].image = &cropped;
    values[1] = {"inputContrast", 1.5};
    return MakeGaussianBlurImage(CallFilter("CIColorControls", values), 9);
}

TEST(CutTest, TileSizeChangesNoBit) {
    const ImageRef image = Chain();
    const std::vector<float> whole = Pixels(image, kRegion, {4096, 4096, 4096});
    for (const Cut& cut : {Cut{}, Cut{4096, 1, 257}, Cut{4096, 301, 1}, Cut{4096, 7, 5}, Cut{4096, 64, 64}}) {
        EXPECT_EQ(Pixels(image, kRegion, cut), whole) << cut.tileWidth << " x " << cut.tileHeight;
    }
}

// Two images and what is made of both, pixel by pixel.
ImageRef PointwiseChain() {
    const ImageRef first = RandomImage(230, 190), second = MakeCroppedImage(RandomImage(211, 230), {3, 7, 190, 230});
    const ImageRef both =
        FilterValues().Image("inputImage", first).Image("inputBackgroundImage", second).Output("CIColorBurnBlendMode");
    const ImageRef bent = FilterValues().Image("inputImage", both).Number("inputPower", 2.2).Output("CIGammaAdjust");
    return FilterValues().Image("inputImage", bent).Number("inputLevels", 9).Output("CIColorPosterize");
}

TEST(CutTest, TileSizeChangesNoBitOfWhatIsComputedPixelByPixel) {
    const ImageRef image = PointwiseChain();
    const std::vector<float> whole = Pixels(image, kRegion, {4096, 4096, 4096});
    for (const Cut& cut : {Cut{}, Cut{4096, 1, 257}, Cut{4096, 301, 1}, Cut{4096, 7, 5}, Cut{100, 64, 64}}) {
        EXPECT_EQ(Pixels(image, kRegion, cut), whole) << cut.tileWidth << " x " << cut.tileHeight;
    }
}

TEST(CutTest, BlockSizeChangesNoBit) {
    const ImageRef image = Chain();
    const std::vector<float> whole = Pixels(image, kRegion);
    for (std::int64_t edge : {50, 64, 101, 300}) EXPECT_EQ(Pixels(image, kRegion, {edge, 32, 32}), whole) << edge;
}

TEST(CutTest, NumberOfThreadsChangesNoBit) {
    const ImageRef image = Chain();
    const std::vector<float> usual = Pixels(image, kRegion);
    for (std::size_t threads : {1u, 2u, 5u}) {
        const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
        EXPECT_EQ(Pixels(image, kRegion), usual) << threads;
    }
}

TEST(CutTest, APartIsThatPartOfTheWhole) {
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
