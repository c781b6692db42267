// image_test.mm - makes images from files, bitmaps and colors, and checks their pixels and extents.

#include "handmade_png.h"
#include "rendering.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

namespace {

TEST(ImageTest, BitmapsStartAtTheOriginWithTheirLastRowAtTheBottom) {
    CIImage* image = ImageOfFloats(1, 2, {1, 0, 0, 1, 0, 1, 0, 1});
    EXPECT_TRUE(CGRectEqualToRect([image extent], CGRectMake(0, 0, 1, 2)));
    EXPECT_EQ(Floats(image, CGRectMake(0, 0, 1, 1)), (std::vector<float>{0, 1, 0, 1}));
    EXPECT_EQ(Floats(image, CGRectMake(0, 1, 1, 1)), (std::vector<float>{1, 0, 0, 1}));
}

TEST(ImageTest, TransformsMoveAndRotateTheImage) {
    CIImage* image = ImageOfFloats(1, 2, {1, 0, 0, 1, 0, 1, 0, 1});
    CIImage* moved = [image imageByApplyingTransform:CGAffineTransformMake(1, 0, 0, 1, 5, -3)];
    EXPECT_TRUE(CGRectEqualToRect([moved extent], CGRectMake(5, -3, 1, 2)));
    EXPECT_EQ(Floats(moved, CGRectMake(5, -2, 1, 1)), (std::vector<float>{1, 0, 0, 1}));
    CIImage* turned = [image imageByApplyingTransform:CGAffineTransformMake(0, 1, -1, 0, 0, 0)];
    EXPECT_TRUE(CGRectEqualToRect([turned extent], CGRectMake(-2, 0, 2, 1)));
    EXPECT_EQ(Floats(turned, CGRectMake(-2, 0, 2, 1)), (std::vector<float>{1, 0, 0, 1, 0, 1, 0, 1}));
    EXPECT_EQ([image imageByApplyingTransform:CGAffineTransformMake(1, 1, 1, 1, 0, 0)], nil);
    const CGFloat nan = (CGFloat)std::nan("");
    EXPECT_EQ([image imageByApplyingTransform:CGAffineTransformMake(nan, 0, 0, 1, 0, 0)], nil);
}

TEST(ImageTest, UnreadableSourcesGiveNil) {
    EXPECT_EQ([CIImage imageWithContentsOfURL:[NSURL fileURLWithPath:@"/nowhere/at/all.png"]], nil);
    EXPECT_EQ([CIImage imageWithContentsOfURL:nil], nil);
    EXPECT_EQ([CIImage imageWithData:[NSData data]], nil);
    EXPECT_EQ([CIImage imageWithData:nil], nil);
    EXPECT_EQ([CIImage imageWithCGImage:nullptr], nil);
    EXPECT_EQ([CIImage imageWithColor:nil], nil);
}

TEST(ImageTest, FileDataIsDecoded) {
    const FileBytes file = HandmadePNG{2, 1, 8, kRGBA, {{10, 20, 30, 255, 1, 2, 3, 0}}, {}, {}, false, {}}.Bytes();
    CIImage* image = [CIImage imageWithData:[NSData dataWithBytes:file.data() length:file.size()]];
    EXPECT_EQ(Bytes(image, [image extent]), (std::vector<std::uint8_t>{10, 20, 30, 255, 0, 0, 0, 0}));
}

TEST(ImageTest, KeepsItsBytesWhileItOrADerivedImageLives) {
    NSMutableData* data = [[NSMutableData alloc] initWithLength:64];
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    CIImage* image = [CIImage imageWithBitmapData:data
                                      bytesPerRow:32
                                             size:CGSizeMake(2, 2)
                                           format:kCIFormatRGBAf
                                       colorSpace:nullptr];
    CIImage* blurred = [[FilterOn(@"CIGaussianBlur", image) outputImage] retain];
    [pool release];
    EXPECT_EQ([data retainCount], 2u);
    [blurred release];
    EXPECT_EQ([data retainCount], 1u);
    [data release];
}

TEST(ImageTest, ShortDataAndUnusableSizesOrFormatsGiveNil) {
    NSData* data = [NSMutableData dataWithLength:64];
    const auto make = [&](size_t bytesPerRow, double width, double height, CIFormat format) {
        const CGSize size = CGSizeMake((CGFloat)width, (CGFloat)height);
        return [CIImage imageWithBitmapData:data bytesPerRow:bytesPerRow size:size format:format colorSpace:nullptr];
    };
    EXPECT_NE(make(32, 2, 2, kCIFormatRGBAf), nil);
    EXPECT_EQ(make(31, 2, 2, kCIFormatRGBAf), nil);
    EXPECT_EQ(make(32, 2, 3, kCIFormatRGBAf), nil);
    EXPECT_EQ(make(32, 0, 2, kCIFormatRGBAf), nil);
    EXPECT_EQ(make(32, 2, -1, kCIFormatRGBAf), nil);
    EXPECT_EQ(make(32, 2, std::nan(""), kCIFormatRGBAf), nil);
    EXPECT_EQ(make(32, 1e30, 1, kCIFormatRGBAf), nil);
    EXPECT_EQ(make(32, 2, 2, 12345), nil);
    EXPECT_NE(make(16, 4, 4, kCIFormatRGBA8), nil);
}

TEST(ImageTest, FloatsInSRGBAreUnpremultipliedBeforeDecoding) {
    const float pixel[] = {0.25f, 0.5f, 0, 0.5f};
    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    CIImage* image = [CIImage imageWithBitmapData:[NSData dataWithBytes:pixel length:sizeof pixel]
                                      bytesPerRow:sizeof pixel
                                             size:CGSizeMake(1, 1)
                                           format:kCIFormatRGBAf
                                       colorSpace:space];
    CGColorSpaceRelease(space);
    const std::vector<float> light = Floats(image, [image extent]);
    EXPECT_NEAR(light[0], 0.2140411 / 2, 1e-6);
    EXPECT_NEAR(light[1], 0.5, 1e-6);
    EXPECT_EQ(light[3], 0.5f);
}

TEST(ImageTest, FloatsInALinearSpaceAreUnchanged) {
    const float pixel[] = {0.25f, 0.5f, 0, 0.5f};
    NSData* data = [NSData dataWithBytes:pixel length:sizeof pixel];
    for (CFStringRef name : {kCGColorSpaceLinearSRGB, kCGColorSpaceExtendedLinearSRGB}) {
        CGColorSpaceRef space = CGColorSpaceCreateWithName(name);
        CIImage* image = [CIImage imageWithBitmapData:data
                                          bytesPerRow:sizeof pixel
                                                 size:CGSizeMake(1, 1)
                                               format:kCIFormatRGBAf
                                           colorSpace:space];
        CGColorSpaceRelease(space);
        EXPECT_EQ(Floats(image, [image extent]), std::vector<float>(pixel, pixel + 4));
    }
}

TEST(ImageTest, ColorImagesAreInfiniteAndTheEmptyImageIsEmpty) {
    EXPECT_TRUE(CGRectIsInfinite([[CIImage imageWithColor:[CIColor colorWithRed:1 green:0 blue:0]] extent]));
    EXPECT_TRUE(CGRectEqualToRect([[CIImage emptyImage] extent], CGRectZero));
    EXPECT_EQ(Floats([CIImage emptyImage], CGRectMake(0, 0, 1, 1)), std::vector<float>(4, 0.0f));
}

TEST(ImageTest, InfiniteImagesTurnAroundTheOrigin) {
    CIImage* color = [CIImage imageWithColor:[CIColor colorWithRed:1 green:0 blue:0]];
    for (int orientation = 1; orientation <= 8; ++orientation) {
        EXPECT_EQ(Floats([color imageByApplyingOrientation:orientation], CGRectMake(-1, 0, 1, 1)),
                  (std::vector<float>{1, 0, 0, 1}));
    }
    // The quarters of the plane around the origin, of which two are red.
    CIFilter* checks = [CIFilter filterWithName:@"CICheckerboardGenerator"];
    [checks setValue:[CIColor colorWithRed:1 green:0 blue:0] forKey:@"inputColor0"];
    [checks setValue:[CIVector vectorWithX:0 Y:0] forKey:@"inputCenter"];
    CIImage* turned = [[checks valueForKey:@"outputImage"] imageByApplyingOrientation:6];
    const CGRect pixel = CGRectMake(3, 3, 1, 1);
    EXPECT_EQ(Floats(turned, pixel), Floats([checks valueForKey:@"outputImage"], CGRectMake(-4, 3, 1, 1)));
    EXPECT_NE(Floats(turned, pixel), Floats([checks valueForKey:@"outputImage"], pixel));
}

TEST(ImageTest, CroppingRoundsOutwardAndKeepsThePosition) {
    CIImage* image = ImageOfBytes(8, 8, VariedBytes(8, 8));
    CIImage* cropped = [image imageByCroppingToRect:CGRectMake((CGFloat)2.5, (CGFloat)3.5, 2, 10)];
    EXPECT_TRUE(CGRectEqualToRect([cropped extent], CGRectMake(2, 3, 3, 5)));
    EXPECT_EQ(Bytes(cropped, [cropped extent]), Bytes(image, [cropped extent]));
    EXPECT_EQ(Bytes(cropped, CGRectMake(0, 0, 2, 8)), std::vector<std::uint8_t>(64, 0));
    EXPECT_TRUE(CGRectEqualToRect([[image imageByCroppingToRect:CGRectMake(9, 9, 2, 2)] extent], CGRectZero));
    EXPECT_TRUE(CGRectEqualToRect([[image imageByCroppingToRect:CGRectNull] extent], CGRectZero));
}

TEST(ImageTest, ImagesFromPlainInitAreEmpty) {
    CIImage* image = [[[CIImage alloc] init] autorelease];
    EXPECT_TRUE(CGRectEqualToRect([image extent], CGRectZero));
    EXPECT_EQ([image imageByCroppingToRect:CGRectInfinite], nil);
    EXPECT_EQ([FilterOn(@"CIGaussianBlur", image) outputImage], nil);
    EXPECT_EQ([[CIContext contextWithOptions:nil] createCGImage:image fromRect:CGRectMake(0, 0, 1, 1)], nullptr);
}

}  // namespace
