// orientation.cpp - finds the Exif block of a file and the orientation in it.
//
// A JPEG is a sequence of segments, a PNG a sequence of chunks. An Exif block is a TIFF header and a table of entries.

#include "orientation.h"

#include <algorithm>
#include <cstring>

namespace image_io {
namespace {

// A range of bytes. Reading beyond its end gives 0.
struct Block {
    const std::uint8_t* bytes = nullptr;
    std::size_t length = 0;
    bool isLittleEndian = false;

    std::uint32_t Number(std::size_t at, std::size_t size) const {
        if (length < size || at > length - size) return 0;
        std::uint32_t number = 0;
        for (std::size_t i = 0; i < size; ++i) number = number << 8 | bytes[at + (isLittleEndian ? size - 1 - i : i)];
        return number;
    }

    bool Begins(std::size_t at, const char* text, std::size_t size) const {
        return length >= size && at <= length - size && std::memcmp(bytes + at, text, size) == 0;
    }

    // Returns a part of the range, clipped to it.
    Block Part(std::size_t at, std::size_t size) const {
        if (at > length) return {};
        return {bytes + at, std::min(size, length - at), isLittleEndian};
    }
};

// Returns the Exif block of a JPEG; empty when none precedes the picture data.
Block ExifOfJPEG(const Block& file) {
    constexpr std::uint32_t kExifSegment = 0xffe1;
    constexpr std::uint32_t kScanSegment = 0xffda;
    constexpr char kName[] = "Exif\0";  // terminated by two zero bytes
    std::size_t at = 2;
    for (;;) {
        const std::uint32_t segment = file.Number(at, 2);
        const std::uint32_t length = file.Number(at + 2, 2);
        if (segment < 0xff00 || segment == kScanSegment || length < 2) return {};
        if (segment == kExifSegment && file.Begins(at + 4, kName, sizeof kName)) {
            return file.Part(at + 4 + sizeof kName, length - 2 - sizeof kName);
        }
        at += 2 + length;
    }
}

// Returns the Exif block of a PNG; empty when there is none.
Block ExifOfPNG(const Block& file) {
    constexpr std::size_t kSignatureSize = 8;
    constexpr std::size_t kChunkOverhead = 12;  // a chunk's length, name and checksum
    std::size_t at = kSignatureSize;
    while (at < file.length) {
        const std::size_t length = file.Number(at, 4);
        if (file.Begins(at + 4, "eXIf", 4)) return file.Part(at + 8, length);
        if (length > file.length) return {};
        at += kChunkOverhead + length;
    }
    return {};
}

}  // namespace

int OrientationOf(const std::uint8_t* bytes, std::size_t length) {
    constexpr std::uint32_t kOrientationTag = 0x0112;
    constexpr std::uint32_t kShort = 3;
    constexpr std::size_t kEntrySize = 12;
    const Block file = {bytes, length};
    Block exif = file.Begins(0, "\xff\xd8", 2) ? ExifOfJPEG(file) : ExifOfPNG(file);
    exif.isLittleEndian = exif.Begins(0, "II*\0", 4);
    if (!exif.isLittleEndian && !exif.Begins(0, "MM\0*", 4)) return 0;
    const std::size_t table = exif.Number(4, 4);
    if (table >= exif.length) return 0;
    const std::uint32_t count = exif.Number(table, 2);
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::size_t entry = table + 2 + i * kEntrySize;
        if (exif.Number(entry, 2) != kOrientationTag || exif.Number(entry + 2, 2) != kShort) continue;
        const std::uint32_t orientation = exif.Number(entry + 8, 2);
        return orientation >= 1 && orientation <= 8 ? static_cast<int>(orientation) : 0;
    }
    return 0;
}

}  // namespace image_io
