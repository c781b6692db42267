// context_test.mm - what rendering leaves in a bitmap.

#include "rendering.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace {

TEST(ContextTest, OpaqueBytesComeBackBitForBit) {
    std::vector<std::uint8_t> pixels;
    for (int code = 0; code < 256; ++code) {
        for (int channel : {code, 255 - code, code * 7 & 255, 255})
            pixels.push_back(static_cast<std::uint8_t>(channel));
    }
    CIImage* image = ImageOfBytes(16, 16, pixels);
    EXPECT_EQ(Bytes(image, [image extent]), pixels);
}

TEST(ContextTest, PremultipliedBytesComeBackBitForBit) {
    std::vector<std::uint8_t> pixels;
    for (int alpha = 1; alpha < 256; ++alpha) {
        for (int code = 0; code <= alpha; ++code) {
            for (int channel : {code, alpha - code, 0, alpha}) pixels.push_back(static_cast<std::uint8_t>(channel));
        }
    }
    const std::size_t count = pixels.size() / 4;
    CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
    CIImage* image = [CIImage imageWithBitmapData:[NSData dataWithBytes:pixels.data() length:pixels.size()]
                                      bytesPerRow:pixels.size()
                                             size:CGSizeMake((CGFloat)count, 1)
                                           format:kCIFormatRGBA8
                                       colorSpace:space];
    CGColorSpaceRelease(space);
    EXPECT_EQ(Bytes(image, [image extent]), pixels);
}

TEST(ContextTest, FloatsComeBackBitForBit) {
    const std::vector<float> pixels = {0.1f, -0.2f, 3, 0.5f, 1e-20f, 1e20f, 0, 1};
    CIImage* image = ImageOfFloats(2, 1, pixels);
    EXPECT_EQ(Floats(image, [image extent]), pixels);
}

TEST(ContextTest, ColorsAreDividedByTheUnclippedAlpha) {
    // Linear 0.5 over an alpha of 2 is linear 0.25, which is encoded as 137.0; twice that is clipped.
    CIImage* image = ImageOfFloats(2, 1, {0.5f, 0.02f, 0, 2, 0.1f, 0, 0, 0.5f});
    const std::vector<std::uint8_t> bytes = Bytes(image, [image extent]);
    EXPECT_EQ(bytes[0], 255);
    EXPECT_EQ(bytes[1], std::lround(2 * 255 * (1.055 * std::pow(0.01, 1 / 2.4) - 0.055)));
    EXPECT_EQ(bytes[3], 255);
    EXPECT_EQ(bytes[4], std::lround(0.5 * 255 * (1.055 * std::pow(0.2, 1 / 2.4) - 0.055)));
    EXPECT_EQ(bytes[7], 128);
}

TEST(ContextTest, WhatIsNoColorIsStoredAsOne) {
    const float none = std::numeric_limits<float>::quiet_NaN();
    const float endless = std::numeric_limits<float>::infinity();
    CIImage* image = ImageOfFloats(3, 1, {none, -1, endless, 1, 1, 1, 1, none, 1, 1, 1, -endless});
    const std::vector<std::uint8_t> bytes = Bytes(image, [image extent]);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[1], 0);
    EXPECT_EQ(bytes[2], 255);
    EXPECT_EQ(bytes[7], 0);
    EXPECT_EQ(bytes[11], 0);
}

TEST(ContextTest, BitmapIsPremultipliedSRGBOfTheRoundedRectangle) {
    CIImage* image = ImageOfBytes(8, 8, VariedBytes(8, 8));
    const CGRect rect = CGRectMake((CGFloat)-0.5, (CGFloat)6.5, 3, 3);
    CGImageRef bitmap = [[CIContext contextWithOptions:nil] createCGImage:image fromRect:rect];
    ASSERT_NE(bitmap, nullptr);
    EXPECT_EQ(CGImageGetWidth(bitmap), 4u);
    EXPECT_EQ(CGImageGetHeight(bitmap), 4u);
    EXPECT_EQ(CGImageGetAlphaInfo(bitmap), CGImageAlphaInfo{kCGImageAlphaPremultipliedLast});
    EXPECT_EQ(CFGetRetainCount(bitmap), 1);
    NSData* data = [(NSData*)CGDataProviderCopyData(CGImageGetDataProvider(bitmap)) autorelease];
    const std::vector<std::uint8_t> expected = Bytes(image, CGRectMake(-1, 6, 4, 4));
    EXPECT_TRUE([data isEqual:[NSData dataWithBytes:expected.data() length:expected.size()]]);
    CGImageRelease(bitmap);
}

TEST(ContextTest, EmptyInfiniteAndImpossibleRectanglesGiveNull) {
    CIContext* context = [CIContext contextWithOptions:nil];
    CIImage* image = [CIImage imageWithColor:[CIColor colorWithRed:1 green:0 blue:0]];
    const auto none = std::numeric_limits<CGFloat>::quiet_NaN();
    for (const CGRect& rect :
         {CGRectZero, CGRectNull, CGRectInfinite, CGRectMake(0, 0, none, 1), CGRectMake(none, 0, 1, 1),
          CGRectMake(0, 0, (CGFloat)1e12, (CGFloat)1e12), CGRectMake((CGFloat)1e20, 0, 10, 10)}) {
        EXPECT_EQ([context createCGImage:image fromRect:rect], nullptr) << rect.origin.x << " " << rect.size.width;
    }
    EXPECT_EQ([context createCGImage:nil fromRect:CGRectMake(0, 0, 1, 1)], nullptr);
}

TEST(ContextTest, NothingIsWrittenWhereNothingCanBeRendered) {
    CIContext* context = [CIContext contextWithOptions:nil];
    CIImage* image = [CIImage imageWithColor:[CIColor colorWithRed:1 green:0 blue:0]];
    std::uint8_t bytes[4] = {9, 9, 9, 9};
    const CGRect pixel = CGRectMake(0, 0, 1, 1);
    [context render:image toBitmap:bytes rowBytes:4 bounds:CGRectInfinite format:kCIFormatRGBA8 colorSpace:nullptr];
    [context render:image toBitmap:bytes rowBytes:4 bounds:pixel format:12345 colorSpace:nullptr];
    [context render:nil toBitmap:bytes rowBytes:4 bounds:pixel format:kCIFormatRGBA8 colorSpace:nullptr];
    [context render:image toBitmap:nullptr rowBytes:4 bounds:pixel format:kCIFormatRGBA8 colorSpace:nullptr];
    EXPECT_EQ(bytes[0], 9);
    [context render:image toBitmap:bytes rowBytes:4 bounds:pixel format:kCIFormatRGBA8 colorSpace:nullptr];
    EXPECT_EQ(bytes[0], 255);
}

}  // namespace
