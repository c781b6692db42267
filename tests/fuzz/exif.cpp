// exif.cpp - Exif blocks: changed for another picture, put into a TIFF file, and read from that file.
//
// What is read has to be the same when it is put into a file once more.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "platform/ImageIO/formats.h"
#include "platform/ImageIO/metadata.h"

namespace {

// Returns the block in a file of one pixel with a block.
image_io::Bytes ThroughFile(const image_io::Bytes& exif) {
    static const image_io::Codec* const codec = [] {
        std::string reason;
        return image_io::CodecOf(*image_io::FormatNamed("tiff"), &reason);
    }();
    constexpr std::uint8_t kPixel[] = {1, 2, 3, 255};
    const image_io::Pixels pixels = {.bytes = kPixel, .width = 1, .height = 1, .bytesPerRow = 4, .isOpaque = true};
    image_io::EncodeOptions options;
    options.exif = {exif.data(), exif.size()};
    image_io::EncodedFile file;
    if (codec == nullptr || codec->encode(pixels, options, &file) != 0) std::abort();
    image_io::Metadata metadata = image_io::MetadataOf(file.bytes, file.length);
    std::free(file.bytes);
    return metadata.exif;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length) {
    if (length == 0) return 0;
    image_io::Bytes exif(bytes + 1, bytes + length);
    if (!image_io::AdaptExif(&exif, {.width = 3, .height = 2, .dropsLocation = (bytes[0] & 1) != 0})) return 0;
    const image_io::Bytes read = ThroughFile(exif);
    if (ThroughFile(read) != read) std::abort();
    return 0;
}
