// picture_seeds.cpp - writes small pictures of every format that this machine encodes: NAME-DEPTH-KIND in a folder.
//
// Usage: fuzz_pictures FOLDER
//
// The pictures have color or are gray, with alpha and without, and carry a block of each kind of data. The same call
// gives the same files.

#include <cstdio>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "platform/ImageIO/encode.h"
#include "platform/ImageIO/formats.h"

namespace {

constexpr std::size_t kWidth = 19, kHeight = 11;
constexpr const char* kFormats[] = {"png", "jpeg", "webp", "tiff", "heic", "avif"};

// A component of the test picture, 0 to 1: a slope, so that filters and predictors have something to do.
double Component(std::size_t x, std::size_t y, std::size_t channel, bool isGray) {
    if (channel == 3) return static_cast<double>(x % 5) / 4;
    return static_cast<double>((x * (isGray ? 1 : channel + 1) + y) % 16) / 15;
}

std::vector<std::uint8_t> Picture(std::size_t depth, bool isGray) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < kWidth * kHeight * 4; ++i) {
        const double value = Component(i / 4 % kWidth, i / 4 / kWidth, i % 4, isGray);
        const auto eight = static_cast<std::uint8_t>(value * 255);
        const auto sixteen = static_cast<std::uint16_t>(value * 65535);
        const auto real = static_cast<float>(value);
        const void* source = depth == 8    ? static_cast<const void*>(&eight)
                             : depth == 16 ? static_cast<const void*>(&sixteen)
                                           : &real;
        bytes.resize(bytes.size() + depth / 8);
        std::memcpy(bytes.data() + bytes.size() - depth / 8, source, depth / 8);
    }
    return bytes;
}

}  // namespace

int main(int count, char** arguments) {
    if (count != 2) return 2;
    // An orientation, the place of a table with a width, and that of one with a latitude.
    constexpr char kExif[] =
        "II*\0\x08\0\0\0"
        "\x03\0"
        "\x12\x01\x03\0\x01\0\0\0\x06\0\0\0"
        "\x69\x87\x04\0\x01\0\0\0\x32\0\0\0"
        "\x25\x88\x04\0\x01\0\0\0\x44\0\0\0\0\0\0\0"
        "\x01\0\x02\xa0\x04\0\x01\0\0\0\x13\0\0\0\0\0\0\0"
        "\x01\0\x02\0\x05\0\x01\0\0\0\x56\0\0\0\0\0\0\0"
        "\x35\0\0\0\x01\0\0\0";
    constexpr char kXMP[] = "<x:xmpmeta xmlns:x='adobe:ns:meta/'><tiff:Orientation>6</tiff:Orientation></x:xmpmeta>";
    for (const char* name : kFormats) {
        const image_io::Format* format = image_io::FormatNamed(name);
        std::string reason;
        const image_io::Codec* codec = format != nullptr ? image_io::CodecOf(*format, &reason) : nullptr;
        for (const std::size_t depth : {8u, 16u, 32u}) {
            if (codec == nullptr || codec->encode == nullptr || (format->depths & depth) == 0) continue;
            for (int kind = 0; kind < 8; ++kind) {
                const std::vector<std::uint8_t> bytes = Picture(depth, (kind & 1) != 0);
                const image_io::Pixels pixels = {.bytes = bytes.data(),
                                                 .depth = depth,
                                                 .width = kWidth,
                                                 .height = kHeight,
                                                 .bytesPerRow = kWidth * depth / 2,
                                                 .isOpaque = (kind & 2) != 0};
                image_io::EncodeOptions options;
                options.isLossless = options.isProgressive = (kind & 4) != 0;
                options.subsampling = (kind & 4) != 0 ? image_io::Subsampling::k444 : image_io::Subsampling::k420;
                options.exif = {kExif, sizeof kExif - 1};
                options.xmp = {kXMP, sizeof kXMP - 1};
                image_io::EncodedFile file;
                if (codec->encode(pixels, options, &file) == 0) {
                    const std::string path = std::string(arguments[1]) + "/" + name + "-" + std::to_string(depth) +
                                             "-" + std::to_string(kind);
                    std::ofstream(path, std::ios::binary)
                        .write(reinterpret_cast<const char*>(file.bytes), static_cast<std::streamsize>(file.length));
                }
                std::free(file.bytes);
            }
        }
    }
    return 0;
}
