// deep_image_test.cpp - checks that deep recipes render and are destroyed on a small stack.
//
// A stack of 64 KB holds a few hundred frames; recipes here have 10,000 images and more, one below the other.

#include <gtest/gtest.h>
#include <pthread.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "blur/blur.h"
#include "compositing/compositing.h"
#include "core/cropped.h"
#include "sampling/affine.h"
#include "sampling/repeat.h"
#include "support/counting_image.h"
#include "support/engine_images.h"
#include "support/point_oracle.h"

namespace {

using namespace core_image;

constexpr std::size_t kSmallStack = 64 << 10;
constexpr int kDeep = 10000;

// Runs a function on a thread with a stack of a size.
void RunOnStack(std::size_t size, std::function<void()> function) {
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, size), 0);
    pthread_t thread;
    const auto run = [](void* context) -> void* {
        (*static_cast<std::function<void()>*>(context))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, &function), 0);
    ASSERT_EQ(pthread_join(thread, nullptr), 0);
    pthread_attr_destroy(&attributes);
}

// Repeats a step on a small picture.
template <class Step>
ImageRef Repeated(int times, const Step& step) {
    ImageRef image = RandomImage(48, 40);
    for (int index = 0; index < times; ++index) image = step(image, index);
    return image;
}

ImageRef BlurredInPlace(const ImageRef& image, int) {
    return MakeCroppedImage(MakeGaussianBlurImage(image, 0.5), {0, 0, 48, 40});
}

// A function that has no single equivalent with another of its kind.
ImageRef Posterized(const ImageRef& image, int) {
    return FilterValues().Image("inputImage", image).Number("inputLevels", 9).Output("CIColorPosterize");
}

// Takes references apart in the order in which a chain is destroyed worst: the last image goes first.
TEST(DeepImageTest, IsDestroyedOnASmallStack) {
    ImageRef blurs = Repeated(10 * kDeep, BlurredInPlace), points = Repeated(10 * kDeep, Posterized);
    ImageRef sums = Repeated(
        kDeep, [](const ImageRef& image, int) { return MakeSourceOverImage(MakeGaussianBlurImage(image, 1), image); });
    RunOnStack(kSmallStack, [&] { blurs = points = sums = nullptr; });
    EXPECT_EQ(blurs, nullptr);
}

TEST(DeepImageTest, ChainOfNeighborhoodsEqualsItsStepsOneByOne) {
    const Region region = {0, 0, 48, 40};
    std::vector<float> pixels = Pixels(Repeated(0, BlurredInPlace), region);
    for (int index = 0; index < 1000; ++index) {
        // The topmost row comes first in both.
        pixels = Pixels(BlurredInPlace(ImageOf(48, 40, pixels), index), region);
    }
    EXPECT_EQ(Pixels(Repeated(1000, BlurredInPlace), region), pixels);
}

TEST(DeepImageTest, TenThousandNeighborhoodsRenderOnASmallStack) {
    const ImageRef image = Repeated(kDeep, BlurredInPlace);
    std::vector<float> pixels;
    RunOnStack(4 * kSmallStack, [&] { pixels = Pixels(image, {0, 0, 48, 40}); });
    ASSERT_EQ(pixels.size(), 48u * 40 * 4);
    for (const float number : pixels) ASSERT_TRUE(number >= 0 && number <= 1) << number;
}

TEST(DeepImageTest, TenThousandFunctionsRenderOnASmallStack) {
    const ImageRef image = Repeated(kDeep, Posterized);
    ASSERT_GT(image->GetDepth().levels, kDeep);
    std::vector<float> pixels;
    RunOnStack(4 * kSmallStack, [&] { pixels = Pixels(image, {0, 0, 48, 40}); });
    // Posterizing again changes nothing.
    EXPECT_EQ(pixels, Pixels(Repeated(2, Posterized), {0, 0, 48, 40}));
}

// Images of kinds that do not form chains: a move between two combinations, and images used by all that follow.
TEST(DeepImageTest, MixedChainRendersOnASmallStack) {
    const ImageRef image = Repeated(kDeep / 4, [](const ImageRef& below, int index) {
        const ImageRef moved = MakeAffineImage(below, {.tx = index % 2 == 0 ? 1.0 : -1.0});
        const ImageRef both = MakeSourceOverImage(below, MakeClampedImage(moved));
        return MakeCroppedImage(Posterized(both, index), {0, 0, 48, 40});
    });
    std::vector<float> pixels;
    RunOnStack(4 * kSmallStack, [&] { pixels = Pixels(image, {0, 0, 48, 40}); });
    EXPECT_EQ(pixels.size(), 48u * 40 * 4);
}

