// picture.cpp - picture files of one format, as the reader sees them: pixels, rows, and the data beside the pixels.
//
// The format is a definition of the build, so that each has a corpus of its own. What is decoded row by row must be
// what is decoded as a whole.

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/ImageIO/decode.h"
#include "platform/ImageIO/formats.h"
#include "platform/ImageIO/metadata.h"
#include "platform/ImageIO/row_decoder.h"

namespace {

// Large enough for every path, small enough for thousands of pictures per second.
constexpr std::size_t kMostPixels = std::size_t{1} << 18;

// The rows that one call reads: a number that does not divide most heights.
constexpr std::size_t kRows = 7;

// Decodes the rows, and aborts if they are others than those of the whole picture.
void CompareRows(const image_io::FileBytes& file, const image_io::Picture& whole) {
    const std::unique_ptr<image_io::RowDecoder> decoder = image_io::MakeRowDecoder(file, 1);
    image_io::Picture size;
    if (decoder == nullptr || decoder->Begin(&size) != image_io::Status::kComplete) return image_io::Free(&size);
    std::vector<std::uint8_t> rows(size.BytesPerRow() * kRows);
    for (std::size_t y = 0; y < size.height; y += kRows) {
        const std::size_t count = std::min(kRows, size.height - y);
        if (decoder->Read(rows.data(), count) != image_io::Status::kComplete) return image_io::Free(&size);
        if (whole.pixels == nullptr || size.isGray) continue;  // gray pixels may have been converted to sRGB
        if (size.width != whole.width || size.height != whole.height || size.depth != whole.depth ||
            std::memcmp(rows.data(), whole.pixels + y * whole.BytesPerRow(), count * whole.BytesPerRow()) != 0) {
            std::abort();
        }
    }
    image_io::Free(&size);
}

// Decodes a picture at an eighth of its size.
void ReadSmallRows(const image_io::FileBytes& file) {
    const std::unique_ptr<image_io::RowDecoder> decoder = image_io::MakeRowDecoder(file, 8);
    image_io::Picture size;
    if (decoder != nullptr && decoder->Begin(&size) == image_io::Status::kComplete) {
        std::vector<std::uint8_t> row(size.BytesPerRow());
        for (std::size_t y = 0; y < size.height; ++y) {
            if (decoder->Read(row.data(), 1) != image_io::Status::kComplete) break;
        }
    }
    image_io::Free(&size);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length) {
    const image_io::Format* format = image_io::FormatOfContent(bytes, length);
    if (format == nullptr || std::string_view(format->name) != ZEVA_FUZZ_FORMAT) return 0;
    image_io::SetPixelLimit(kMostPixels);
    image_io::Picture picture;
    static_cast<void>(image_io::Decode(bytes, length, &picture));
    const image_io::FileBytes file = {bytes, length};
    CompareRows(file, picture);
    ReadSmallRows(file);
    image_io::Free(&picture);
    static_cast<void>(image_io::ReadHeader(file, &picture));
    image_io::Metadata metadata = image_io::MetadataOf(bytes, length);
    static_cast<void>(image_io::OrientationIn(metadata));
    image_io::Adapt(&metadata, {.width = 3, .height = 2, .dropsLocation = (length & 1) != 0});
    image_io::Free(&picture);
    return 0;
}
