// codec_heif.cpp - HEIF and AVIF files with libheif. Which of them can be read and written depends on the codecs that
// libheif has on this machine.
//
// Pictures of more than 8 bits are read with 16; 8 bits are written. libheif applies the rotation of a file. Encoders
// run on one thread, so that the same picture gives the same file on every machine.

#include <libheif/heif.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "byte_order.h"
#include "formats.h"
#include "heif_references.h"

namespace image_io {
namespace {

template <typename Type, void (*kRelease)(Type*)>
struct Releaser {
    void operator()(Type* object) const { kRelease(object); }
};

void ReleaseHandle(heif_image_handle* handle) { heif_image_handle_release(handle); }
void ReleaseImage(heif_image* image) { heif_image_release(image); }

using Context = std::unique_ptr<heif_context, Releaser<heif_context, heif_context_free>>;
using Handle = std::unique_ptr<heif_image_handle, Releaser<heif_image_handle, ReleaseHandle>>;
using Image = std::unique_ptr<heif_image, Releaser<heif_image, ReleaseImage>>;
using Encoder = std::unique_ptr<heif_encoder, Releaser<heif_encoder, heif_encoder_release>>;

bool IsOK(const heif_error& error) { return error.code == heif_error_Ok; }

// Opens the main picture of a file. Returns the error.
heif_error Open(const std::uint8_t* bytes, std::size_t length, Context* context, Handle* handle) {
    context->reset(heif_context_alloc());
    heif_error error = heif_context_read_from_memory_without_copy(context->get(), bytes, length, nullptr);
    heif_image_handle* opened = nullptr;
    if (IsOK(error)) error = heif_context_get_primary_image_handle(context->get(), &opened);
    handle->reset(opened);
    return error;
}

Status StatusOf(const heif_error& error, Picture* picture) {
    if (error.code == heif_error_Unsupported_filetype || error.code == heif_error_Unsupported_feature) {
        std::snprintf(picture->reason, sizeof picture->reason, "libheif cannot read this picture here: %.100s",
                      error.message != nullptr ? error.message : "");
        return Status::kUnknownType;
    }
    return error.subcode == heif_suberror_End_of_data ? Status::kUnexpectedEnd : Status::kInvalidData;
}

void KeepProfile(const heif_image_handle* handle, Picture* picture) {
    const std::size_t length = heif_image_handle_get_raw_color_profile_size(handle);
    picture->profile = length != 0 ? std::malloc(length) : nullptr;
    if (picture->profile == nullptr || !IsOK(heif_image_handle_get_raw_color_profile(handle, picture->profile))) return;
    picture->profileLength = length;
}

// Copies rows of a decoded image. Numbers of more than 8 bits are scaled to 16.
void CopyRows(const heif_image* image, int bits, Picture* picture) {
    int stride = 0;
    const std::uint8_t* from = heif_image_get_plane_readonly(image, heif_channel_interleaved, &stride);
    const unsigned most = (1u << bits) - 1;
    for (std::size_t y = 0; y < picture->height; ++y, from += stride) {
        std::uint8_t* to = picture->pixels + y * picture->BytesPerRow();
        if (picture->depth == 8) {
            std::memcpy(to, from, picture->BytesPerRow());
            continue;
        }
        for (std::size_t i = 0; i < picture->BytesPerRow(); i += 2) {
            const unsigned number = std::min(from[i] | static_cast<unsigned>(from[i + 1]) << 8, most);
            const auto scaled = static_cast<std::uint16_t>((number * 65535u + most / 2) / most);
            std::memcpy(to + i, &scaled, sizeof scaled);
        }
    }
}

// The decoder of AVIF files where pointers have 32 bits, if libheif has it; null for libheif's choice.
//
// Why: the other decoder prints a line about its own limits there each time.
const char* QuietDecoder() {
    constexpr const char* kQuiet = "aom";
    const heif_decoder_descriptor* decoders[8];
    const int count = sizeof(void*) == 4 ? heif_get_decoder_descriptors(heif_compression_AV1, decoders, 8) : 0;
    const bool hasQuiet = std::any_of(decoders, decoders + count, [](const heif_decoder_descriptor* decoder) {
        return std::strcmp(heif_decoder_descriptor_get_id_name(decoder), kQuiet) == 0;
    });
    return hasQuiet ? kQuiet : nullptr;
}

// Reads the size and the depth of a picture. Returns how many bits a number has.
int ReadHeaderOf(const heif_image_handle* handle, Picture* picture) {
    const int bits = heif_image_handle_get_luma_bits_per_pixel(handle);
    picture->depth = bits > 8 ? 16 : 8;
    picture->width = static_cast<std::size_t>(heif_image_handle_get_width(handle));
    picture->height = static_cast<std::size_t>(heif_image_handle_get_height(handle));
    return bits;
}

void ReadSize(const std::uint8_t* bytes, std::size_t length, Picture* picture) {
    Context context;
    Handle handle;
    if (!IsOK(Open(bytes, length, &context, &handle))) return;
    ReadHeaderOf(handle.get(), picture);
    // What is decoded, at most a plane for each channel, and what that is converted to.
    picture->workingBytes = 2 * picture->height * picture->BytesPerRow();
}

Status DecodeFile(const std::uint8_t* bytes, std::size_t length, Picture* picture) {
    Context context;
    Handle handle;
    heif_error error = Open(bytes, length, &context, &handle);
    if (!IsOK(error)) return StatusOf(error, picture);
    heif_item_id id = 0;
    error = heif_context_get_primary_image_ID(context.get(), &id);
    if (!IsOK(error) || !CanBeDecoded(bytes, length, id)) return Status::kInvalidData;
    const int bits = ReadHeaderOf(handle.get(), picture);
    if (!Allocate(picture->width, picture->height, picture)) return Status::kInvalidData;
    KeepProfile(handle.get(), picture);
    heif_image* decoded = nullptr;
    heif_decoding_options* options = heif_decoding_options_alloc();
    options->decoder_id = QuietDecoder();
    error = heif_decode_image(handle.get(), &decoded, heif_colorspace_RGB,
                              bits > 8 ? heif_chroma_interleaved_RRGGBBAA_LE : heif_chroma_interleaved_RGBA, options);
    heif_decoding_options_free(options);
    const Image image(decoded);
    if (!IsOK(error)) return StatusOf(error, picture);
    const bool hasSize =
        static_cast<std::size_t>(heif_image_get_width(decoded, heif_channel_interleaved)) == picture->width &&
        static_cast<std::size_t>(heif_image_get_height(decoded, heif_channel_interleaved)) == picture->height;
    if (!hasSize) return Status::kInvalidData;
    CopyRows(decoded, heif_image_get_bits_per_pixel_range(decoded, heif_channel_interleaved), picture);
    return Status::kComplete;
}

// Appends what libheif writes to a vector.
heif_error Write(heif_context*, const void* data, std::size_t length, void* to) {
    static const heif_error done = {heif_error_Ok, heif_suberror_Unspecified, ""};
    static const heif_error failed = {heif_error_Memory_allocation_error, heif_suberror_Unspecified, ""};
    const auto* bytes = static_cast<const std::uint8_t*>(data);
    try {
        auto* file = static_cast<std::vector<std::uint8_t>*>(to);
        file->insert(file->end(), bytes, bytes + length);
    } catch (const std::bad_alloc&) {
        return failed;
    }
    return done;
}

void Configure(heif_encoder* encoder, heif_compression_format kind, const EncodeOptions& options) {
    const double quality = options.quality > 0 ? std::fmin(options.quality, 1.0) : 0;
    heif_encoder_set_lossy_quality(encoder, static_cast<int>(std::lround(quality * 100)));
    heif_encoder_set_lossless(encoder, options.isLossless ? 1 : 0);
    const char* chroma = options.isLossless || options.subsampling == Subsampling::k444 ? "444"
                         : options.subsampling == Subsampling::k422                     ? "422"
                                                                                        : "420";
    heif_encoder_set_parameter_string(encoder, "chroma", chroma);
    const auto compression = static_cast<std::size_t>(options.compression);
    if (kind == heif_compression_AV1) {
        constexpr int kSpeeds[] = {8, 6, 3};
        heif_encoder_set_parameter_integer(encoder, "speed", kSpeeds[compression]);
        heif_encoder_set_parameter_integer(encoder, "threads", 1);
    } else {
        constexpr const char* kPresets[] = {"veryfast", "medium", "slow"};
        heif_encoder_set_parameter_string(encoder, "preset", kPresets[compression]);
        heif_encoder_set_parameter_string(encoder, "x265:pools", "none");
        heif_encoder_set_parameter_string(encoder, "x265:frame-threads", "1");
    }
}

// The pixels as an image of libheif; null when memory is short.
Image ImageOf(const Pixels& pixels) {
    const bool hasAlpha = ChannelsOf(pixels).hasAlpha;
    heif_image* created = nullptr;
    const auto chroma = hasAlpha ? heif_chroma_interleaved_RGBA : heif_chroma_interleaved_RGB;
    const auto width = static_cast<int>(pixels.width), height = static_cast<int>(pixels.height);
    if (!IsOK(heif_image_create(width, height, heif_colorspace_RGB, chroma, &created))) return nullptr;
    Image image(created);
    if (!IsOK(heif_image_add_plane(created, heif_channel_interleaved, width, height, 8))) return nullptr;
    int stride = 0;
    std::uint8_t* rows = heif_image_get_plane(created, heif_channel_interleaved, &stride);
    for (std::size_t y = 0; y < pixels.height; ++y, rows += stride) PackRow(pixels, {true, hasAlpha}, y, rows);
    if (pixels.profileLength != 0) {
        heif_image_set_raw_color_profile(created, "prof", pixels.profile, pixels.profileLength);
    }
    return image;
}

int EncodePixels(heif_compression_format kind, const Pixels& pixels, const EncodeOptions& options, EncodedFile* file) {
    const Context context(heif_context_alloc());
    heif_encoder* found = nullptr;
    if (!IsOK(heif_context_get_encoder_for_format(context.get(), kind, &found))) return EINVAL;
    const Encoder encoder(found);
    Configure(encoder.get(), kind, options);
    const Image image = ImageOf(pixels);
    if (image == nullptr) return ENOMEM;
    heif_encoding_options* encoding = heif_encoding_options_alloc();
    heif_color_profile_nclx* colors = options.isLossless ? heif_nclx_color_profile_alloc() : nullptr;
    if (colors != nullptr) {
        // Without losses red, green and blue are stored, not what they are converted to.
        colors->matrix_coefficients = heif_matrix_coefficients_RGB_GBR;
        colors->full_range_flag = 1;
        encoding->output_nclx_profile = colors;
        encoding->save_two_colr_boxes_when_ICC_and_nclx_available = 1;
        encoding->macOS_compatibility_workaround_no_nclx_profile = 0;
        heif_image_set_nclx_color_profile(image.get(), colors);
    }
    heif_image_handle* encoded = nullptr;
    heif_error error = heif_context_encode_image(context.get(), image.get(), encoder.get(), encoding, &encoded);
    const Handle handle(encoded);
    if (colors != nullptr) heif_nclx_color_profile_free(colors);
    heif_encoding_options_free(encoding);
    if (IsOK(error) && options.exif.length != 0) {
        error = heif_context_add_exif_metadata(context.get(), encoded, options.exif.bytes,
                                               static_cast<int>(options.exif.length));
    }
    if (IsOK(error) && options.xmp.length != 0) {
        error = heif_context_add_XMP_metadata(context.get(), encoded, options.xmp.bytes,
                                              static_cast<int>(options.xmp.length));
    }
    std::vector<std::uint8_t> bytes;
    heif_writer writer = {1, Write};
    if (IsOK(error)) error = heif_context_write(context.get(), &writer, &bytes);
    if (!IsOK(error)) return error.code == heif_error_Memory_allocation_error ? ENOMEM : EIO;
    file->bytes = static_cast<unsigned char*>(std::malloc(bytes.size()));
    if (file->bytes == nullptr) return ENOMEM;
    std::memcpy(file->bytes, bytes.data(), bytes.size());
    file->length = bytes.size();
    return 0;
}

template <heif_compression_format kKind>
int EncodeFile(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file) {
    try {
        return EncodePixels(kKind, pixels, options, file);
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
}

const char* ObstacleToHEIF() {
    return heif_have_encoder_for_format(heif_compression_HEVC) != 0 ? nullptr : "libheif has no encoder for HEIF here";
}

const char* ObstacleToAVIF() {
    return heif_have_encoder_for_format(heif_compression_AV1) != 0 ? nullptr : "libheif has no encoder for AVIF here";
}

// Reads a block of the data about a picture.
Bytes BlockOf(const heif_image_handle* handle, const char* type, const char* contentType) {
    heif_item_id ids[8];
    const int count = heif_image_handle_get_list_of_metadata_block_IDs(handle, type, ids, 8);
    for (int i = 0; i < count; ++i) {
        if (contentType != nullptr &&
            std::strcmp(heif_image_handle_get_metadata_content_type(handle, ids[i]), contentType) != 0) {
            continue;
        }
        Bytes bytes(heif_image_handle_get_metadata_size(handle, ids[i]));
        if (!bytes.empty() && IsOK(heif_image_handle_get_metadata(handle, ids[i], bytes.data()))) return bytes;
    }
    return {};
}

void ReadMetadata(const std::uint8_t* bytes, std::size_t length, Metadata* metadata) {
    metadata->orientation = 1;
    Context context;
    Handle handle;
    if (!IsOK(Open(bytes, length, &context, &handle))) return;
    metadata->pictures = static_cast<std::size_t>(heif_context_get_number_of_top_level_images(context.get()));
    metadata->xmp = BlockOf(handle.get(), "mime", "application/rdf+xml");
    // The block begins with the distance to the TIFF header.
    const Bytes exif = BlockOf(handle.get(), "Exif", nullptr);
    if (exif.size() < 4) return;
    const std::size_t start = 4 + static_cast<std::size_t>(NumberAt(exif.data(), 4, /*isLittleEndian=*/false));
    if (start < exif.size()) metadata->exif.assign(exif.begin() + static_cast<std::ptrdiff_t>(start), exif.end());
}

// The formats differ only in how pixels are compressed.
template <heif_compression_format kFormat>
constexpr Codec MakeCodec(const char* (*obstacle)()) {
    return {
        .decode = DecodeFile,
        .encode = EncodeFile<kFormat>,
        .obstacleToEncoding = obstacle,
        .readMetadata = ReadMetadata,
        .readSize = ReadSize,
    };
}

}  // namespace
}  // namespace image_io

extern "C" {
extern const image_io::Codec kCodecHEIF;
extern const image_io::Codec kCodecAVIF;
const image_io::Codec kCodecHEIF = image_io::MakeCodec<heif_compression_HEVC>(image_io::ObstacleToHEIF);
const image_io::Codec kCodecAVIF = image_io::MakeCodec<heif_compression_AV1>(image_io::ObstacleToAVIF);
}
