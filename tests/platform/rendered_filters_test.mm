// rendered_filters_test.mm - renders filters through CIFilter: identities, extents, and known colors.

#include "rendering.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace {

NSNumber* Number(double value) { return [NSNumber numberWithDouble:value]; }

CIImage* Blurred(CIImage* image, double radius) {
    CIFilter* filter = FilterOn(@"CIGaussianBlur", image);
    [filter setValue:Number(radius) forKey:kCIInputRadiusKey];
    return [filter outputImage];
}

TEST(GaussianBlurTest, ExtentGrowsByThreeRadiiRoundedUp) {
    CIImage* image =
        [[CIImage imageWithColor:[CIColor colorWithRed:1 green:1
                                                  blue:1]] imageByCroppingToRect:CGRectMake(0, 0, 100, 100)];
    EXPECT_TRUE(CGRectEqualToRect([Blurred(image, 50) extent], CGRectMake(-150, -150, 400, 400)));
    EXPECT_TRUE(CGRectEqualToRect([Blurred(image, 100) extent], CGRectMake(-300, -300, 700, 700)));
    EXPECT_TRUE(CGRectEqualToRect([Blurred(image, 0.5) extent], CGRectMake(-2, -2, 104, 104)));
    EXPECT_TRUE(CGRectIsEmpty([Blurred([CIImage emptyImage], 10) extent]));
}

TEST(GaussianBlurTest, OpaqueEdgeIsOneHalfAtTheBorder) {
    CIImage* image =
        [[CIImage imageWithColor:[CIColor colorWithRed:1 green:1
                                                  blue:1]] imageByCroppingToRect:CGRectMake(0, 0, 400, 400)];
    for (double radius : {1.0, 5.0, 20.0}) {
        const std::vector<float> pixels = Floats(Blurred(image, radius), CGRectMake(-1, 200, 2, 1));
        EXPECT_NEAR((pixels[3] + pixels[7]) / 2, 0.5, 1e-5) << radius;
    }
}

TEST(GaussianBlurTest, PreservesTheSumOfLight) {
    CIImage* image = ImageOfFloats(1, 1, {1, 2, 3, 1});
    for (double radius : {0.5, 3.0, 6.0, 25.0}) {
        CIImage* blurred = Blurred(image, radius);
        double sum = 0;
        const std::vector<float> pixels = Floats(blurred, [blurred extent]);
        for (std::size_t index = 2; index < pixels.size(); index += 4) sum += pixels[index];
        // The kernel is cut off at three sigmas, which loses 0.54 percent in the two directions together.
        EXPECT_NEAR(sum, 3, 3 * 0.0056) << radius;
    }
}

TEST(ColorControlsTest, DefaultsChangeNoBit) {
    CIImage* image = ImageOfBytes(8, 8, VariedBytes(8, 8));
    EXPECT_EQ(Floats([FilterOn(@"CIColorControls", image) outputImage], [image extent]), Floats(image, [image extent]));
}

TEST(ColorControlsTest, ZeroSaturationGivesLuminance) {
    CIFilter* filter = FilterOn(@"CIColorControls", ImageOfFloats(1, 1, {0.2f, 0.4f, 0.6f, 1}));
    [filter setValue:Number(0) forKey:kCIInputSaturationKey];
    const std::vector<float> pixel = Floats([filter outputImage], CGRectMake(0, 0, 1, 1));
    const double luminance = 0.2125 * 0.2 + 0.7154 * 0.4 + 0.0721 * 0.6;
    for (int channel = 0; channel < 3; ++channel)
        EXPECT_NEAR(pixel[static_cast<std::size_t>(channel)], luminance, 1e-6);
    EXPECT_EQ(pixel[3], 1);
}

TEST(ColorControlsTest, TransparentPixelsStayTransparent) {
    CIFilter* filter = FilterOn(@"CIColorControls", ImageOfFloats(1, 1, {0, 0, 0, 0}));
    [filter setValue:Number(1) forKey:kCIInputBrightnessKey];
    EXPECT_TRUE(CGRectEqualToRect([[filter outputImage] extent], CGRectMake(0, 0, 1, 1)));
    EXPECT_EQ(Floats([filter outputImage], CGRectMake(-1, 0, 2, 1)), std::vector<float>(8, 0.0f));
}

TEST(ColorControlsTest, ResultsAreNotClipped) {
    CIFilter* filter = FilterOn(@"CIColorControls", ImageOfFloats(1, 1, {0.9f, 0.1f, 0.5f, 1}));
    [filter setValue:Number(4) forKey:kCIInputContrastKey];
    const std::vector<float> pixel = Floats([filter outputImage], CGRectMake(0, 0, 1, 1));
    EXPECT_NEAR(pixel[0], 2.1, 1e-6);
    EXPECT_NEAR(pixel[1], -1.1, 1e-6);
}

TEST(ConstantColorTest, OpaqueColorIsRenderedExactly) {
    CIFilter* filter = [CIFilter filterWithName:@"CIConstantColorGenerator"];
    for (int code = 0; code < 256; ++code) {
        const auto component = [](int value) { return (CGFloat)(value / 255.0); };
        [filter setValue:[CIColor colorWithRed:component(code) green:component(162) blue:component(255 - code)]
                  forKey:kCIInputColorKey];
        const std::vector<std::uint8_t> expected = {static_cast<std::uint8_t>(code), 162,
                                                    static_cast<std::uint8_t>(255 - code), 255};
        EXPECT_EQ(Bytes([filter outputImage], CGRectMake(-1000000, 5, 1, 1)), expected);
    }
}

TEST(ConstantColorTest, TranslucentColorIsPremultiplied) {
    CIImage* image = [CIImage imageWithColor:[CIColor colorWithRed:1 green:0 blue:0 alpha:(CGFloat)0.5]];
    EXPECT_EQ(Floats(image, CGRectMake(0, 0, 1, 1)), (std::vector<float>{0.5f, 0, 0, 0.5f}));
}

TEST(CropTest, DefaultRectangleCropsNothing) {
    CIImage* image = ImageOfBytes(8, 8, VariedBytes(8, 8));
    CIImage* cropped = [FilterOn(@"CICrop", image) outputImage];
    EXPECT_TRUE(CGRectEqualToRect([cropped extent], [image extent]));
    EXPECT_EQ(Bytes(cropped, [image extent]), Bytes(image, [image extent]));
}

TEST(CropTest, MakesAnInfiniteImageFinite) {
    CIFilter* filter = FilterOn(@"CICrop", [CIImage imageWithColor:[CIColor colorWithRed:1 green:1 blue:1]]);
    EXPECT_TRUE(CGRectIsInfinite([[filter outputImage] extent]));
    [filter setValue:[CIVector vectorWithX:-2 Y:3 Z:1 W:1] forKey:@"inputRectangle"];
    EXPECT_TRUE(CGRectEqualToRect([[filter outputImage] extent], CGRectMake(-2, 3, 1, 1)));
    EXPECT_EQ(Floats([filter outputImage], CGRectMake(-3, 3, 3, 1)),
              (std::vector<float>{0, 0, 0, 0, 1, 1, 1, 1, 0, 0, 0, 0}));
}

}  // namespace
