// image_source_test.mm - reads every kind of PNG and JPEG, and files that are broken.

#include <ImageIO/ImageIO.h>
#include "handmade_png.h"
#include "rendering.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>
// jpeglib.h requires this header before it.
#include <cstdio>

#include <jpeglib.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

// The result of decoding a file, and everything that was printed meanwhile.
struct Outcome {
    CGImageSourceStatus status = 0;
    std::size_t width = 0;
    FileBytes pixels;  // RGBA with straight alpha
    std::string printed;
};

Outcome Decode(const FileBytes& file) {
    testing::internal::CaptureStderr();
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    Outcome outcome;
    NSData* data = [NSData dataWithBytes:file.data() length:file.size()];
    CGImageSourceRef source = CGImageSourceCreateWithData((CFDataRef)data, nullptr);
    CGImageRef image = CGImageSourceCreateImageAtIndex(source, 0, nullptr);
    outcome.status = CGImageSourceGetStatus(source);
    EXPECT_EQ(CGImageSourceGetCount(source), image == nullptr ? 0u : 1u);
    EXPECT_EQ(CGImageSourceCreateImageAtIndex(source, 1, nullptr), nullptr);
    CFRelease(source);
    if (image != nullptr) {
        EXPECT_EQ(CGImageGetAlphaInfo(image), CGImageAlphaInfo{kCGImageAlphaLast});
        outcome.width = CGImageGetWidth(image);
        NSData* bytes = [(NSData*)CGDataProviderCopyData(CGImageGetDataProvider(image)) autorelease];
        const auto* first = static_cast<const std::uint8_t*>([bytes bytes]);
        outcome.pixels.assign(first, first + [bytes length]);
    }
    CGImageRelease(image);
    [pool release];
    outcome.printed = testing::internal::GetCapturedStderr();
    return outcome;
}

FileBytes PixelsOf(const HandmadePNG& png) {
    const Outcome outcome = Decode(png.Bytes());
    EXPECT_EQ(outcome.status, kCGImageStatusComplete);
    EXPECT_EQ(outcome.printed, "");
    return outcome.pixels;
}

