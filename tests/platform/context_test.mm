// context_test.mm - renders images to bitmaps and checks their bytes.

#import <CoreImage/CIEngine.h>
#include "rendering.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace {

TEST(ContextTest, OpaqueBytesSurviveARoundTrip) {
    std::vector<std::uint8_t> pixels;
    for (int code = 0; code < 256; ++code) {
        for (int channel : {code, 255 - code, code * 7 & 255, 255})
            pixels.push_back(static_cast<std::uint8_t>(channel));
    }
    CIImage* image = ImageOfBytes(16, 16, pixels);
    EXPECT_EQ(Bytes(image, [image extent]), pixels);
}

TEST(ContextTest, PremultipliedBytesSurviveARoundTrip) {
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

TEST(ContextTest, FloatsSurviveARoundTrip) {
    const std::vector<float> pixels = {0.1f, -0.2f, 3, 0.5f, 1e-20f, 1e20f, 0, 1};
    CIImage* image = ImageOfFloats(2, 1, pixels);
    EXPECT_EQ(Floats(image, [image extent]), pixels);
}

TEST(ContextTest, ColorsAreDividedByTheUnclippedAlpha) {
    // Linear 0.5 divided by an alpha of 2 is linear 0.25, encoded as 137.0. Premultiplied by 2 it is clipped to 255.
    CIImage* image = ImageOfFloats(2, 1, {0.5f, 0.02f, 0, 2, 0.1f, 0, 0, 0.5f});
    const std::vector<std::uint8_t> bytes = Bytes(image, [image extent]);
    EXPECT_EQ(bytes[0], 255);
    EXPECT_EQ(bytes[1], std::lround(2 * 255 * (1.055 * std::pow(0.01, 1 / 2.4) - 0.055)));
    EXPECT_EQ(bytes[3], 255);
    EXPECT_EQ(bytes[4], std::lround(0.5 * 255 * (1.055 * std::pow(0.2, 1 / 2.4) - 0.055)));
    EXPECT_EQ(bytes[7], 128);
}

TEST(ContextTest, NaNAndInfinityBecomeValidBytes) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinity = std::numeric_limits<float>::infinity();
    CIImage* image = ImageOfFloats(3, 1, {nan, -1, infinity, 1, 1, 1, 1, nan, 1, 1, 1, -infinity});
    const std::vector<std::uint8_t> bytes = Bytes(image, [image extent]);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[1], 0);
    EXPECT_EQ(bytes[2], 255);
    EXPECT_EQ(bytes[7], 0);
    EXPECT_EQ(bytes[11], 0);
}

