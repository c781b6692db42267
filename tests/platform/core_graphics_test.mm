// core_graphics_test.mm - tests reference counting, rectangles, color spaces and bitmaps.

#include "rendering.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>

namespace {

CGRect Rect(double x, double y, double width, double height) {
    return CGRectMake((CGFloat)x, (CGFloat)y, (CGFloat)width, (CGFloat)height);
}

TEST(CoreFoundationTest, RetainAndReleaseWorkOnAnyObject) {
    NSObject* object = [[NSObject alloc] init];
    const CFTypeRef reference = (CFTypeRef)object;
    EXPECT_EQ(CFGetRetainCount(reference), 1);
    EXPECT_EQ(CFRetain(reference), reference);
    EXPECT_EQ(CFGetRetainCount(reference), 2);
    CFRelease(reference);
    EXPECT_EQ(CFGetRetainCount(reference), 1);
    CFRelease(reference);
}

TEST(CoreFoundationTest, NullIsAllowed) {
    EXPECT_EQ(CFRetain(nullptr), nullptr);
    CFRelease(nullptr);
    EXPECT_EQ(CGImageRetain(nullptr), nullptr);
    CGImageRelease(nullptr);
    EXPECT_EQ(CGColorSpaceRetain(nullptr), nullptr);
    CGColorSpaceRelease(nullptr);
    EXPECT_EQ(CGImageGetWidth(nullptr), 0u);
}

TEST(RectangleTest, InfiniteRectangleExtendsHalfTheLargestNumberInEachDirection) {
    const CGFloat largest = std::numeric_limits<CGFloat>::max();
    EXPECT_EQ(CGRectInfinite.origin.x, -largest / 2);
    EXPECT_EQ(CGRectInfinite.size.height, largest);
    EXPECT_TRUE(CGRectIsInfinite(CGRectInfinite));
    EXPECT_FALSE(CGRectIsInfinite(CGRectZero));
    EXPECT_TRUE(CGRectEqualToRect(CGRectIntersection(CGRectInfinite, Rect(1, 2, 3, 4)), Rect(1, 2, 3, 4)));
    EXPECT_TRUE(CGRectIsInfinite(CGRectIntersection(CGRectInfinite, CGRectInfinite)));
    EXPECT_TRUE(CGRectIsInfinite(CGRectUnion(CGRectInfinite, Rect(1, 2, 3, 4))));
}

TEST(RectangleTest, NegativeSizesAreStandardized) {
    EXPECT_TRUE(CGRectEqualToRect(Rect(5, 5, -3, -2), Rect(2, 3, 3, 2)));
    EXPECT_EQ(CGRectGetMinX(Rect(5, 5, -3, -2)), 2);
    EXPECT_EQ(CGRectGetMaxX(Rect(5, 5, -3, -2)), 5);
    EXPECT_EQ(CGRectGetWidth(Rect(5, 5, -3, -2)), 3);
}

TEST(RectangleTest, IntegralRoundsOutward) {
    EXPECT_TRUE(CGRectEqualToRect(CGRectIntegral(Rect(0.5, -0.5, 1, 1)), Rect(0, -1, 2, 2)));
    EXPECT_TRUE(CGRectEqualToRect(CGRectIntegral(Rect(1, 2, 3, 4)), Rect(1, 2, 3, 4)));
}

TEST(RectangleTest, IntersectionOfDisjointRectanglesIsNull) {
    EXPECT_TRUE(CGRectIsNull(CGRectIntersection(Rect(0, 0, 1, 1), Rect(2, 0, 1, 1))));
    EXPECT_TRUE(CGRectIsEmpty(CGRectNull));
    EXPECT_TRUE(CGRectEqualToRect(CGRectUnion(CGRectNull, Rect(1, 1, 1, 1)), Rect(1, 1, 1, 1)));
    EXPECT_TRUE(CGRectEqualToRect(CGRectUnion(Rect(0, 0, 1, 1), Rect(2, 3, 1, 1)), Rect(0, 0, 3, 4)));
    EXPECT_TRUE(CGRectIsNull(CGRectInset(Rect(0, 0, 2, 2), 2, 0)));
    EXPECT_TRUE(CGRectEqualToRect(CGRectInset(Rect(0, 0, 2, 2), -1, -1), Rect(-1, -1, 4, 4)));
}

TEST(ColorSpaceTest, NamedSpacesAreSharedAndReturnTheirNames) {
    for (CFStringRef name :
         {kCGColorSpaceSRGB, kCGColorSpaceLinearSRGB, kCGColorSpaceExtendedSRGB, kCGColorSpaceExtendedLinearSRGB}) {
        CGColorSpaceRef space = CGColorSpaceCreateWithName(name);
        ASSERT_NE(space, nullptr);
        CGColorSpaceRef again = CGColorSpaceCreateWithName(name);
        EXPECT_EQ(again, space);
        CFStringRef copied = CGColorSpaceCopyName(space);
        EXPECT_TRUE([(NSString*)copied isEqual:(NSString*)name]);
        EXPECT_EQ(CGColorSpaceGetModel(space), kCGColorSpaceModelRGB);
        EXPECT_EQ(CGColorSpaceGetNumberOfComponents(space), 3u);
        CFRelease(copied);
        CGColorSpaceRelease(again);
        CGColorSpaceRelease(space);
    }
    EXPECT_EQ(CGColorSpaceCreateWithName(CFSTR("kCGColorSpaceNoSuch")), nullptr);
    EXPECT_EQ(CGColorSpaceCreateWithName(nullptr), nullptr);
}

TEST(ColorSpaceTest, RetainAndReleaseChangeTheReferenceCount) {
    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    const CFIndex before = CFGetRetainCount(space);
    CGColorSpaceRetain(space);
    EXPECT_EQ(CFGetRetainCount(space), before + 1);
    CGColorSpaceRelease(space);
    EXPECT_EQ(CFGetRetainCount(space), before);
    CGColorSpaceRelease(space);
}

// Creates bitmaps over 16 bytes, enough for 2 x 2 pixels. Each test varies one parameter.
class BitmapTest : public testing::Test {
  protected:
    void SetUp() override {
        data = [NSMutableData dataWithLength:16];
        provider = CGDataProviderCreateWithCFData((CFDataRef)data);
        space = CGColorSpaceCreateDeviceRGB();
    }

