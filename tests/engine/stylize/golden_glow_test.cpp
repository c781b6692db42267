// golden_glow_test.cpp - bloom against a reference render, by a version that blurred the numbers that a picture stores instead of
// the light that they stand for.
//
// That is the only difference, and a blur half a pixel wider: so the test makes the blurred copy the old way, and the engine does
// the rest.

#include <gtest/gtest.h>

#include <cstdio>

#include "blur/blur.h"
#include "core/bitmap.h"
#include "core/renderer.h"
#include "golden_cases.h"
#include "sampling/affine.h"
#include "stylize/stylize.h"

namespace {

using namespace core_image;

constexpr Region kRendered = {-30, -30, 698, 535};
constexpr double kOldSigma = 10.5;

// An image of encoded pixels, or of the same numbers taken as light.
template <class Number>
ImageRef BitmapOf(const std::vector<Number>& pixels, std::size_t width, std::size_t height, Transfer transfer) {
    BitmapSource source;
    source.pixels = pixels.data();
    source.width = width;
    source.height = height;
    source.bytesPerRow = width * 4 * sizeof(Number);
    source.format = sizeof(Number) == 1 ? PixelFormat::kBytes : PixelFormat::kFloats;
    source.alpha = Alpha::kPremultiplied;
    source.transfer = transfer;
    return MakeBitmapImage(source, nullptr);
}

template <class Number>
std::vector<Number> Rendered(const ImageRef& image, const Region& region, Transfer transfer) {
    std::vector<Number> pixels(static_cast<std::size_t>(region.width * region.height) * 4);
    BitmapDestination destination;
    destination.pixels = pixels.data();
    destination.bytesPerRow =
        static_cast<std::ptrdiff_t>(sizeof(Number)) * 4 * static_cast<std::ptrdiff_t>(region.width);
    destination.format = sizeof(Number) == 1 ? PixelFormat::kBytes : PixelFormat::kFloats;
    destination.transfer = transfer;
    Render(image, region, destination);
    return pixels;
}

TEST(GoldenTest, BloomIsWithinHalfALevelOfTheRenderThatBlurredStoredNumbers) {
    const std::string name = "CIBloom-1";
    if (!golden::IsPresent())
        GTEST_SKIP() << name << ": no reference renders in " << golden::Folder() << ", not compared";
    const auto reference = golden::ReadCase(name);
    ASSERT_TRUE(reference.has_value());
    const auto& parameters = reference->steps[0].parameters;
    const auto source = golden::PictureOfFile(parameters.at("inputImage").imagePath);
    const auto expected = golden::PictureOfFile(reference->outputPath);
    ASSERT_TRUE(source.has_value() && expected.has_value());

    const ImageRef stored = BitmapOf(source->pixels, source->width, source->height, Transfer::kLinear);
    const std::vector<float> blurred =
        Rendered<float>(MakeGaussianBlurImage(stored, kOldSigma), kRendered, Transfer::kLinear);
    Affine move;
    move.tx = static_cast<double>(kRendered.x);
    move.ty = static_cast<double>(kRendered.y);
    const ImageRef copy = MakeAffineImage(BitmapOf(blurred, 698, 535, Transfer::kSRGB), move);
    const ImageRef bloom = MakeGlowImage(BitmapOf(source->pixels, source->width, source->height, Transfer::kSRGB), copy,
                                         Glow::kLight, parameters.at("inputIntensity").numbers[0]);

    const auto difference =
        golden::Compare({698, 535, Rendered<std::uint8_t>(bloom, kRendered, Transfer::kSRGB)}, *expected);
    ASSERT_TRUE(difference.has_value());
    std::printf("%-28s rms %.3f, largest %.0f\n", name.c_str(), difference->rms, difference->largest);
    EXPECT_LE(difference->rms, 0.5);
    EXPECT_LE(difference->largest, 4);
}

}  // namespace