TEST(ContextTest, BitmapIsPremultipliedSRGBAndItsRectangleIsRoundedOutward) {
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

// Creates a bitmap of bytes with straight alpha. The caller owns one reference.
CGImageRef NewStraightBitmap(CIImage* image, BOOL isDeferred) {
    CIContext* context = [CIContext contextWithOptions:[NSDictionary dictionaryWithObject:[NSNumber numberWithBool:YES]
                                                                                   forKey:kCIContextStraightAlpha]];
    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    CGImageRef bitmap = [context createCGImage:image
                                      fromRect:[image extent]
                                        format:kCIFormatRGBA8
                                    colorSpace:space
                                      deferred:isDeferred];
    CGColorSpaceRelease(space);
    EXPECT_EQ(CGImageGetAlphaInfo(bitmap), CGImageAlphaInfo{kCGImageAlphaLast});
    return bitmap;
}

// The bytes of an image with straight alpha.
std::vector<std::uint8_t> StraightBytes(CIImage* image) {
    CGImageRef bitmap = NewStraightBitmap(image, NO);
    NSData* data = [(NSData*)CGDataProviderCopyData(CGImageGetDataProvider(bitmap)) autorelease];
    CGImageRelease(bitmap);
    const auto* bytes = static_cast<const std::uint8_t*>([data bytes]);
    return {bytes, bytes + [data length]};
}

TEST(ContextTest, StraightBytesSurviveARoundTrip) {
    std::vector<std::uint8_t> pixels;
    for (int alpha = 1; alpha < 256; ++alpha) {
        for (int code = 0; code < 256; ++code) {
            for (int channel : {code, 255 - code, code * 7 & 255, alpha}) {
                pixels.push_back(static_cast<std::uint8_t>(channel));
            }
        }
    }
    CIImage* image = ImageOfBytes(256, 255, pixels);
    EXPECT_EQ(StraightBytes(image), pixels);
    CGImageRef deferred = NewStraightBitmap(image, YES);
    EXPECT_EQ(StraightBytes([CIImage imageWithCGImage:deferred]), pixels);
    CGImageRelease(deferred);
}

TEST(ContextTest, StraightBytesAreDividedByAlphaAsItIsStored) {
    // An alpha of 2 is stored as 1, and one below half a step as 0. The red of the first is what is premultiplied by 2.
    const float nan = std::numeric_limits<float>::quiet_NaN();
    CIImage* image = ImageOfFloats(
        5, 1, {0.02f, 0, 0, 2, 1, 1, 1, 0.001f, 0.5f, 0.25f, 0, 0.5f, 0.5f, 0.5f, 0.5f, -1, 0.5f, 0.5f, 0.5f, nan});
    const std::vector<std::uint8_t> bytes = StraightBytes(image);
    const long red = std::lround(2 * 255 * (1.055 * std::pow(0.01, 1 / 2.4) - 0.055));
    const long green = std::lround(255 * (1.055 * std::pow(0.5, 1 / 2.4) - 0.055));
    const std::vector<std::uint8_t> expected = {static_cast<std::uint8_t>(red),
                                                0,
                                                0,
                                                255,
                                                0,
                                                0,
                                                0,
                                                0,
                                                255,
                                                static_cast<std::uint8_t>(green),
                                                0,
                                                128,
                                                0,
                                                0,
                                                0,
                                                0,
                                                0,
                                                0,
                                                0,
                                                0};
    EXPECT_EQ(bytes, expected);
}

TEST(ContextTest, EmptyInfiniteAndUnusableRectanglesGiveNull) {
    CIContext* context = [CIContext contextWithOptions:nil];
    CIImage* image = [CIImage imageWithColor:[CIColor colorWithRed:1 green:0 blue:0]];
    const auto nan = std::numeric_limits<CGFloat>::quiet_NaN();
    for (const CGRect& rect :
         {CGRectZero, CGRectNull, CGRectInfinite, CGRectMake(0, 0, nan, 1), CGRectMake(nan, 0, 1, 1),
          CGRectMake(0, 0, (CGFloat)1e12, (CGFloat)1e12), CGRectMake((CGFloat)1e20, 0, 10, 10)}) {
        EXPECT_EQ([context createCGImage:image fromRect:rect], nullptr) << rect.origin.x << " " << rect.size.width;
    }
    EXPECT_EQ([context createCGImage:nil fromRect:CGRectMake(0, 0, 1, 1)], nullptr);
}

// Returns a picture of 512 x 512 pixels that needs two more of them in memory: each blur reads all of the one before.
CIImage* ImageOfManySteps() {
    CIImage* image = ImageOfBytes(512, 512, VariedBytes(512, 512));
    const CGRect extent = [image extent];
    for (int step = 0; step < 300; ++step) {
        CIFilter* blur = [CIFilter filterWithName:@"CIGaussianBlur"];
        [blur setValue:image forKey:kCIInputImageKey];
        [blur setValue:[NSNumber numberWithDouble:2] forKey:@"inputRadius"];
        image = [[blur outputImage] imageByCroppingToRect:extent];
    }
    return image;
}

TEST(ContextTest, FailureSaysHowMuchMemoryWasNeeded) {
    NSDictionary* options = [NSDictionary dictionaryWithObject:[NSNumber numberWithInt:6] forKey:kCIContextMemoryLimit];
    CIContext* limited = [CIContext contextWithOptions:options];
    CIImage* image = ImageOfManySteps();
    EXPECT_EQ([limited createCGImage:image fromRect:[image extent]], nullptr);
    const std::string failure = CIEngineFailure();
    EXPECT_TRUE(failure.starts_with("512 x 512 pixels: rendering needs more memory than there is, at least "))
        << failure;
    EXPECT_TRUE(failure.ends_with("; the limit is 6 MB")) << failure;
    CGImageRef bitmap = [[CIContext contextWithOptions:nil] createCGImage:image fromRect:[image extent]];
    EXPECT_NE(bitmap, nullptr);
    EXPECT_STREQ(CIEngineFailure(), "");
    CGImageRelease(bitmap);
}

TEST(ContextTest, FailureSaysThatARectangleCannotBeRendered) {
    CIImage* image = [CIImage imageWithColor:[CIColor colorWithRed:1 green:0 blue:0]];
    EXPECT_EQ([[CIContext contextWithOptions:nil] createCGImage:image fromRect:CGRectInfinite], nullptr);
    EXPECT_STREQ(CIEngineFailure(), "the rectangle to render is empty or infinite");
}

TEST(ContextTest, FailedRenderLeavesTheBitmapUnchanged) {
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
