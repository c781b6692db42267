// exif_tags.h - the numbers of Exif blocks and TIFF files, which have the same structure.

#pragma once

#include <cstddef>
#include <cstdint>

namespace image_io {

enum Tag : std::uint16_t {
    kSubfileType = 0x00fe,
    kImageWidth = 0x0100,
    kImageLength = 0x0101,
    kStripOffsets = 0x0111,
    kOrientation = 0x0112,
    kStripLengths = 0x0117,
    kThumbnail = 0x0201,
    kThumbnailLength = 0x0202,
    kXMPPacket = 0x02bc,
    kIPTCData = 0x83bb,
    kExifIFD = 0x8769,
    kLocationIFD = 0x8825,
    kPixelWidth = 0xa002,
    kPixelHeight = 0xa003,
    kInteroperabilityIFD = 0xa005,
};

// Types of values; the sizes of those that Exif has, by their numbers.
enum Type : std::uint16_t { kShort = 3, kLong = 4, kRational = 5, kSignedRational = 10, kIFD = 13, kLargeLong = 16 };
constexpr std::size_t kTypeSizes[] = {0, 1, 1, 2, 4, 8, 1, 1, 2, 4, 8, 4, 8};

}  // namespace image_io