    void TearDown() override {
        CGDataProviderRelease(provider);
        CGColorSpaceRelease(space);
    }

    CGImageRef Make(size_t width, size_t height, size_t bits, size_t bytesPerRow, CGBitmapInfo info) {
        return CGImageCreate(width, height, bits, bits * 4, bytesPerRow, space, info, provider, /*decode=*/nullptr,
                             /*shouldInterpolate=*/false, kCGRenderingIntentDefault);
    }

    NSMutableData* data;
    CGDataProviderRef provider;
    CGColorSpaceRef space;
};

TEST_F(BitmapTest, ReturnsTheValuesItWasCreatedWith) {
    CGImageRef image = Make(2, 2, 8, 8, CGBitmapInfo{kCGImageAlphaPremultipliedLast} | kCGBitmapByteOrder32Big);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(CGImageGetWidth(image), 2u);
    EXPECT_EQ(CGImageGetHeight(image), 2u);
    EXPECT_EQ(CGImageGetBitsPerComponent(image), 8u);
    EXPECT_EQ(CGImageGetBitsPerPixel(image), 32u);
    EXPECT_EQ(CGImageGetBytesPerRow(image), 8u);
    EXPECT_EQ(CGImageGetAlphaInfo(image), CGImageAlphaInfo{kCGImageAlphaPremultipliedLast});
    EXPECT_EQ(CGImageGetBitmapInfo(image), CGBitmapInfo{kCGImageAlphaPremultipliedLast} | kCGBitmapByteOrder32Big);
    EXPECT_EQ(CGImageGetColorSpace(image), space);
    EXPECT_EQ(CGImageGetDataProvider(image), provider);
    CFDataRef bytes = CGDataProviderCopyData(provider);
    EXPECT_EQ((NSData*)bytes, data);
    CFRelease(bytes);
    CGImageRelease(image);
}

TEST_F(BitmapTest, KeepsItsBytesUntilReleased) {
    const NSUInteger before = [data retainCount];
    CGImageRef image = Make(2, 2, 8, 8, kCGImageAlphaLast);
    CGDataProviderRelease(provider);
    EXPECT_EQ([data retainCount], before);
    CGImageRelease(image);
    EXPECT_EQ([data retainCount], before - 1);
    provider = nullptr;
}

TEST_F(BitmapTest, RefusesUnsupportedLayouts) {
    EXPECT_EQ(Make(2, 2, 16, 16, kCGImageAlphaLast), nullptr);
    EXPECT_EQ(Make(2, 2, 8, 8, kCGImageAlphaFirst), nullptr);
    EXPECT_EQ(Make(2, 2, 8, 8, kCGImageAlphaNone), nullptr);
    EXPECT_EQ(Make(2, 2, 8, 8, kCGImageAlphaLast | 2 << 12), nullptr);
}

TEST_F(BitmapTest, RefusesSizesLargerThanItsData) {
    EXPECT_EQ(Make(0, 2, 8, 8, kCGImageAlphaLast), nullptr);
    EXPECT_EQ(Make(2, 0, 8, 8, kCGImageAlphaLast), nullptr);
    EXPECT_EQ(Make(3, 1, 8, 8, kCGImageAlphaLast), nullptr);
    EXPECT_EQ(Make(2, 3, 8, 8, kCGImageAlphaLast), nullptr);
    EXPECT_EQ(Make(2, SIZE_MAX, 8, 8, kCGImageAlphaLast), nullptr);
    EXPECT_EQ(Make(SIZE_MAX / 2, 1, 8, SIZE_MAX, kCGImageAlphaLast), nullptr);
    // The last row may lack its padding: two rows of one pixel take 12 + 4 bytes.
    CGImageRef padded = Make(1, 2, 8, 12, kCGImageAlphaLast);
    EXPECT_NE(padded, nullptr);
    CGImageRelease(padded);
}

}  // namespace