// Returns a JPEG in a color space of which each number is 100; one that is wider than a block has a restart marker
// behind each block. The colors of one that is higher than a block differ.
FileBytes JPEG(J_COLOR_SPACE space, int components, bool isProgressive = false, unsigned width = 8, unsigned height = 8,
               J_COLOR_SPACE stored = JCS_UNKNOWN) {
    jpeg_compress_struct jpeg = {};
    jpeg_error_mgr errors = {};
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* bytes = nullptr;
    unsigned long length = 0;
    jpeg_mem_dest(&jpeg, &bytes, &length);
    jpeg.image_width = width;
    jpeg.image_height = height;
    jpeg.input_components = components;
    jpeg.in_color_space = space;
    jpeg_set_defaults(&jpeg);
    if (stored != JCS_UNKNOWN) jpeg_set_colorspace(&jpeg, stored);
    jpeg_set_quality(&jpeg, 100, TRUE);
    if (width > 8 && height == 8) jpeg.restart_interval = 1;
    if (isProgressive) jpeg_simple_progression(&jpeg);
    jpeg_start_compress(&jpeg, TRUE);
    FileBytes row(width * static_cast<std::size_t>(components), 100);
    for (unsigned y = 0; y < height; ++y) {
        JSAMPROW line = row.data();
        // Larger pictures have many colors.
        for (std::size_t i = 0; height > 8 && i < row.size(); ++i)
            row[i] = static_cast<std::uint8_t>(i / 9 + y * i / 4096);
        jpeg_write_scanlines(&jpeg, &line, 1);
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    FileBytes file(bytes, bytes + length);
    std::free(bytes);
    return file;
}

HandmadePNG SmallPNG() {
    return {2, 2, 8, kRGBA, {{1, 2, 3, 4, 5, 6, 7, 8}, {9, 10, 11, 12, 13, 14, 15, 16}}, {}, {}, false, {}};
}

TEST(ImageSourceTest, StraightAlphaIsUnchanged) {
    EXPECT_EQ(PixelsOf(SmallPNG()), (FileBytes{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16}));
}

TEST(ImageSourceTest, GraysOfEveryDepthBecomeRGBA) {
    EXPECT_EQ(PixelsOf({2, 1, 1, kGray, {{0x40}}, {}, {}, false, {}}), (FileBytes{0, 0, 0, 255, 255, 255, 255, 255}));
    EXPECT_EQ(PixelsOf({2, 1, 2, kGray, {{0x60}}, {}, {}, false, {}}),
              (FileBytes{85, 85, 85, 255, 170, 170, 170, 255}));
    EXPECT_EQ(PixelsOf({2, 1, 4, kGray, {{0x1f}}, {}, {}, false, {}}),
              (FileBytes{17, 17, 17, 255, 255, 255, 255, 255}));
    EXPECT_EQ(PixelsOf({1, 1, 8, kGray, {{77}}, {}, {}, false, {}}), (FileBytes{77, 77, 77, 255}));
    EXPECT_EQ(PixelsOf({1, 1, 8, kGrayAlpha, {{77, 9}}, {}, {}, false, {}}), (FileBytes{77, 77, 77, 9}));
}

TEST(ImageSourceTest, ColorsOfEveryDepthBecomeRGBA) {
    EXPECT_EQ(PixelsOf({1, 1, 8, kRGB, {{1, 2, 3}}, {}, {}, false, {}}), (FileBytes{1, 2, 3, 255}));
    EXPECT_EQ(PixelsOf({1, 1, 8, kRGBA, {{1, 2, 3, 4}}, {}, {}, false, {}}), (FileBytes{1, 2, 3, 4}));
}

TEST(ImageSourceTest, SixteenBitsStaySixteenBits) {
    // Files have the most significant byte first, this machine the least significant one.
    EXPECT_EQ(PixelsOf({1, 1, 16, kGray, {{1, 2}}, {}, {}, false, {}}), (FileBytes{2, 1, 2, 1, 2, 1, 255, 255}));
    EXPECT_EQ(PixelsOf({1, 1, 16, kGrayAlpha, {{1, 2, 3, 4}}, {}, {}, false, {}}), (FileBytes{2, 1, 2, 1, 2, 1, 4, 3}));
    EXPECT_EQ(PixelsOf({1, 1, 16, kRGB, {{1, 2, 3, 4, 5, 6}}, {}, {}, false, {}}),
              (FileBytes{2, 1, 4, 3, 6, 5, 255, 255}));
    EXPECT_EQ(PixelsOf({1, 1, 16, kRGBA, {{1, 2, 3, 4, 5, 6, 7, 8}}, {}, {}, false, {}}),
              (FileBytes{2, 1, 4, 3, 6, 5, 8, 7}));
}

TEST(ImageSourceTest, PalettesAndTransparentColorsAreExpanded) {
    const FileBytes palette = {10, 20, 30, 40, 50, 60};
    for (std::uint8_t depth : {1, 2, 4, 8}) {
        // Entries 0 and 1, in the leading bits of a byte or in two bytes.
        const FileBytes row = depth == 8 ? FileBytes{0, 1} : FileBytes{static_cast<std::uint8_t>(256 >> 2 * depth)};
        EXPECT_EQ(PixelsOf({2, 1, depth, kPalette, {row}, palette, {128}, false, {}}),
                  (FileBytes{10, 20, 30, 128, 40, 50, 60, 255}));
    }
    EXPECT_EQ(PixelsOf({2, 1, 8, kGray, {{7, 8}}, {}, {0, 7}, false, {}}), (FileBytes{7, 7, 7, 0, 8, 8, 8, 255}));
}

TEST(ImageSourceTest, InterlacedFilesAreReadCompletely) {
    // For 2 x 2 pixels the passes hold the first pixel, the second pixel of the first row, and the second row.
    HandmadePNG png = {2, 2, 8, kGray, {{1}, {2}, {3, 4}}, {}, {}, true, {}};
    EXPECT_EQ(PixelsOf(png), (FileBytes{1, 1, 1, 255, 2, 2, 2, 255, 3, 3, 3, 255, 4, 4, 4, 255}));
}

TEST(ImageSourceTest, OtherGammasAreConvertedToSRGB) {
    const FileBytes linear = {0x00, 0x01, 0x86, 0xa0};
    const FileBytes pixel = PixelsOf({1, 1, 8, kRGB, {{0, 128, 255}}, {}, {}, false, linear});
    EXPECT_EQ(pixel[0], 0);
    EXPECT_NEAR(pixel[1], 187, 2);
    EXPECT_EQ(pixel[2], 255);
}

TEST(ImageSourceTest, TooManyScansAreInvalidData) {
    const FileBytes file = JPEG(JCS_GRAYSCALE, 1, /*isProgressive=*/true);
    EXPECT_EQ(Decode(file).status, kCGImageStatusComplete);
    const FileBytes marker = {0xff, 0xda};
    const auto last = std::find_end(file.begin(), file.end(), marker.begin(), marker.end());
    FileBytes longer(file.begin(), last);
    for (int scan = 0; scan < 600; ++scan) longer.insert(longer.end(), last, file.end() - 2);
    longer.insert(longer.end(), file.end() - 2, file.end());
    EXPECT_EQ(Decode(longer).status, kCGImageStatusInvalidData);
}

TEST(ImageSourceTest, GrayAndColorJPEGAreRead) {
    for (const FileBytes& file : {JPEG(JCS_GRAYSCALE, 1), JPEG(JCS_RGB, 3)}) {
        const Outcome outcome = Decode(file);
        EXPECT_EQ(outcome.status, kCGImageStatusComplete);
        ASSERT_EQ(outcome.pixels.size(), 8u * 8 * 4);
        EXPECT_NEAR(outcome.pixels[0], 100, 1);
        EXPECT_EQ(outcome.pixels[3], 255);
    }
}

// The files have an Adobe marker, so 255 is no ink: 100 of 255 of the light passes the color's ink, and of that 100 of
// 255 pass the black.
TEST(ImageSourceTest, InksBecomeColors) {
    for (const J_COLOR_SPACE stored : {JCS_CMYK, JCS_YCCK}) {
        const Outcome outcome = Decode(JPEG(JCS_CMYK, 4, /*isProgressive=*/false, /*width=*/8, /*height=*/8, stored));
        ASSERT_EQ(outcome.status, kCGImageStatusComplete);
        EXPECT_NEAR(outcome.pixels[0], 100 * 100 / 255, 1);
        EXPECT_EQ(outcome.pixels[1], outcome.pixels[0]);
        EXPECT_EQ(outcome.pixels[3], 255);
    }
}

TEST(ImageSourceTest, InksWithoutAnAdobeMarkerAreNotInverted) {
    FileBytes file = JPEG(JCS_CMYK, 4);
    const std::string marker = "Adobe";
    const auto found = std::search(file.begin(), file.end(), marker.begin(), marker.end());
    ASSERT_NE(found, file.end());
    *found = 'B';
    const Outcome outcome = Decode(file);
    ASSERT_EQ(outcome.status, kCGImageStatusComplete);
    EXPECT_NEAR(outcome.pixels[0], 155 * 155 / 255, 1);
}

TEST(ImageSourceTest, RestartMarkersAreFollowed) {
    FileBytes file = JPEG(JCS_GRAYSCALE, 1, /*isProgressive=*/false, /*width=*/40);
    const std::uint8_t lastMarker[] = {0xff, 0xd3};
    EXPECT_NE(std::search(file.begin(), file.end(), std::begin(lastMarker), std::end(lastMarker)), file.end());
    const Outcome outcome = Decode(file);
    ASSERT_EQ(outcome.status, kCGImageStatusComplete);
    EXPECT_EQ(outcome.width, 40u);
    for (std::size_t i = 0; i < outcome.pixels.size(); i += 4) EXPECT_NEAR(outcome.pixels[i], 100, 1);
}

TEST(ImageSourceTest, TruncatedFilesHaveAStatusAndNoImage) {
    for (const FileBytes& file : {SmallPNG().Bytes(), JPEG(JCS_RGB, 3)}) {
        for (std::size_t length = 0; length < file.size(); ++length) {
            const Outcome outcome = Decode(FileBytes(file.begin(), file.begin() + static_cast<std::ptrdiff_t>(length)));
            const std::size_t signature = file[0] == 0xff ? 3 : 8;
            EXPECT_EQ(outcome.status, length < signature ? kCGImageStatusReadingHeader : kCGImageStatusUnexpectedEOF)
                << length;
            EXPECT_TRUE(outcome.pixels.empty());
            EXPECT_EQ(outcome.printed, "");
        }
    }
}

TEST(ImageSourceTest, EveryFlippedBitGivesAnImageOrAStatusAndPrintsNothing) {
    for (const FileBytes& file : {SmallPNG().Bytes(), JPEG(JCS_GRAYSCALE, 1)}) {
        for (std::size_t index = 0; index < file.size() * 8; ++index) {
            FileBytes broken = file;
            broken[index / 8] ^= static_cast<std::uint8_t>(1 << index % 8);
            const Outcome outcome = Decode(broken);
            EXPECT_EQ(outcome.status == kCGImageStatusComplete, !outcome.pixels.empty()) << index;
            EXPECT_EQ(outcome.printed, "") << index;
        }
    }
}

TEST(ImageSourceTest, WrongChecksumIsInvalidData) {
    FileBytes file = SmallPNG().Bytes();
    file[29] ^= 1;  // in the checksum of the header chunk
    EXPECT_EQ(Decode(file).status, kCGImageStatusInvalidData);
}

TEST(ImageSourceTest, ChunksThatClaimMoreThanTheFileHasTakeNoMemory) {
    FileBytes file = SmallPNG().Bytes();
    const std::uint8_t header[] = {0x66, 0x66, 0x66, 0x66, 'z', 'T', 'X', 't'};  // 1.7 GB
    file.insert(file.begin() + 33, std::begin(header), std::end(header));        // behind the header chunk
    rusage before = {}, after = {};
    getrusage(RUSAGE_SELF, &before);
    EXPECT_EQ(Decode(file).status, kCGImageStatusUnexpectedEOF);
    getrusage(RUSAGE_SELF, &after);
    EXPECT_LT(after.ru_maxrss - before.ru_maxrss, 100 << 10);  // kilobytes
}

TEST(ImageSourceTest, OtherFilesHaveAnUnknownType) {
    EXPECT_EQ(Decode({'G', 'I', 'F', '8', '9', 'a'}).status, kCGImageStatusUnknownType);
    EXPECT_EQ(Decode(FileBytes(100, 0)).status, kCGImageStatusUnknownType);
}

TEST(ImageSourceTest, SizesBeyondTheLimitAreInvalidData) {
    for (std::uint32_t size : {30000u, 900000u, 0x7fffffffu}) {
        HandmadePNG png = SmallPNG();
        png.width = png.height = size;
        const Outcome outcome = Decode(png.Bytes());
        EXPECT_EQ(outcome.status, kCGImageStatusInvalidData);
        EXPECT_EQ(outcome.printed, "");
    }
    FileBytes jpeg = JPEG(JCS_RGB, 3);
    for (std::size_t index = 0; index + 8 < jpeg.size(); ++index) {
        if (jpeg[index] == 0xff && jpeg[index + 1] == 0xc0)
            std::fill_n(jpeg.begin() + static_cast<std::ptrdiff_t>(index) + 5, 4, 0xfb);
    }
    EXPECT_EQ(Decode(jpeg).status, kCGImageStatusInvalidData);
}

TEST(ImageSourceTest, PropertiesHaveTheSizeOfAPictureThatIsTooLarge) {
    HandmadePNG png = SmallPNG();
    png.width = 40000;
    png.height = 2000000;
    const FileBytes file = png.Bytes();
    NSData* data = [NSData dataWithBytes:file.data() length:file.size()];
    CGImageSourceRef source = CGImageSourceCreateWithData((CFDataRef)data, nullptr);
    EXPECT_EQ(CGImageSourceCreateImageAtIndex(source, 0, nullptr), nullptr);
    NSDictionary* properties = [(NSDictionary*)CGImageSourceCopyPropertiesAtIndex(source, 0, nullptr) autorelease];
    EXPECT_EQ([[properties objectForKey:(id)kCGImagePropertyPixelWidth] intValue], 40000);
    EXPECT_EQ([[properties objectForKey:(id)kCGImagePropertyPixelHeight] intValue], 2000000);
    CFRelease(source);
}

TEST(ImageSourceTest, UnreadableFilesGiveNoSource) {
    testing::internal::CaptureStderr();
    for (NSString* place in @[ @"/nowhere/at/all.png", @"/", @"/dev/zero" ]) {
        NSURL* url = [NSURL fileURLWithPath:place];
        EXPECT_EQ(CGImageSourceCreateWithURL((CFURLRef)url, nullptr), nullptr) << Text(place);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(CGImageSourceCreateWithURL(nullptr, nullptr), nullptr);
    EXPECT_EQ(CGImageSourceCreateWithData(nullptr, nullptr), nullptr);
}

// Returns the orientation in the properties of a file; -1 when there is none.
int OrientationOf(const FileBytes& file) {
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
    NSData* data = [NSData dataWithBytes:file.data() length:file.size()];
    CGImageSourceRef source = CGImageSourceCreateWithData((CFDataRef)data, nullptr);
    NSDictionary* properties = (NSDictionary*)CGImageSourceCopyPropertiesAtIndex(source, 0, nullptr);
    NSNumber* orientation = [properties objectForKey:(id)kCGImagePropertyOrientation];
    const int result = orientation == nil ? -1 : [orientation intValue];
    [properties release];
    CFRelease(source);
    [pool release];
    return result;
}

// Returns a JPEG whose first segment is an Exif segment; its second entry is the orientation.
FileBytes JPEGWithOrientation(std::uint8_t orientation) {
    const FileBytes exif = {0xff, 0xe1, 0,   52,                                      // the segment and its length
                            'E',  'x',  'i', 'f', 0, 0,                               //
                            'M',  'M',  0,   42,  0, 0, 0, 10, 0, 0,                  // the header; two bytes unused
                            0,    2,                                                  // two entries
                            1,    0,    0,   4,   0, 0, 0, 1,  0, 0,           0, 8,  // the width
                            1,    0x12, 0,   3,   0, 0, 0, 1,  0, orientation, 0, 0,  //
                            0,    0,    0,   0,   0, 0, 0, 0};
    FileBytes file = JPEG(JCS_RGB, 3);
    file.insert(file.begin() + 2, exif.begin(), exif.end());
    return file;
}

TEST(ImageSourceTest, OrientationOfAJPEGIsRead) {
    EXPECT_EQ(OrientationOf(JPEGWithOrientation(6)), 6);
    EXPECT_EQ(OrientationOf(JPEGWithOrientation(1)), 1);
    EXPECT_EQ(OrientationOf(JPEGWithOrientation(0)), -1);
    EXPECT_EQ(OrientationOf(JPEGWithOrientation(9)), -1);
    EXPECT_EQ(OrientationOf(JPEG(JCS_RGB, 3)), -1);
    EXPECT_EQ(OrientationOf(SmallPNG().Bytes()), -1);
    EXPECT_EQ(Decode(JPEGWithOrientation(6)).status, kCGImageStatusComplete);
    EXPECT_EQ(CGImageSourceCopyPropertiesAtIndex(nullptr, 0, nullptr), nullptr);
}

TEST(ImageSourceTest, TruncatedOrCorruptExifBlocksAreHarmless) {
    const FileBytes whole = JPEGWithOrientation(6);
    for (std::size_t length = 0; length < 46; ++length) {
        EXPECT_EQ(OrientationOf({whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length)}), -1) << length;
        for (const std::uint8_t byte : {0, 255}) {
            FileBytes wrong = whole;
            wrong[length] = byte;
            OrientationOf(wrong);
        }
    }
}

// A file decoded row by row; no pixels when it has no sequential provider.
FileBytes RowsOf(const FileBytes& file, unsigned factor, std::size_t* width) {
    NSData* data = [NSData dataWithBytes:file.data() length:file.size()];
    CGImageSourceRef source = CGImageSourceCreateWithData((CFDataRef)data, nullptr);
    NSDictionary* options = [NSDictionary
        dictionaryWithObjectsAndKeys:[NSNumber numberWithBool:NO], (id)kCGImageSourceShouldCache,
                                     [NSNumber numberWithUnsignedInt:factor], (id)kCGImageSourceSubsampleFactor, nil];
    CGImageRef image = CGImageSourceCreateImageAtIndex(source, 0, (CFDictionaryRef)options);
    CFRelease(source);
    CGDataProviderRef provider = CGImageGetDataProvider(image);
    FileBytes pixels;
    *width = CGImageGetWidth(image);
    if (CGDataProviderIsSequential(provider)) {
        const std::size_t height = CGImageGetHeight(image), bytesPerRow = CGImageGetBytesPerRow(image);
        pixels.resize(height * bytesPerRow);
        // The first rows are read twice.
        EXPECT_EQ(CGDataProviderGetBytes(provider, pixels.data(), 10 * bytesPerRow), 10 * bytesPerRow);
        CGDataProviderRewind(provider);
        for (std::size_t row = 0; row < height; row += 100) {
            const std::size_t bytes = std::min<std::size_t>(100, height - row) * bytesPerRow;
            EXPECT_EQ(CGDataProviderGetBytes(provider, &pixels[row * bytesPerRow], bytes), bytes);
        }
    }
    CGImageRelease(image);
    return pixels;
}

TEST(ImageSourceTest, RowsOfALargeJPEGAreThoseOfTheWholePicture) {
    std::size_t width = 0;
    for (const bool isGray : {false, true}) {
        const FileBytes file = JPEG(isGray ? JCS_GRAYSCALE : JCS_RGB, isGray ? 1 : 3, false, 2050, 2050);
        EXPECT_TRUE(RowsOf(file, 1, &width) == Decode(file).pixels);
        EXPECT_EQ(width, 2050u);
    }
    EXPECT_TRUE(RowsOf(JPEG(JCS_RGB, 3, /*isProgressive=*/true, 2050, 2050), 1, &width).empty());
    EXPECT_TRUE(RowsOf(JPEG(JCS_RGB, 3, false, 2000, 2000), 1, &width).empty());
}

TEST(ImageSourceTest, ReducedJPEGHasTheMeansOfSquares) {
    const FileBytes file = JPEG(JCS_RGB, 3, false, 2050, 2050);
    const FileBytes whole = Decode(file).pixels;
    std::size_t width = 0;
    const FileBytes half = RowsOf(file, 2, &width);
    ASSERT_EQ(width, 1025u);
    ASSERT_EQ(half.size(), width * width * 4);
    double error = 0;
    for (std::size_t y = 0; y < 1025; ++y) {
        for (std::size_t x = 0; x < 1025; ++x) {
            const std::uint8_t* at = &whole[(2 * y * 2050 + 2 * x) * 4];
            const double mean = (at[0] + at[4] + at[2050 * 4] + at[2051 * 4]) / 4.0;
            error += std::abs(half[(y * 1025 + x) * 4] - mean);
        }
    }
    EXPECT_LT(error / (1025 * 1025), 2);
    RowsOf(file, 4, &width);
    EXPECT_EQ(width, 513u);
    EXPECT_EQ(RowsOf(file, 8, &width).size(), 257u * 257u * 4);
}

// The error number with which the rows of a large image end; 0 when all can be read.
int ErrorOfRows(CGImageRef image) {
    FileBytes rows(CGImageGetBytesPerRow(image) * CGImageGetHeight(image));
    const std::size_t count = CGDataProviderGetBytes(CGImageGetDataProvider(image), rows.data(), rows.size());
    return count == rows.size() ? 0 : errno;
}

// An image whose rows are decoded when they are read.
CGImageRef SequentialImage(CGImageSourceRef source) {
    NSDictionary* options = [NSDictionary dictionaryWithObject:[NSNumber numberWithBool:NO]
                                                        forKey:(id)kCGImageSourceShouldCache];
    return CGImageSourceCreateImageAtIndex(source, 0, (CFDictionaryRef)options);
}

TEST(ImageSourceTest, TruncatedRowsEndWithTheReason) {
    FileBytes file = JPEG(JCS_RGB, 3, false, 2050, 2050);
    file.resize(file.size() / 2);
    NSData* data = [NSData dataWithBytes:file.data() length:file.size()];
    CGImageSourceRef source = CGImageSourceCreateWithData((CFDataRef)data, nullptr);
    CGImageRef image = SequentialImage(source);
    EXPECT_EQ(ErrorOfRows(image), ENODATA);
    CGImageRelease(image);
    CFRelease(source);
}

// A file that is large enough to be mapped into memory, open as a source: a gray TIFF without compression, in which
// zeros are as valid as any other bytes.
class MappedFileTest : public testing::Test {
  protected:
    MappedFileTest() {
        // Tag, type (3 for 16 bits, 4 for 32), count, value.
        const std::uint32_t entries[][4] = {
            {256, 3, 1, kSide}, {257, 3, 1, kSide},   {258, 3, 1, 16},    {259, 3, 1, 1},
            {262, 3, 1, 1},     {273, 4, 1, kPixels}, {278, 4, 1, kSide}, {279, 4, 1, 2 * kSide * kSide}};
        std::ofstream file(path, std::ios::binary);
        const auto write = [&file](std::uint32_t number, std::streamsize bytes) {
            file.write(reinterpret_cast<const char*>(&number), bytes);
        };
        file << "II*" << '\0';
        write(8, 4);
        write(std::size(entries), 2);
        for (const auto& [tag, type, count, value] : entries) {
            write(tag, 2);
            write(type, 2);
            write(count, 4);
            write(value, 4);
        }
        file.close();
        std::filesystem::resize_file(path, kPixels + 2 * kSide * kSide);
        NSURL* url = [NSURL fileURLWithPath:[NSString stringWithUTF8String:path.c_str()]];
        source = CGImageSourceCreateWithURL((CFURLRef)url, nullptr);
    }
    ~MappedFileTest() override {
        if (source != nullptr) CFRelease(source);
        std::filesystem::remove(path);
    }

    static constexpr std::uint32_t kSide = 2050, kPixels = 4096;
    const std::filesystem::path path =
        std::filesystem::temp_directory_path() / ("zeva-mapped-" + std::to_string(getpid()) + ".tif");
    CGImageSourceRef source;
};

TEST_F(MappedFileTest, FileThatIsShortenedBeforeItIsDecodedIsTruncated) {
    std::filesystem::resize_file(path, 0);
    EXPECT_EQ(CGImageSourceGetStatus(source), kCGImageStatusUnexpectedEOF);
    EXPECT_EQ(CGImageSourceCreateImageAtIndex(source, 0, nullptr), nullptr);
}

TEST(ImageSourceTest, FramesOfAnAnimatedWebPAreCounted) {
    std::string file = "RIFF";
    const auto addNumber = [&](std::size_t number) {
        for (int i = 0; i < 4; ++i, number >>= 8) file += static_cast<char>(number & 0xff);
    };
    addNumber(4 + 18 + 3 * 10);
    file += "WEBPVP8X";
    addNumber(10);
    file += std::string(10, '\0');
    for (int frame = 0; frame < 3; ++frame) {
        file += "ANMF";
        addNumber(1);  // an odd length is followed by a byte
        file += std::string(2, '\0');
    }
    NSData* data = [NSData dataWithBytes:file.data() length:file.size()];
    CGImageSourceRef source = CGImageSourceCreateWithData((CFDataRef)data, nullptr);
    NSDictionary* properties = [(NSDictionary*)CGImageSourceCopyPropertiesAtIndex(source, 0, nullptr) autorelease];
    EXPECT_EQ([[properties objectForKey:(id)kCGImagePropertyImageCount] unsignedLongValue], 3u);
    CFRelease(source);
}

TEST_F(MappedFileTest, HeaderIsKnownAfterThePictureWasDecoded) {
    const auto hasRowsInOrder = [&] {
        NSDictionary* properties = [(NSDictionary*)CGImageSourceCopyPropertiesAtIndex(source, 0, nullptr) autorelease];
        return [[properties objectForKey:(id)kCGImagePropertyHasRowsInOrder] boolValue] != NO;
    };
    EXPECT_EQ(CGImageSourceGetStatus(source), kCGImageStatusComplete);
    EXPECT_TRUE(hasRowsInOrder());
}

TEST_F(MappedFileTest, FileThatIsShortenedWhileItsRowsAreReadIsTruncated) {
    CGImageRef image = SequentialImage(source);
    EXPECT_EQ(ErrorOfRows(image), 0);
    CGDataProviderRewind(CGImageGetDataProvider(image));
    std::filesystem::resize_file(path, 5000);
    EXPECT_EQ(ErrorOfRows(image), ENODATA);
    CGImageRelease(image);
}

TEST_F(MappedFileTest, SourceOfAnotherFileIsNotAffected) {
    NSURL* url = [NSURL fileURLWithPath:[NSString stringWithUTF8String:path.c_str()]];
    CGImageSourceRef shortened = CGImageSourceCreateWithURL((CFURLRef)url, nullptr);
    std::filesystem::rename(path, path.string() + ".old");
    std::filesystem::copy(path.string() + ".old", path);
    CGImageSourceRef whole = CGImageSourceCreateWithURL((CFURLRef)url, nullptr);
    std::filesystem::resize_file(path.string() + ".old", 0);
    std::filesystem::remove(path.string() + ".old");
    EXPECT_EQ(CGImageSourceGetStatus(shortened), kCGImageStatusUnexpectedEOF);
    EXPECT_EQ(CGImageSourceGetStatus(whole), kCGImageStatusComplete);
    CFRelease(shortened);
    CFRelease(whole);
}

// Reads a page that a mapping of the test's own no longer has.
void ReadMissingPage(const std::filesystem::path& path) {
    const int file = open(path.c_str(), O_RDONLY);
    const auto* bytes = static_cast<const volatile char*>(mmap(nullptr, 5000, PROT_READ, MAP_SHARED, file, 0));
    std::filesystem::resize_file(path, 0);
    std::exit(bytes[0]);
}

TEST_F(MappedFileTest, BusErrorsElsewhereStillEndTheProcess) {
    EXPECT_EXIT(ReadMissingPage(path), testing::KilledBySignal(SIGBUS), "");
    EXPECT_EXIT(raise(SIGBUS), testing::KilledBySignal(SIGBUS), "");
}

}  // namespace