// A picture of one color, in sRGB bytes.
ImageRef PictureOf(const std::shared_ptr<const std::vector<std::uint8_t>>& bytes) {
    BitmapSource source;
    source.pixels = bytes->data();
    source.width = source.height = 64;
    source.bytesPerRow = 64 * 4;
    return MakeBitmapImage(source, bytes);
}

// A picture that is cropped and moved is still a picture: interpolation asks for its stored numbers.
TEST(DeepImageTest, CroppedAndMovedPictureIsMadeAndRenderedOnASmallStack) {
    const auto bytes = std::make_shared<std::vector<std::uint8_t>>(64 * 64 * 4);
    for (std::size_t index = 0; index < bytes->size(); ++index) (*bytes)[index] = static_cast<std::uint8_t>(index * 7);
    const ImageRef pattern = MakeTiledImage(PictureOf(bytes));
    const auto turned = [](const ImageRef& image) {
        return MakeAffineImage(image, {.a = 0.8, .b = 0.6, .c = -0.6, .d = 0.8});
    };
    constexpr Region kRegion = {0, 0, 90, 70};
    std::vector<float> pixels;
    RunOnStack(4 * kSmallStack, [&] {
        ImageRef image = pattern;
        for (int index = 0; index < kDeep; ++index) {
            const double far = 2.0 * kDeep;
            image = MakeAffineImage(MakeCroppedImage(image, {index - far, -far, far - index, far}), {.tx = 1});
        }
        EXPECT_GT(image->GetDepth().levels, 2 * kDeep);
        pixels = Pixels(turned(image), kRegion);
    });
    EXPECT_EQ(pixels, Pixels(turned(MakeAffineImage(pattern, {.tx = kDeep})), kRegion));
}

// Every pixel of each picture is rendered exactly once, although there are 10,000 images over one another.
TEST(DeepImageTest, ContactSheetOfTenThousandPicturesRendersEachOnce) {
    constexpr int kEdge = 100, kPixels = 64;
    std::vector<std::shared_ptr<std::vector<std::uint8_t>>> colors;
    for (int index = 0; index < 97; ++index) {
        auto bytes = std::make_shared<std::vector<std::uint8_t>>(kPixels * kPixels * 4, 255);
        for (std::size_t at = 0; at < bytes->size(); at += 4) {
            (*bytes)[at] = static_cast<std::uint8_t>(index);
            (*bytes)[at + 1] = static_cast<std::uint8_t>(at / 4 % 64 + at / 256);
        }
        colors.push_back(std::move(bytes));
    }
    const auto count = std::make_shared<Count>();
    ImageRef sheet;
    for (int index = 0; index < kEdge * kEdge; ++index) {
        const Affine place = {.tx = index % kEdge * 1.0 * kPixels, .ty = index / kEdge * 1.0 * kPixels};
        const ImageRef picture = PictureOf(colors[static_cast<std::size_t>(index) % colors.size()]);
        sheet = MakeSourceOverImage(MakeAffineImage(Counted(picture, count), place), sheet);
    }
    constexpr std::size_t kRow = kEdge * kPixels * 4;
    std::vector<std::uint8_t> bytes(kRow * kEdge * kPixels);
    BitmapDestination destination;
    destination.pixels = bytes.data();
    destination.bytesPerRow = kRow;
    RunOnStack(4 * kSmallStack, [&] { Render(sheet, {0, 0, kEdge * kPixels, kEdge * kPixels}, destination); });
    EXPECT_EQ(count->pixels, std::int64_t{kEdge} * kEdge * kPixels * kPixels);
    for (int index = 0; index < kEdge * kEdge; ++index) {
        const auto& expected = *colors[static_cast<std::size_t>(index) % colors.size()];
        for (int row = 0; row < kPixels; ++row) {
            const auto y = static_cast<std::size_t>((kEdge - 1 - index / kEdge) * kPixels + row);
            const auto x = static_cast<std::size_t>(index % kEdge * kPixels * 4);
            const auto from = expected.begin() + row * kPixels * 4;
            ASSERT_TRUE(std::equal(from, from + kPixels * 4, &bytes[y * kRow + x])) << index << " row " << row;
        }
    }
}

}  // namespace
