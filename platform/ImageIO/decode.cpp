// decode.cpp - chooses the decoder by the first bytes of the file.

#include "decode.h"

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "formats.h"
#include "row_decoder.h"

namespace image_io {
namespace {

constexpr std::size_t kDefaultPixelLimit = std::size_t{1} << 28;

std::atomic<std::size_t> pixelLimit = kDefaultPixelLimit;

}  // namespace

std::size_t PixelLimit() { return pixelLimit; }

void SetPixelLimit(std::size_t pixels) { pixelLimit = pixels; }

bool IsAllowedSize(std::size_t width, std::size_t height) {
    return width != 0 && height != 0 && width <= PixelLimit() / height;
}

bool Allocate(std::size_t width, std::size_t height, Picture* picture) {
    if (width == 0 || height == 0) return false;
    picture->width = width;
    picture->height = height;
    if (!IsAllowedSize(width, height) || width > SIZE_MAX / 2 / picture->BytesPerPixel() / height) return false;
    picture->pixels = static_cast<std::uint8_t*>(std::malloc(picture->BytesPerRow() * height));
    return picture->pixels != nullptr;
}

void Free(Picture* picture) {
    std::free(picture->pixels);
    std::free(picture->profile);
    *picture = {};
}

std::unique_ptr<RowDecoder> MakeRowDecoder(const FileBytes& file, unsigned factor) {
    const Format* format = FormatOfContent(file.bytes, file.length);
    std::string reason;
    const Codec* codec = format != nullptr ? CodecOf(*format, &reason) : nullptr;
    return codec != nullptr && codec->makeRowDecoder != nullptr ? codec->makeRowDecoder(file, factor) : nullptr;
}

bool ReadHeader(const FileBytes& file, Picture* picture) {
    const std::unique_ptr<RowDecoder> decoder = MakeRowDecoder(file, 1);
    if (decoder != nullptr) return decoder->Begin(picture) == Status::kComplete;
    const Format* format = FormatOfContent(file.bytes, file.length);
    std::string reason;
    const Codec* codec = format != nullptr ? CodecOf(*format, &reason) : nullptr;
    if (codec != nullptr && codec->readSize != nullptr) codec->readSize(file.bytes, file.length, picture);
    return false;
}

Status Decode(const std::uint8_t* bytes, std::size_t length, Picture* picture) {
    const Format* format = FormatOfContent(bytes, length);
    if (format == nullptr) return Status::kUnknownType;
    if (!HasSignature(*format, bytes, length)) return Status::kReadingHeader;
    std::string reason;
    const Codec* codec = CodecOf(*format, &reason);
    std::snprintf(picture->reason, sizeof picture->reason, "%s", reason.c_str());
    if (codec == nullptr) return Status::kUnknownType;
    const Status status = codec->decode(bytes, length, picture);
    if (status == Status::kComplete) {
        ApplyGrayProfile(picture);
        return status;
    }
    Picture failed = *picture;
    Free(picture);
    std::memcpy(picture->reason, failed.reason, sizeof failed.reason);
    if (failed.pixels == nullptr) {
        picture->width = failed.width;
        picture->height = failed.height;
    }
    return status;
}

}  // namespace image_io
