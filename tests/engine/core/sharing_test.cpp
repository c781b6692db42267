// sharing_test.cpp - checks that an image used by several others is rendered once, and that results do not depend on
// it.
//
// Counts are exact: pixels that an image rendered, not time.

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "blur/blur.h"
#include "compositing/compositing.h"
#include "core/cropped.h"
#include "generator/generator.h"
#include "sampling/affine.h"
#include "support/counting_image.h"
#include "support/engine_images.h"
#include "support/point_oracle.h"

namespace {

using namespace core_image;

constexpr std::int64_t kWidth = 300, kHeight = 200;
constexpr Region kPhoto = {0, 0, kWidth, kHeight};
constexpr std::int64_t kPhotoPixels = kWidth * kHeight;

ImageRef Photo() { return RandomImage(kWidth, kHeight); }

using Counts = std::vector<std::shared_ptr<Count>>;
using Step = std::function<ImageRef(const ImageRef&)>;

ImageRef Dissolve(const ImageRef& image, const ImageRef& target) {
    return FilterValues()
        .Image("inputImage", image)
        .Image("inputTargetImage", target)
        .Number("inputTime", 0.3)
        .Output("CIDissolveTransition");
}

// Returns a photo after several steps, each cropped to the photo and passed through a function.
ImageRef Ladder(std::size_t steps, const Step& step, const Step& pass) {
    ImageRef image = Photo();
    for (std::size_t index = 0; index < steps; ++index) {
        image = pass(MakeCroppedImage(step(image), Extent::Of(kPhoto)));
    }
    return image;
}

// The same, each step counted.
ImageRef CountedLadder(std::size_t steps, const Step& step, Counts* counts) {
    return Ladder(steps, step, [&](const ImageRef& image) {
        counts->push_back(std::make_shared<Count>());
        return Counted(image, counts->back());
    });
}

ImageRef DissolvedWithBlur(const ImageRef& image) { return Dissolve(MakeGaussianBlurImage(image, 2), image); }

ImageRef Bloomed(const ImageRef& image) {
    return FilterValues()
        .Image("inputImage", image)
        .Number("inputRadius", 10)
        .Number("inputIntensity", 0.5)
        .Output("CIBloom");
}

ImageRef EdgeWorked(const ImageRef& image) {
    return FilterValues().Image("inputImage", image).Number("inputRadius", 3).Output("CIEdgeWork");
}

ImageRef SlightlyBlurred(const ImageRef& image) { return MakeGaussianBlurImage(image, 1); }

// Renders a counted ladder, and expects that each step rendered each pixel once.
void ExpectOnce(std::size_t steps, const Step& step) {
    Counts counts;
    const ImageRef image = CountedLadder(steps, step, &counts);
    (void)Pixels(image, kPhoto);
    for (std::size_t index = 0; index < counts.size(); ++index) {
        EXPECT_EQ(counts[index]->stages, 1) << index;
        EXPECT_EQ(counts[index]->pixels, kPhotoPixels) << index;
    }
}

TEST(SharingTest, ImageDissolvedWithItsBlurIsRenderedOnce) { ExpectOnce(12, DissolvedWithBlur); }
TEST(SharingTest, ImageThatBloomsIsRenderedOnce) { ExpectOnce(10, Bloomed); }
TEST(SharingTest, ImageOfAWoodcutIsRenderedOnce) { ExpectOnce(6, EdgeWorked); }

TEST(SharingTest, ImageCombinedWithItselfIsRenderedOnce) {
    ExpectOnce(40, [](const ImageRef& image) { return MakeSourceOverImage(image, Bloomed(image)); });
}

// An image of a point function only costs less than memory does.
TEST(SharingTest, CheapImageUsedTwiceIsNotHeld) {
    const auto count = std::make_shared<Count>();
    const ImageRef photo = Counted(Photo(), count);
    const ImageRef inverted = FilterValues().Image("inputImage", photo).Output("CIColorInvert");
    (void)Pixels(Dissolve(inverted, photo), kPhoto);
    EXPECT_EQ(count->stages, 1);
    EXPECT_EQ(count->pixels, 2 * kPhotoPixels);
}

TEST(SharingTest, WorkOfAChainOfBlursGrowsWithItsLength) {
    const auto rendered = [](std::size_t steps) {
        Counts counts;
        (void)Pixels(CountedLadder(steps, SlightlyBlurred, &counts), kPhoto);
        std::int64_t sum = 0;
        for (const auto& count : counts) sum += count->pixels;
        return sum;
    };
    const std::int64_t hundred = rendered(100), more = rendered(200), most = rendered(300);
    EXPECT_EQ(most - more, more - hundred);
    EXPECT_LT(hundred, 2 * 100 * kPhotoPixels);
}

// Two users at distant places of an infinite image do not make it render everything in between.
TEST(SharingTest, DistantPartsOfAnImageArePreparedApart) {
    const auto count = std::make_shared<Count>();
    const ImageRef pattern = Counted(MakeGaussianBlurImage(MakeConstantImage({1, 1, 1, 1}), 3), count);
    const ImageRef near = MakeCroppedImage(pattern, {0, 0, 100, 50});
    const ImageRef far =
        MakeAffineImage(MakeCroppedImage(pattern, {1e6, 1e6, 1e6 + 100, 1e6 + 50}), {.tx = -1e6, .ty = -1e6});
    (void)Pixels(Dissolve(near, far), {0, 0, 100, 50});
    EXPECT_EQ(count->stages, 2);
    EXPECT_EQ(count->pixels, 2 * 100 * 50);
}

TEST(SharingTest, SameBytesAsWithoutSharing) {
    for (const Step& step : {Step(DissolvedWithBlur), Step(Bloomed), Step(EdgeWorked), Step(SlightlyBlurred)}) {
        const auto pass = [](const ImageRef& image) { return image; };
        const std::vector<float> shared = Pixels(Ladder(4, step, pass), kPhoto);
        EXPECT_EQ(shared, Pixels(Ladder(4, step, Unshared), kPhoto));
        for (const Cut& cut : {Cut{50, 64, 16}, Cut{101, 7, 5}, Cut{4096, 1, 257}}) {
            EXPECT_EQ(Pixels(Ladder(4, step, pass), kPhoto, cut), shared) << cut.blockEdge << " " << cut.tileWidth;
        }
    }
}

// Both orders: the chain as the background, and as the source.
TEST(SharingTest, ChainOfCombinationsHasTheSameBytesAsItsParts) {
    const auto sheet = [](const Step& pass) {
        ImageRef image = MakeCroppedImage(Photo(), {10, 20, 60, 50});
        for (int index = 0; index < 60; ++index) {
            const Affine move = {.tx = index * 37 % 250 - 30.0, .ty = index * 23 % 170 - 20.0};
            const ImageRef picture = MakeAffineImage(RandomImage(40, 30), move);
            image = index % 3 == 0   ? MakeSourceOverImage(image, picture)
                    : index % 7 == 0 ? Dissolve(picture, image)
                                     : MakeSourceOverImage(picture, image);
            if (index % 10 == 0) image = MakeCroppedImage(image, {-20, 5.0 - index, 250, 160});
            if (index % 8 == 0) image = FilterValues().Image("inputImage", image).Output("CIColorInvert");
            if (index % 9 == 0) image = MakeSourceOverImage(MakeGaussianBlurImage(picture, 2), image);
            image = pass(image);
        }
        return image;
    };
    const ImageRef chain = sheet([](const ImageRef& image) { return image; });
    const std::vector<float> whole = Pixels(chain, kPhoto);
    EXPECT_EQ(whole, Pixels(sheet(Unshared), kPhoto));
    for (const Cut& cut : {Cut{50, 64, 16}, Cut{4096, 1, 257}}) EXPECT_EQ(Pixels(chain, kPhoto, cut), whole);
}

}  // namespace
