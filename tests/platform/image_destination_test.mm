// image_destination_test.mm - writes picture files and reads them back.

#include <ImageIO/ImageIO.h>
#include "golden_cases.h"
#include "rendering.h"

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace {

// Provides a temporary file name that is removed after the test.
class ImageDestinationTest : public testing::Test {
  protected:
    void SetUp() override {
        path =
            [NSTemporaryDirectory() stringByAppendingPathComponent:[[NSProcessInfo processInfo] globallyUniqueString]];
        url = [NSURL fileURLWithPath:path];
    }

    void TearDown() override { [[NSFileManager defaultManager] removeFileAtPath:path handler:nil]; }

    // Writes an image and returns whether that succeeded.
    bool Write(CIImage* image, CFStringRef type, NSDictionary* properties = nil) {
        CGImageRef bitmap = [[CIContext contextWithOptions:nil] createCGImage:image fromRect:[image extent]];
        CGImageDestinationRef destination = CGImageDestinationCreateWithURL((CFURLRef)url, type, 1, nullptr);
        CGImageDestinationAddImage(destination, bitmap, (CFDictionaryRef)properties);
        const bool isWritten = CGImageDestinationFinalize(destination);
        EXPECT_FALSE(CGImageDestinationFinalize(destination));
        CFRelease(destination);
        CGImageRelease(bitmap);
        return isWritten;
    }

    // Writes a picture as PNG, and expects to read the same pixels.
    void ExpectThatPNGKeeps(std::size_t width, std::size_t height, const std::vector<std::uint8_t>& pixels) {
        SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
        CIImage* image = ImageOfBytes(width, height, pixels);
        ASSERT_TRUE(Write(image, CFSTR("public.png")));
        const auto read = golden::PictureOfFile(Text(path));
        ASSERT_TRUE(read.has_value());
        const golden::Picture rendered = {width, height, Bytes(image, [image extent])};
        EXPECT_EQ(golden::Compare(*read, rendered)->largest, 0);
    }

    NSData* File() { return [NSData dataWithContentsOfURL:url]; }

    unsigned long long FileSize() {
        return [[[NSFileManager defaultManager] fileAttributesAtPath:path traverseLink:NO] fileSize];
    }

    NSString* path;
    NSURL* url;
};

TEST_F(ImageDestinationTest, PNGKeepsPremultipliedPixels) { ExpectThatPNGKeeps(16, 16, VariedBytes(16, 16)); }

TEST_F(ImageDestinationTest, PNGStripsJoinToThePicture) {
    for (const auto& [width, height] : {std::pair{1, 1}, {333, 700}, {70000, 8}, {1, 100000}}) {
        std::vector<std::uint8_t> pixels = VariedBytes(width, height);
        ExpectThatPNGKeeps(width, height, pixels);
        for (std::size_t i = 3; i < pixels.size(); i += 4) pixels[i] = 255;
        ExpectThatPNGKeeps(width, height, pixels);
    }
}

TEST_F(ImageDestinationTest, PNGStoresOnlyTheChannelsThatThePictureUses) {
    struct Case {
        bool hasColor, hasAlpha;
        std::uint8_t colorType;
    };
    for (const auto& [hasColor, hasAlpha, colorType] :
         {Case{false, false, 0}, Case{true, false, 2}, Case{false, true, 4}, Case{true, true, 6}}) {
        std::vector<std::uint8_t> pixels;
        for (unsigned i = 0; i < 64; ++i) {
            const auto gray = static_cast<std::uint8_t>(4 * i);
            // One pixel, in the last row, decides.
            pixels.insert(pixels.end(), {static_cast<std::uint8_t>(hasColor && i == 63 ? 0 : gray), gray, gray,
                                         static_cast<std::uint8_t>(hasAlpha && i == 63 ? 254 : 255)});
        }
        ExpectThatPNGKeeps(8, 8, pixels);
        constexpr std::size_t kColorTypeOffset = 25;
        EXPECT_EQ(static_cast<const std::uint8_t*>([File() bytes])[kColorTypeOffset], colorType);
    }
}

TEST_F(ImageDestinationTest, PNGBytesDoNotDependOnTheNumberOfThreads) {
    CIImage* image = ImageOfBytes(900, 900, VariedBytes(900, 900));
    const auto fileOf = [&](std::size_t threads) {
        const tbb::global_control limit(tbb::global_control::max_allowed_parallelism, threads);
        EXPECT_TRUE(Write(image, CFSTR("public.png")));
        return File();
    };
    EXPECT_TRUE([fileOf(1) isEqual:fileOf(4)]);
}

TEST_F(ImageDestinationTest, JPEGShowsTransparentPixelsWhite) {
    std::vector<std::uint8_t> pixels(16 * 16 * 4, 0);
    for (std::size_t index = 0; index < pixels.size() / 2; index += 4) pixels[index + 3] = 255;
    ASSERT_TRUE(Write(ImageOfBytes(16, 16, pixels), CFSTR("public.jpeg")));
    const auto read = golden::PictureOfFile(Text(path));
    ASSERT_TRUE(read.has_value());
    EXPECT_NEAR(read->pixels.front(), 0, 3);
    EXPECT_NEAR(read->pixels[read->pixels.size() - 2], 255, 3);
}

TEST_F(ImageDestinationTest, PicturesOfAMillionColumnsAreWrittenAndRead) {
    CIImage* wide =
        [[CIImage imageWithColor:[CIColor colorWithRed:1 green:0
                                                  blue:0]] imageByCroppingToRect:CGRectMake(0, 0, 1000001, 1)];
    ASSERT_TRUE(Write(wide, CFSTR("public.png")));
    CGImageSourceRef source = CGImageSourceCreateWithURL((CFURLRef)url, nullptr);
    EXPECT_EQ(CGImageSourceGetStatus(source), kCGImageStatusComplete);
    CFRelease(source);
    EXPECT_FALSE(Write(wide, CFSTR("public.jpeg")));
    EXPECT_EQ(errno, EFBIG);
}

TEST_F(ImageDestinationTest, HigherQualityMakesJPEGsLarger) {
    CIImage* image = ImageOfBytes(64, 64, VariedBytes(64, 64));
    const auto sizeAt = [&](double quality) {
        NSString* key = (NSString*)kCGImageDestinationLossyCompressionQuality;
        EXPECT_TRUE(Write(image, CFSTR("public.jpeg"),
                          [NSDictionary dictionaryWithObject:[NSNumber numberWithDouble:quality] forKey:key]));
        return FileSize();
    };
    EXPECT_LT(sizeAt(0.1), sizeAt(0.9));
}

TEST_F(ImageDestinationTest, FilesInMemoryAndOnDiskHaveTheSameBytes) {
    CIImage* image = ImageOfBytes(16, 16, VariedBytes(16, 16));
    ASSERT_TRUE(Write(image, CFSTR("public.png")));
    CGImageRef bitmap = [[CIContext contextWithOptions:nil] createCGImage:image fromRect:[image extent]];
    NSMutableData* data = [NSMutableData data];
    CGImageDestinationRef destination =
        CGImageDestinationCreateWithData((CFMutableDataRef)data, CFSTR("public.png"), 1, nullptr);
    EXPECT_EQ([data retainCount], 2u);
    CGImageDestinationAddImage(destination, bitmap, nullptr);
    EXPECT_TRUE(CGImageDestinationFinalize(destination));
    CFRelease(destination);
    CGImageRelease(bitmap);
    EXPECT_TRUE([data isEqual:[NSData dataWithContentsOfURL:url]]);
    EXPECT_EQ([data retainCount], 1u);
    EXPECT_EQ(CGImageDestinationCreateWithData(nullptr, CFSTR("public.png"), 1, nullptr), nullptr);
    EXPECT_EQ(CGImageDestinationCreateWithData((CFMutableDataRef)data, CFSTR("public.gif"), 1, nullptr), nullptr);
}

// The bytes of a file of an image.
NSData* FileOf(CIImage* image, CFStringRef type, CIFormat format, BOOL isDeferred) {
    CGColorSpaceRef space = CGColorSpaceCreateWithName(kCGColorSpaceSRGB);
    CGImageRef bitmap = [[CIContext contextWithOptions:nil] createCGImage:image
                                                                 fromRect:[image extent]
                                                                   format:format
                                                               colorSpace:space
                                                                 deferred:isDeferred];
    CGColorSpaceRelease(space);
    EXPECT_EQ(CGDataProviderIsSequential(CGImageGetDataProvider(bitmap)), isDeferred != NO);
    NSMutableData* data = [NSMutableData data];
    CGImageDestinationRef destination = CGImageDestinationCreateWithData((CFMutableDataRef)data, type, 1, nullptr);
    CGImageDestinationAddImage(destination, bitmap, nullptr);
    EXPECT_TRUE(CGImageDestinationFinalize(destination));
    CFRelease(destination);
    CGImageRelease(bitmap);
    return data;
}

TEST_F(ImageDestinationTest, RowsThatAreRenderedLaterMakeTheSameFile) {
    // More rows than are read at a time. Only the last one may have a color.
    CIImage* gray =
        [[CIImage imageWithColor:[CIColor colorWithRed:0.5 green:0.5
                                                  blue:0.5]] imageByCroppingToRect:CGRectMake(0, 0, 1024, 4200)];
    CIImage* pixel = [[CIImage imageWithColor:[CIColor colorWithRed:1 green:0
                                                               blue:0]] imageByCroppingToRect:CGRectMake(9, 0, 1, 1)];
    for (CIImage* image : {gray, [pixel imageByCompositingOverImage:gray]}) {
        for (const auto& [type, format] : {std::pair{CFSTR("public.png"), kCIFormatRGBA8},
                                           {CFSTR("public.png"), kCIFormatRGBA16},
                                           {CFSTR("public.jpeg"), kCIFormatRGBA8}}) {
            EXPECT_TRUE([FileOf(image, type, format, YES) isEqual:FileOf(image, type, format, NO)]) << format;
        }
    }
}

TEST_F(ImageDestinationTest, RowsOfSixteenBitsAreReadLater) {
    const NSUInteger width = 2048, height = 2048;
    CIImage* image = ImageOfBytes(width, height, VariedBytes(width, height));
    NSData* file = FileOf(image, CFSTR("public.png"), kCIFormatRGBA16, NO);
    CGImageSourceRef source = CGImageSourceCreateWithData((CFDataRef)file, nullptr);
    NSDictionary* options = [NSDictionary dictionaryWithObject:[NSNumber numberWithBool:NO]
                                                        forKey:(id)kCGImageSourceShouldCache];
    CGImageRef rows = CGImageSourceCreateImageAtIndex(source, 0, (CFDictionaryRef)options);
    EXPECT_TRUE(CGDataProviderIsSequential(CGImageGetDataProvider(rows)));
    EXPECT_EQ(CGImageGetBitsPerComponent(rows), 16u);
    EXPECT_TRUE([FileOf([CIImage imageWithCGImage:rows], CFSTR("public.png"), kCIFormatRGBA16, YES) isEqual:file]);
    CGImageRelease(rows);
    CFRelease(source);
}

TEST_F(ImageDestinationTest, ReplacingAFileLeavesNoOtherFileBehind) {
    [[NSFileManager defaultManager] createDirectoryAtPath:path
                              withIntermediateDirectories:YES
                                               attributes:nil
                                                    error:nullptr];
    url = [NSURL fileURLWithPath:[path stringByAppendingPathComponent:@"picture.png"]];
    CIImage* image = ImageOfBytes(4, 4, VariedBytes(4, 4));
    EXPECT_TRUE(Write(image, CFSTR("public.png")));
    EXPECT_TRUE(Write([image imageByCroppingToRect:CGRectMake(0, 0, 1, 1)], CFSTR("public.png")));
    EXPECT_EQ(golden::PictureOfFile(Text([url path]))->width, 1u);
    EXPECT_EQ([[[NSFileManager defaultManager] directoryContentsAtPath:path] count], 1u);
    // A folder cannot be replaced.
    [[NSFileManager defaultManager] createDirectoryAtPath:[path stringByAppendingPathComponent:@"folder"]
                              withIntermediateDirectories:YES
                                               attributes:nil
                                                    error:nullptr];
    url = [NSURL fileURLWithPath:[path stringByAppendingPathComponent:@"folder"]];
    EXPECT_FALSE(Write(image, CFSTR("public.png")));
    EXPECT_EQ([[[NSFileManager defaultManager] directoryContentsAtPath:path] count], 2u);
}

TEST_F(ImageDestinationTest, RefusesOtherTypesAndCounts) {
    EXPECT_EQ(CGImageDestinationCreateWithURL((CFURLRef)url, CFSTR("com.compuserve.gif"), 1, nullptr), nullptr);
    EXPECT_EQ(CGImageDestinationCreateWithURL((CFURLRef)url, CFSTR("public.png"), 2, nullptr), nullptr);
    EXPECT_EQ(CGImageDestinationCreateWithURL(nullptr, CFSTR("public.png"), 1, nullptr), nullptr);
}

TEST_F(ImageDestinationTest, FailsWithoutAnImageAndForUnwritablePlaces) {
    CGImageDestinationRef destination = CGImageDestinationCreateWithURL((CFURLRef)url, CFSTR("public.png"), 1, nullptr);
    CGImageDestinationAddImage(destination, nullptr, nullptr);
    EXPECT_FALSE(CGImageDestinationFinalize(destination));
    CFRelease(destination);
    testing::internal::CaptureStderr();
    for (NSString* place in @[ @"/nowhere/at/all.png", @"/", NSTemporaryDirectory() ]) {
        url = [NSURL fileURLWithPath:place];
        EXPECT_FALSE(Write(ImageOfBytes(1, 1, {1, 2, 3, 4}), CFSTR("public.png"))) << Text(place);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_FALSE([[NSFileManager defaultManager] fileExistsAtPath:path]);
}

}  // namespace
