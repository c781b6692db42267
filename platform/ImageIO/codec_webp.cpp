// codec_webp.cpp - WebP files with libwebp: lossy and lossless, with alpha. Of an animation the first picture is read.

#include <webp/decode.h>
#include <webp/demux.h>
#include <webp/encode.h>
#include <webp/mux.h>

#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "formats.h"

namespace image_io {
namespace {

Status StatusOf(VP8StatusCode code) {
    switch (code) {
        case VP8_STATUS_OK:
            return Status::kComplete;
        case VP8_STATUS_NOT_ENOUGH_DATA:
        case VP8_STATUS_SUSPENDED:
            return Status::kUnexpectedEnd;
        default:
            return Status::kInvalidData;
    }
}

// Copies the profile of a file, if any.
void KeepProfile(const WebPData& file, Picture* picture) {
    WebPMux* mux = WebPMuxCreate(&file, /*copy_data=*/0);
    WebPData profile = {};
    if (mux != nullptr && WebPMuxGetChunk(mux, "ICCP", &profile) == WEBP_MUX_OK) {
        picture->profile = std::malloc(profile.size);
        if (picture->profile != nullptr) {
            std::memcpy(picture->profile, profile.bytes, profile.size);
            picture->profileLength = profile.size;
        }
    }
    WebPMuxDelete(mux);
}

void ReadSize(const std::uint8_t* bytes, std::size_t length, Picture* picture) {
    WebPBitstreamFeatures features;
    if (WebPGetFeatures(bytes, length, &features) != VP8_STATUS_OK) return;
    picture->width = static_cast<std::size_t>(features.width);
    picture->height = static_cast<std::size_t>(features.height);
    // Two pictures for an animation, and a copy of one without losses.
    constexpr int kLossless = 2;
    const std::size_t copies = features.has_animation != 0 ? 2 : features.format == kLossless ? 1 : 0;
    picture->workingBytes = copies * picture->height * picture->BytesPerRow();
}

// Reads the first picture of an animation.
Status DecodeFirst(const WebPData& file, Picture* picture) {
    WebPAnimDecoder* decoder = WebPAnimDecoderNew(&file, nullptr);
    std::uint8_t* pixels = nullptr;
    int time = 0;
    const bool isRead = decoder != nullptr && WebPAnimDecoderGetNext(decoder, &pixels, &time) != 0;
    if (isRead) std::memcpy(picture->pixels, pixels, picture->height * picture->BytesPerRow());
    WebPAnimDecoderDelete(decoder);
    return isRead ? Status::kComplete : Status::kInvalidData;
}

Status DecodeFile(const std::uint8_t* bytes, std::size_t length, Picture* picture) {
    WebPBitstreamFeatures features;
    const VP8StatusCode code = WebPGetFeatures(bytes, length, &features);
    if (code != VP8_STATUS_OK) return StatusOf(code);
    const auto width = static_cast<std::size_t>(features.width), height = static_cast<std::size_t>(features.height);
    if (!Allocate(width, height, picture)) return Status::kInvalidData;
    const WebPData file = {bytes, length};
    KeepProfile(file, picture);
    if (features.has_animation != 0) return DecodeFirst(file, picture);
    WebPDecoderConfig config;
    WebPInitDecoderConfig(&config);
    config.output.colorspace = MODE_RGBA;
    config.output.is_external_memory = 1;
    config.output.u.RGBA.rgba = picture->pixels;
    config.output.u.RGBA.stride = static_cast<int>(picture->BytesPerRow());
    config.output.u.RGBA.size = height * picture->BytesPerRow();
    return StatusOf(WebPDecode(bytes, length, &config));
}

// The encoder's settings.
WebPConfig ConfigOf(const EncodeOptions& options) {
    WebPConfig config;
    WebPConfigInit(&config);
    config.quality = static_cast<float>(100 * (options.quality > 0 ? std::fmin(options.quality, 1.0) : 0));
    constexpr int kEfforts[] = {2, 4, 6}, kLosslessEfforts[] = {1, 4, 8};
    config.method = kEfforts[static_cast<int>(options.compression)];
    if (options.isLossless) {
        WebPConfigLosslessPreset(&config, kLosslessEfforts[static_cast<int>(options.compression)]);
        config.exact = 1;  // keeps the colors of transparent pixels
    }
    return config;
}

struct PictureDeleter {
    void operator()(WebPPicture* picture) const {
        WebPPictureFree(picture);
        delete picture;
    }
};

// Adds a chunk unless it is empty. Returns whether that succeeded.
bool Add(WebPMux* mux, const char* name, const void* bytes, std::size_t length) {
    if (length == 0) return true;
    const WebPData data = {static_cast<const std::uint8_t*>(bytes), length};
    return WebPMuxSetChunk(mux, name, &data, /*copy_data=*/0) == WEBP_MUX_OK;
}

// Puts the encoded picture and the data about it into a file.
int Assemble(const WebPMemoryWriter& encoded, const Pixels& pixels, const EncodeOptions& options, EncodedFile* file) {
    WebPMux* mux = WebPMuxNew();
    const WebPData image = {encoded.mem, encoded.size};
    WebPData assembled = {};
    const bool complete = mux != nullptr && WebPMuxSetImage(mux, &image, /*copy_data=*/0) == WEBP_MUX_OK &&
                          Add(mux, "ICCP", pixels.profile, pixels.profileLength) &&
                          Add(mux, "EXIF", options.exif.bytes, options.exif.length) &&
                          Add(mux, "XMP ", options.xmp.bytes, options.xmp.length) &&
                          WebPMuxAssemble(mux, &assembled) == WEBP_MUX_OK;
    WebPMuxDelete(mux);
    file->bytes = complete ? static_cast<unsigned char*>(std::malloc(assembled.size)) : nullptr;
    if (file->bytes != nullptr) {
        std::memcpy(file->bytes, assembled.bytes, assembled.size);
        file->length = assembled.size;
    }
    WebPDataClear(&assembled);
    return file->bytes != nullptr ? 0 : ENOMEM;
}

// The system's error number for one of the encoder.
int ErrorOf(WebPEncodingError error) {
    switch (error) {
        case VP8_ENC_ERROR_OUT_OF_MEMORY:
        case VP8_ENC_ERROR_BITSTREAM_OUT_OF_MEMORY:
            return ENOMEM;
        case VP8_ENC_ERROR_BAD_DIMENSION:
        case VP8_ENC_ERROR_PARTITION0_OVERFLOW:
        case VP8_ENC_ERROR_PARTITION_OVERFLOW:
        case VP8_ENC_ERROR_FILE_TOO_BIG:
            return EFBIG;
        default:
            return EIO;
    }
}

int EncodePixels(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file) {
    constexpr Channels kAll = {true, true};
    std::vector<std::uint8_t> rows(pixels.width * pixels.height * 4);
    for (std::size_t y = 0; y < pixels.height; ++y) PackRow(pixels, kAll, y, rows.data() + y * pixels.width * 4);
    const WebPConfig config = ConfigOf(options);
    std::unique_ptr<WebPPicture, PictureDeleter> picture(new WebPPicture);
    WebPPictureInit(picture.get());
    picture->use_argb = options.isLossless ? 1 : 0;
    picture->width = static_cast<int>(pixels.width);
    picture->height = static_cast<int>(pixels.height);
    WebPMemoryWriter encoded;
    WebPMemoryWriterInit(&encoded);
    picture->writer = WebPMemoryWrite;
    picture->custom_ptr = &encoded;
    const auto import = ChannelsOf(pixels).hasAlpha ? WebPPictureImportRGBA : WebPPictureImportRGBX;
    const bool complete =
        import(picture.get(), rows.data(), 4 * picture->width) != 0 && WebPEncode(&config, picture.get()) != 0;
    const int error = complete ? Assemble(encoded, pixels, options, file) : ErrorOf(picture->error_code);
    WebPMemoryWriterClear(&encoded);
    return error;
}

int EncodeFile(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file) {
    if (pixels.width > WEBP_MAX_DIMENSION || pixels.height > WEBP_MAX_DIMENSION) return EFBIG;
    try {
        return EncodePixels(pixels, options, file);
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

}  // namespace
}  // namespace image_io

extern "C" {
extern const image_io::Codec kCodecWebP;
const image_io::Codec kCodecWebP = {
    .decode = image_io::DecodeFile,
    .encode = image_io::EncodeFile,
    .readMetadata = image_io::ReadMetadataOfWebP,
    .readSize = image_io::ReadSize,
};
}
