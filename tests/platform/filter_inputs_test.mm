// filter_inputs_test.mm - gives filters inputs that are missing, of the wrong class, NaN, infinite or huge.

#include "rendering.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

#include "tests/support/catalogue_counts.h"

#include "tests/support/catalogue_counts.h"

namespace {

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

NSNumber* Number(double value) { return [NSNumber numberWithDouble:value]; }

CIVector* Vector(double x, double y, double z, double w) {
    return [CIVector vectorWithX:(CGFloat)x Y:(CGFloat)y Z:(CGFloat)z W:(CGFloat)w];
}

TEST(FilterInputsTest, MissingImageGivesNil) {
    for (NSString* name in @[ @"CIGaussianBlur", @"CICrop", @"CIColorControls" ]) {
        EXPECT_EQ([[CIFilter filterWithName:name] outputImage], nil) << Text(name);
    }
}

TEST(FilterInputsTest, EveryFilterRendersOnceItHasImages) {
    CIImage* image = ImageOfBytes(4, 4, VariedBytes(4, 4));
    NSArray* names = [CIFilter filterNamesInCategory:nil];
    EXPECT_EQ([names count], CatalogueCount("classes"));
    for (NSString* name in names) {
        CIFilter* filter = [CIFilter filterWithName:name];
        for (NSString* key in [filter inputKeys]) {
            if ([key hasSuffix:@"Image"] || [key hasSuffix:@"Texture"]) [filter setValue:image forKey:key];
        }
        EXPECT_NE([filter valueForKey:kCIOutputImageKey], nil) << Text(name);
    }
}

TEST(FilterInputsTest, StringsAreReadAsNumbers) {
    CIFilter* filter = FilterOn(@"CIGaussianBlur", ImageOfBytes(4, 4, VariedBytes(4, 4)));
    [filter setValue:@"12" forKey:kCIInputRadiusKey];
    EXPECT_EQ([[filter outputImage] extent].origin.x, -36);
    [filter setValue:@"abc" forKey:kCIInputRadiusKey];
    EXPECT_EQ([[filter outputImage] extent].origin.x, 0);
}

TEST(FilterInputsTest, UnsetInputsUseTheDefault) {
    CIFilter* filter = FilterOn(@"CIGaussianBlur", ImageOfBytes(4, 4, VariedBytes(4, 4)));
    [filter setValue:nil forKey:kCIInputRadiusKey];
    EXPECT_EQ([[filter outputImage] extent].origin.x, -30);
    CIFilter* generator = [CIFilter filterWithName:@"CIConstantColorGenerator"];
    [generator setValue:nil forKey:kCIInputColorKey];
    EXPECT_EQ(Floats([generator outputImage], CGRectMake(0, 0, 1, 1)), (std::vector<float>{1, 0, 0, 1}));
}

// Sets one input and reads outputImage. Returns the reason of the exception up to the object's address, or "nothing".
std::string Raised(NSString* name, NSString* key, id value) {
    CIFilter* filter = [CIFilter filterWithName:name];
    if ([[filter inputKeys] containsObject:kCIInputImageKey])
        [filter setValue:[CIImage emptyImage] forKey:kCIInputImageKey];
    [filter setValue:value forKey:key];
    NSException* raised = RaisedBy([&] { [filter outputImage]; });
    if (raised == nil) return "nothing";
    EXPECT_EQ(Text([raised name]), "NSInvalidArgumentException");
    NSString* address = [NSString stringWithFormat:@" %p", (void*)value];
    EXPECT_TRUE([[raised reason] hasSuffix:address]);
    return Text([[raised reason] substringToIndex:[[raised reason] length] - [address length]]);
}

TEST(FilterInputsTest, WrongClassRaisesWhenTheOutputIsRead) {
    const std::string suffix = "]: unrecognized selector sent to instance";
    CIVector* vector = [CIVector vectorWithX:1];
    CIColor* color = [CIColor colorWithRed:1 green:1 blue:1];
    EXPECT_EQ(Raised(@"CIGaussianBlur", @"inputRadius", vector), "-[CIVector floatValue" + suffix);
    EXPECT_EQ(Raised(@"CIGaussianBlur", @"inputRadius", color), "-[CIColor floatValue" + suffix);
    EXPECT_EQ(Raised(@"CIGaussianBlur", @"inputImage", vector), "-[CIVector extent" + suffix);
    EXPECT_EQ(Raised(@"CIConstantColorGenerator", @"inputColor", vector), "-[CIVector components" + suffix);
    EXPECT_EQ(Raised(@"CICrop", @"inputRectangle", color), "-[CIColor valueAtIndex:" + suffix);
    EXPECT_EQ(Raised(@"CIGaussianBlur", @"inputRadius", Number(3)), "nothing");
}

TEST(FilterInputsTest, FilterWorksAgainAfterAnException) {
    CIFilter* filter = FilterOn(@"CIGaussianBlur", ImageOfBytes(4, 4, VariedBytes(4, 4)));
    [filter setValue:[CIVector vectorWithX:1] forKey:kCIInputRadiusKey];
    EXPECT_NE(RaisedBy([&] { [filter outputImage]; }), nil);
    [filter setValue:Number(2) forKey:kCIInputRadiusKey];
    EXPECT_EQ([[filter outputImage] extent].origin.x, -6);
}

TEST(FilterInputsTest, NegativeOrNaNRadiusReturnsTheInput) {
    const std::vector<std::uint8_t> pixels = VariedBytes(4, 4);
    CIImage* image = ImageOfBytes(4, 4, pixels);
    CIFilter* filter = FilterOn(@"CIGaussianBlur", image);
    for (double radius : {0.0, -1.0, -1e300, -kInfinity, kNaN}) {
        [filter setValue:Number(radius) forKey:kCIInputRadiusKey];
        EXPECT_TRUE(CGRectEqualToRect([[filter outputImage] extent], [image extent])) << radius;
        EXPECT_EQ(Bytes([filter outputImage], [image extent]), Bytes(image, [image extent])) << radius;
    }
}

TEST(FilterInputsTest, HugeRadiusFadesToNothing) {
    CIFilter* filter = FilterOn(@"CIGaussianBlur", ImageOfBytes(64, 64, VariedBytes(64, 64)));
    for (double radius : {1e3, 1e5, 1e9, 1e38, kInfinity}) {
        [filter setValue:Number(radius) forKey:kCIInputRadiusKey];
        for (float value : Floats([filter outputImage], CGRectMake(0, 0, 64, 64))) {
            ASSERT_GE(value, 0) << radius;
            ASSERT_LT(value, 1e-3f) << radius;
        }
    }
}

TEST(FilterInputsTest, HugeRadiusOnAnInfiniteImageKeepsItsColor) {
    CIFilter* filter = FilterOn(@"CIGaussianBlur", [CIImage imageWithColor:[CIColor colorWithRed:1 green:0 blue:1]]);
    for (double radius : {10.0, 1e4, 1e12}) {
        [filter setValue:Number(radius) forKey:kCIInputRadiusKey];
        EXPECT_TRUE(CGRectIsInfinite([[filter outputImage] extent]));
        const std::vector<float> pixel = Floats([filter outputImage], CGRectMake(1000, -5, 1, 1));
        EXPECT_NEAR(pixel[0], 1, 1e-5);
        EXPECT_EQ(pixel[1], 0);
        EXPECT_NEAR(pixel[3], 1, 1e-5);
    }
}

TEST(FilterInputsTest, UnusableControlsStillRender) {
    CIImage* image = ImageOfBytes(8, 8, VariedBytes(8, 8));
    for (double value : {kNaN, kInfinity, -kInfinity, 1e300, -1e300, 1e38}) {
        for (NSString* key in @[ @"inputSaturation", @"inputBrightness", @"inputContrast" ]) {
            CIFilter* filter = FilterOn(@"CIColorControls", image);
            [filter setValue:Number(value) forKey:key];
            EXPECT_EQ(Bytes([filter outputImage], [image extent]).size(), 256u);
        }
    }
}

TEST(FilterInputsTest, UnusableRectanglesCropToNothingOrEverything) {
    CIImage* image = ImageOfBytes(8, 8, VariedBytes(8, 8));
    CIFilter* filter = FilterOn(@"CICrop", image);
    for (CIVector* rectangle in @[
             Vector(kNaN, 0, 8, 8), Vector(0, 0, kNaN, 8), Vector(0, 0, 0, 8), Vector(8, 0, 5, 5),
             Vector(kInfinity, kInfinity, 0, 0), [CIVector vectorWithX:1]
         ]) {
        [filter setValue:rectangle forKey:@"inputRectangle"];
        EXPECT_TRUE(CGRectIsEmpty([[filter outputImage] extent])) << Text([rectangle stringRepresentation]);
    }
    for (CIVector* rectangle in @[
             Vector(-1e30, -1e30, 2e30, 2e30), Vector(-1e35, -1e35, 2e35, 2e35),
             [CIVector vectorWithCGRect:CGRectInfinite], Vector(9, 9, -10, -10)
         ]) {
        [filter setValue:rectangle forKey:@"inputRectangle"];
        EXPECT_TRUE(CGRectEqualToRect([[filter outputImage] extent], [image extent]))
            << Text([rectangle stringRepresentation]);
    }
}

TEST(FilterInputsTest, ChainsOfFiveThousandFiltersRender) {
    CIImage* image = ImageOfBytes(2, 2, VariedBytes(2, 2));
    for (int depth = 0; depth < 5000; ++depth) {
        CIFilter* filter = FilterOn(depth % 2 == 0 ? @"CIGaussianBlur" : @"CIColorControls", image);
        if (depth % 2 == 0) [filter setValue:Number(0.01) forKey:kCIInputRadiusKey];
        if (depth % 2 == 1) [filter setValue:Number(0.001) forKey:kCIInputBrightnessKey];
        image = [[filter outputImage] imageByCroppingToRect:CGRectMake(0, 0, 2, 2)];
        ASSERT_NE(image, nil) << depth;
    }
    EXPECT_EQ(Bytes(image, CGRectMake(0, 0, 1, 1)).size(), 4u);
}

// Rendered as a tree, a hundred sums would be 2^100 images.
TEST(FilterInputsTest, AnImageAddedToItselfAHundredTimesRenders) {
    CIImage* image = ImageOfFloats(1, 1, {0.75f, 0, 0, 0.5f});
    for (int sums = 0; sums < 100; ++sums) {
        CIFilter* filter = FilterOn(@"CIAdditionCompositing", image);
        [filter setValue:image forKey:kCIInputBackgroundImageKey];
        image = [filter outputImage];
    }
    EXPECT_EQ(Floats(image, CGRectMake(0, 0, 1, 1))[0], std::ldexp(0.75f, 100));
}

}  // namespace
