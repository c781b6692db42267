// decode.cpp - chooses the decoder by the signature at the start of the file.
//
// Adding a format: declare its decoder in decode.h and add a row to kKinds.

#include "decode.h"

#include <algorithm>
#include <cstdlib>

#include "row_decoder.h"

namespace image_io {
namespace {

constexpr std::uint8_t kSignaturePNG[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
constexpr std::uint8_t kSignatureJPEG[] = {0xff, 0xd8, 0xff};

struct Kind {
    const std::uint8_t* signature;
    std::size_t length;
    Status (*decode)(const std::uint8_t* bytes, std::size_t length, Picture* picture);
    std::unique_ptr<RowDecoder> (*makeRowDecoder)(const FileBytes& file, unsigned factor);
};

// clang-format off
constexpr Kind kKinds[] = {
    // signature      length                 decode      makeRowDecoder
    {kSignaturePNG,   sizeof kSignaturePNG,  DecodePNG,  MakeRowDecoderPNG},
    {kSignatureJPEG,  sizeof kSignatureJPEG, DecodeJPEG, MakeRowDecoderJPEG},
};
// clang-format on

}  // namespace

bool IsAllowedSize(std::size_t width, std::size_t height) {
    return width != 0 && height != 0 && width <= kLargestPicture / kBytesPerPixel / height;
}

bool Allocate(std::size_t width, std::size_t height, Picture* picture) {
    if (width == 0 || height == 0) return false;
    picture->width = width;
    picture->height = height;
    if (!IsAllowedSize(width, height)) return false;
    picture->pixels = static_cast<std::uint8_t*>(std::malloc(width * height * kBytesPerPixel));
    return picture->pixels != nullptr;
}

void Free(Picture* picture) {
    std::free(picture->pixels);
    std::free(picture->profile);
    *picture = {};
}

std::unique_ptr<RowDecoder> MakeRowDecoder(const FileBytes& file, unsigned factor) {
    for (const Kind& kind : kKinds) {
        if (file.length < kind.length || !std::equal(kind.signature, kind.signature + kind.length, file.bytes))
            continue;
        return kind.makeRowDecoder(file, factor);
    }
    return nullptr;
}

Status Decode(const std::uint8_t* bytes, std::size_t length, Picture* picture) {
    for (const Kind& kind : kKinds) {
        if (!std::equal(bytes, bytes + std::min(length, kind.length), kind.signature)) continue;
        if (length < kind.length) return Status::kReadingHeader;
        const Status status = kind.decode(bytes, length, picture);
        if (status == Status::kComplete) {
            ApplyGrayProfile(picture);
        } else {
            const Picture refused = *picture;
            Free(picture);
            if (refused.pixels == nullptr) {
                picture->width = refused.width;
                picture->height = refused.height;
            }
        }
        return status;
    }
    return Status::kUnknownType;
}

}  // namespace image_io
