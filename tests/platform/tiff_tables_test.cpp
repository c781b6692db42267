// tiff_tables_test.cpp - Exif in TIFF files, as libtiff reads it. The program's tests read files with another decoder;
// here are the files for more than 4 GB, which cannot be that small otherwise.

#include "platform/ImageIO/tiff_tables.h"

#include <gtest/gtest.h>
#include <tiffio.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

// The maker of a camera, an exposure time, and a width.
constexpr std::uint8_t kExif[] = {
    'M',  'M',  0, 42, 0,   0,   0,   8,                   // the header
    0,    2,                                               // the first table
    0x01, 0x0f, 0, 2,  0,   0,   0,   6,   0,   0, 0, 38,  // maker
    0x87, 0x69, 0, 4,  0,   0,   0,   1,   0,   0, 0, 44,  // the place of the other table
    0,    0,    0, 0,  'm', 'a', 'k', 'e', 'r', 0,         //
    0,    2,                                               // the other table
    0x82, 0x9a, 0, 5,  0,   0,   0,   1,   0,   0, 0, 74,  // exposure time
    0xa0, 0x02, 0, 4,  0,   0,   0,   1,   0,   0, 0, 40,  // width
    0,    0,    0, 0,  0,   0,   0,   1,   0,   0, 0, 250,
};

// Writes a file of one pixel, whose places have 4 or 8 bytes.
void WriteFile(bool isLarge, image_io::TiffStream* stream) {
    TIFF* tiff = image_io::OpenToWrite(stream, isLarge);
    ASSERT_NE(tiff, nullptr);
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, 1);
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, 1);
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
    std::uint8_t pixel = 77;
    EXPECT_EQ(TIFFWriteRawStrip(tiff, 0, &pixel, 1), 1);
    EXPECT_EQ(TIFFWriteDirectory(tiff), 1);
    TIFFClose(tiff);
}

class TiffTables : public testing::TestWithParam<bool> {};

TEST_P(TiffTables, ExifIsReadByTheLibraryAndByUs) {
    image_io::TiffStream written;
    WriteFile(GetParam(), &written);
    ASSERT_TRUE(image_io::AddExif({kExif, sizeof kExif}, &written));
    image_io::TiffStream stream = {.bytes = written.bytes, .length = written.length};
    TIFF* tiff = image_io::OpenToRead(&stream);
    ASSERT_NE(tiff, nullptr);
    EXPECT_EQ(TIFFIsBigTIFF(tiff) != 0, GetParam());
    std::uint8_t pixel = 0;
    EXPECT_EQ(TIFFReadEncodedStrip(tiff, 0, &pixel, 1), 1);
    EXPECT_EQ(pixel, 77);
    const char* maker = "";
    EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_MAKE, &maker), 1);
    EXPECT_EQ(std::string(maker), "maker");
    toff_t place = 0;
    std::uint32_t width = 0;
    EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_EXIFIFD, &place), 1);
    EXPECT_EQ(TIFFReadEXIFDirectory(tiff, place), 1);
    EXPECT_EQ(TIFFGetField(tiff, EXIFTAG_PIXELXDIMENSION, &width), 1);
    EXPECT_EQ(width, 40u);
    EXPECT_EQ(stream.fault, std::string());
    TIFFClose(tiff);

    image_io::Metadata metadata;
    image_io::ReadMetadataOfTIFF(written.bytes, written.length, &metadata);
    EXPECT_EQ(metadata.exif.size(), sizeof kExif);
    const image_io::Bytes time(metadata.exif.end() - 8, metadata.exif.end());
    EXPECT_EQ(time, (image_io::Bytes{1, 0, 0, 0, 250, 0, 0, 0}));
    std::free(written.written);
}

INSTANTIATE_TEST_SUITE_P(Sizes, TiffTables, testing::Values(false, true),
                         [](const auto& test) { return test.param ? "Large" : "Small"; });

TEST(TiffTablesDamage, AnInvalidBlockLeavesTheFileAlone) {
    image_io::TiffStream written;
    WriteFile(/*isLarge=*/false, &written);
    const std::size_t length = written.length;
    for (const std::size_t cut : {std::size_t{0}, std::size_t{3}, std::size_t{8}, std::size_t{33}}) {
        EXPECT_TRUE(image_io::AddExif({kExif, cut}, &written));
        EXPECT_EQ(written.length, length) << cut;
    }
    std::free(written.written);
}

TEST(TiffTablesDamage, ValuesOutsideTheBlockAreLeftOut) {
    image_io::TiffStream written;
    WriteFile(/*isLarge=*/false, &written);
    image_io::Bytes exif(kExif, kExif + sizeof kExif);
    constexpr std::size_t kPlaceOfMaker = 18;
    exif[kPlaceOfMaker] = 0x7f;
    ASSERT_TRUE(image_io::AddExif({exif.data(), exif.size()}, &written));
    image_io::TiffStream stream = {.bytes = written.bytes, .length = written.length};
    TIFF* tiff = image_io::OpenToRead(&stream);
    ASSERT_NE(tiff, nullptr);
    const char* maker = nullptr;
    toff_t place = 0;
    EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_MAKE, &maker), 0);
    EXPECT_EQ(TIFFGetField(tiff, TIFFTAG_EXIFIFD, &place), 1);
    TIFFClose(tiff);
    std::free(written.written);
}

}  // namespace
