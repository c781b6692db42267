// color_map_test.cpp - colors out of a gradient image, against a search of the row in doubles.

#include <gtest/gtest.h>

#include <cmath>

#include "core/cropped.h"
#include "generator/generator.h"
#include "support/point_oracle.h"

namespace {

using namespace core_image;

FilterValues MapOn(const ImageRef& image, const ImageRef& gradient) {
    return FilterValues().Image("inputImage", image).Image("inputGradientImage", gradient);
}

TEST(ColorMapTest, IsTheLowestRowOfTheGradientAtTheLuminance) {
    const ImageRef image = OutOfRangeImage(21), gradient = InRangeImage(22);
    const std::vector<float> row = Pixels(gradient, {kOffsetRegion.x, kOffsetRegion.y, kOffsetRegion.width, 1});
    const auto last = static_cast<double>(kOffsetRegion.width - 1);
    ExpectPixels(
        MapOn(image, gradient).Output("CIColorMap"), {image},
        [&](const auto& in) {
            const Slow c = Unpremultiplied(in[0]);
            const double y = std::clamp(Luminance(c), 0.0, 1.0);
            const double place = std::clamp(y * (last + 1) - 0.5, 0.0, last);
            const auto left = static_cast<std::size_t>(std::min(place, last - 1));
            const auto at = [&](std::size_t channel) {
                const double from = row[left * 4 + channel], to = row[left * 4 + 4 + channel];
                return (from + (to - from) * (place - static_cast<double>(left))) * c.alpha;
            };
            return Slow{at(0), at(1), at(2), at(3)};
        },
        // A pixel of the row is 1/61 of the way: rounding of the place counts as often.
        1e-4);
}

TEST(ColorMapTest, OnePixelIsOneColor) {
    const ImageRef result =
        MapOn(OnePixel(0.25f, 0.25f, 0.25f, 0.5f), OnePixel(0.5f, 0, 0.25f, 0.5f)).Output("CIColorMap");
    ExpectNear(Pixels(result, {0, 0, 2, 1}), {0.25, 0, 0.125, 0.25, 0, 0, 0, 0});
}

// Half of the way from black to white, as a picture stores them, is 0.2140 of the light.
TEST(ColorMapTest, BetweenThePixelsOfAPictureLiesTheMeanOfWhatIsStored) {
    const auto bytes =
        std::make_shared<std::vector<std::uint8_t>>(std::vector<std::uint8_t>{0, 0, 0, 255, 255, 255, 255, 255});
    BitmapSource source;
    source.pixels = bytes->data();
    source.width = 2;
    source.height = 1;
    source.bytesPerRow = 8;
    const ImageRef gradient = MakeBitmapImage(source, bytes);
    ExpectNear(PixelOf(MapOn(OnePixel(0.5f, 0.5f, 0.5f, 1), gradient).Output("CIColorMap")),
               {0.2140411, 0.2140411, 0.2140411, 1}, 2e-6);
}

TEST(ColorMapTest, GradientsOfNoWidthOrNoEndGiveNothing) {
    const ImageRef image = OnePixel(1, 1, 1, 1), endless = MakeConstantImage({1, 1, 1, 1});
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(MapOn(image, nullptr).Output("CIColorMap"), nullptr);
    EXPECT_EQ(MapOn(nullptr, image).Output("CIColorMap"), nullptr);
    EXPECT_EQ(MapOn(image, endless).Output("CIColorMap"), nullptr);
    EXPECT_EQ(MapOn(image, MakeCroppedImage(image, {5, 5, 6, 6})).Output("CIColorMap"), nullptr);
    EXPECT_EQ(MapOn(image, MakeCroppedImage(endless, {0, -infinity, 9, infinity})).Output("CIColorMap"), nullptr);
    EXPECT_EQ(MapOn(image, MakeCroppedImage(endless, {0, 0, 1e9, 1})).Output("CIColorMap"), nullptr);
    EXPECT_NE(MapOn(image, MakeCroppedImage(endless, {0, 0, 9, infinity})).Output("CIColorMap"), nullptr);
}

}  // namespace
