// codec_tiff.cpp - TIFF files with libtiff: strips and tiles, 8 and 16 bits and floats. Only the first picture is read.
//
// Gray and RGB are read as they are. Everything else that libtiff can turn into colors - palettes, YCbCr, inks -
// becomes 8-bit RGBA. A file that is written has one picture in strips, which are compressed.

#include <tiffio.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <type_traits>
#include <vector>

#include "formats.h"
#include "metadata.h"

namespace image_io {
namespace {

// The most memory that a file can ask for at once. A few bytes can claim a tile that fits in no memory.
constexpr tmsize_t kMostAtOnce = 1 << 30;

// A file in memory. One that is read has bytes of its own nowhere: `bytes` borrows them.
struct Stream {
    const std::uint8_t* bytes = nullptr;
    std::size_t length = 0;
    std::size_t at = 0;
    bool hasEnded = false;  // whether more was to be read than there is
    std::vector<std::uint8_t> written;
    char fault[120] = "";
};

Stream& StreamOf(thandle_t handle) { return *static_cast<Stream*>(handle); }

tmsize_t Read(thandle_t handle, void* to, tmsize_t count) {
    Stream& stream = StreamOf(handle);
    const auto wanted = static_cast<std::size_t>(count);
    const std::size_t left = stream.at < stream.length ? stream.length - stream.at : 0;
    const std::size_t given = std::min(wanted, left);
    if (given < wanted) stream.hasEnded = true;
    if (given > 0) std::memcpy(to, stream.bytes + stream.at, given);
    stream.at += given;
    return static_cast<tmsize_t>(given);
}

// The library reads back what it wrote when it completes a directory.
tmsize_t ReadWritten(thandle_t handle, void* to, tmsize_t count) {
    Stream& stream = StreamOf(handle);
    stream.bytes = stream.written.data();
    stream.length = stream.written.size();
    return Read(handle, to, count);
}

tmsize_t Write(thandle_t handle, void* from, tmsize_t count) {
    Stream& stream = StreamOf(handle);
    const auto size = static_cast<std::size_t>(count);
    try {
        if (stream.at + size > stream.written.size()) stream.written.resize(stream.at + size);
    } catch (const std::bad_alloc&) {
        return 0;
    }
    std::memcpy(stream.written.data() + stream.at, from, size);
    stream.at += size;
    return count;
}

tmsize_t WriteNothing(thandle_t, void*, tmsize_t) { return 0; }

toff_t Seek(thandle_t handle, toff_t offset, int from) {
    Stream& stream = StreamOf(handle);
    const std::size_t end = stream.written.empty() ? stream.length : stream.written.size();
    const std::size_t start = from == SEEK_SET ? 0 : from == SEEK_CUR ? stream.at : end;
    stream.at = start + static_cast<std::size_t>(offset);
    return stream.at;
}

toff_t Size(thandle_t handle) {
    const Stream& stream = StreamOf(handle);
    return stream.written.empty() ? stream.length : stream.written.size();
}

int Close(thandle_t) { return 0; }

// Keeps the first error.
int NoteError(TIFF*, void* user, const char*, const char* format, va_list arguments) {
    Stream& stream = *static_cast<Stream*>(user);
    if (stream.fault[0] == '\0') std::vsnprintf(stream.fault, sizeof stream.fault, format, arguments);
    return 1;
}

int IgnoreWarning(TIFF*, void*, const char*, const char*, va_list) { return 1; }

TIFF* Open(Stream* stream, const char* mode, TIFFReadWriteProc read, TIFFReadWriteProc write) {
    TIFFOpenOptions* options = TIFFOpenOptionsAlloc();
    if (options == nullptr) return nullptr;
    TIFFOpenOptionsSetErrorHandlerExtR(options, NoteError, stream);
    TIFFOpenOptionsSetWarningHandlerExtR(options, IgnoreWarning, nullptr);
    TIFFOpenOptionsSetMaxSingleMemAlloc(options, kMostAtOnce);
    TIFF* tiff = TIFFClientOpenExt("", mode, stream, read, write, Seek, Close, Size, nullptr, nullptr, options);
    TIFFOpenOptionsFree(options);
    return tiff;
}

// What the header of a picture says.
struct Layout {
    std::uint32_t width = 0, height = 0;
    std::uint16_t bits = 1, samples = 1, kind = SAMPLEFORMAT_UINT, planes = PLANARCONFIG_CONTIG;
    std::uint16_t colors = PHOTOMETRIC_MINISBLACK;
    std::uint16_t alpha = EXTRASAMPLE_UNSPECIFIED;  // of the first sample behind the colors

    std::size_t ColorSamples() const { return colors == PHOTOMETRIC_RGB ? 3 : 1; }

    // Whether the numbers are used as they are.
    bool IsPlain() const {
        const bool isKnown =
            (kind == SAMPLEFORMAT_UINT && (bits == 8 || bits == 16)) || (kind == SAMPLEFORMAT_IEEEFP && bits == 32);
        return isKnown && samples >= ColorSamples() &&
               (colors == PHOTOMETRIC_RGB || colors == PHOTOMETRIC_MINISBLACK || colors == PHOTOMETRIC_MINISWHITE);
    }
};

Layout LayoutOf(TIFF* tiff) {
    Layout layout;
    TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &layout.width);
    TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &layout.height);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_BITSPERSAMPLE, &layout.bits);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLESPERPIXEL, &layout.samples);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_SAMPLEFORMAT, &layout.kind);
    TIFFGetFieldDefaulted(tiff, TIFFTAG_PLANARCONFIG, &layout.planes);
    TIFFGetField(tiff, TIFFTAG_PHOTOMETRIC, &layout.colors);
    std::uint16_t count = 0;
    const std::uint16_t* extra = nullptr;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_EXTRASAMPLES, &count, &extra);
    if (count > 0) layout.alpha = extra[0];
    return layout;
}

// A rectangle of decoded samples, and where it belongs.
struct Part {
    std::size_t x, y, width, height;
    std::size_t rowSamples;   // from one row to the next
    std::size_t firstSample;  // of the pixel; there are several in a part unless each sample has a plane of its own
    std::size_t samples;
};

template <typename Component>
constexpr Component kFull = std::is_floating_point_v<Component> ? Component{1} : std::numeric_limits<Component>::max();

// Copies the samples of a part to the pixels.
template <typename Component>
void Place(const Layout& layout, const Part& part, const Component* from, Picture* picture) {
    const std::size_t colors = layout.ColorSamples();
    const bool hasAlpha = layout.alpha != EXTRASAMPLE_UNSPECIFIED;
    const bool isInverted = layout.colors == PHOTOMETRIC_MINISWHITE;
    for (std::size_t y = 0; y < part.height; ++y) {
        auto* to = reinterpret_cast<Component*>(picture->pixels) + 4 * ((part.y + y) * picture->width + part.x);
        const Component* sample = from + y * part.rowSamples;
        for (std::size_t x = 0; x < part.width; ++x, to += 4, sample += part.samples) {
            for (std::size_t i = 0; i < part.samples; ++i) {
                const std::size_t index = part.firstSample + i;
                const auto value =
                    static_cast<Component>(isInverted && index == 0 ? kFull<Component> - sample[i] : sample[i]);
                if (index < colors && colors == 1) to[0] = to[1] = to[2] = value;
                if (index < colors && colors == 3) to[index] = value;
                if (index == colors && hasAlpha) to[3] = value;
            }
            if (!hasAlpha) to[3] = kFull<Component>;
        }
    }
}

// Makes the alpha of a picture what it is in pictures: straight, and premultiplied with floats.
template <typename Component>
void FixAlpha(const Layout& layout, Picture* picture) {
    constexpr bool isFloat = std::is_floating_point_v<Component>;
    const bool isPremultiplied = layout.alpha == EXTRASAMPLE_ASSOCALPHA;
    if (layout.alpha == EXTRASAMPLE_UNSPECIFIED || isPremultiplied == isFloat) return;
    auto* const pixels = reinterpret_cast<Component*>(picture->pixels);
    for (Component* pixel = pixels; pixel != pixels + 4 * picture->width * picture->height; pixel += 4) {
        for (int i = 0; i < 3; ++i) {
            if constexpr (isFloat) {
                pixel[i] *= pixel[3];
            } else if (pixel[3] != 0) {
                const std::uint64_t straight = (pixel[i] * std::uint64_t{kFull<Component>} + pixel[3] / 2) / pixel[3];
                pixel[i] = static_cast<Component>(std::min<std::uint64_t>(straight, kFull<Component>));
            }
        }
    }
}

// Reads the strips or tiles of all planes. Returns false for damage.
template <typename Component>
bool ReadPlain(TIFF* tiff, const Layout& layout, Picture* picture) {
    const bool isTiled = TIFFIsTiled(tiff) != 0;
    std::uint32_t partWidth = layout.width, partHeight = layout.height;
    if (isTiled) {
        TIFFGetField(tiff, TIFFTAG_TILEWIDTH, &partWidth);
        TIFFGetField(tiff, TIFFTAG_TILELENGTH, &partHeight);
    } else {
        TIFFGetFieldDefaulted(tiff, TIFFTAG_ROWSPERSTRIP, &partHeight);
        partHeight = std::min(partHeight, layout.height);
    }
    const std::size_t planes = layout.planes == PLANARCONFIG_SEPARATE ? layout.samples : 1;
    const std::size_t samples = planes > 1 ? 1 : layout.samples;
    const tmsize_t size = isTiled ? TIFFTileSize(tiff) : TIFFStripSize(tiff);
    const std::uint64_t needed = std::uint64_t{partWidth} * partHeight * samples * sizeof(Component);
    if (partWidth == 0 || partHeight == 0 || size <= 0 || size > kMostAtOnce ||
        static_cast<std::uint64_t>(size) < needed)
        return false;
    std::vector<std::uint8_t> part(static_cast<std::size_t>(size));
    for (std::size_t plane = 0; plane < planes; ++plane) {
        for (std::uint64_t y = 0; y < layout.height; y += partHeight) {
            for (std::uint64_t x = 0; x < layout.width; x += partWidth) {
                const auto sample = static_cast<std::uint16_t>(plane);
                const auto column = static_cast<std::uint32_t>(x), row = static_cast<std::uint32_t>(y);
                const tmsize_t count =
                    isTiled ? TIFFReadTile(tiff, part.data(), column, row, 0, sample)
                            : TIFFReadEncodedStrip(tiff, TIFFComputeStrip(tiff, row, sample), part.data(), size);
                if (count < 0) return false;
                Place(layout,
                      {column, row, std::min(partWidth, layout.width - column),
                       std::min(partHeight, layout.height - row), partWidth * samples, plane, samples},
                      reinterpret_cast<const Component*>(part.data()), picture);
            }
        }
    }
    FixAlpha<Component>(layout, picture);
    return true;
}

// Reads any picture that the library can turn into colors.
bool ReadColors(TIFF* tiff, const Layout& layout, Picture* picture) {
    char fault[1024] = "";
    if (TIFFRGBAImageOK(tiff, fault) == 0) {
        std::snprintf(picture->reason, sizeof picture->reason, "this kind of TIFF cannot be read: %.100s", fault);
        return false;
    }
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
    auto* pixels = reinterpret_cast<std::uint32_t*>(picture->pixels);
    // In the file's own orientation, so that rows are not reordered here.
    if (TIFFReadRGBAImageOriented(tiff, layout.width, layout.height, pixels, orientation, /*stop=*/1) == 0)
        return false;
    Layout bytes = layout;
    bytes.alpha = layout.alpha != EXTRASAMPLE_UNSPECIFIED ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNSPECIFIED;
    FixAlpha<std::uint8_t>(bytes, picture);
    return true;
}

void KeepProfile(TIFF* tiff, Picture* picture) {
    std::uint32_t length = 0;
    const void* profile = nullptr;
    if (TIFFGetField(tiff, TIFFTAG_ICCPROFILE, &length, &profile) == 0 || length == 0) return;
    picture->profile = std::malloc(length);
    if (picture->profile == nullptr) return;
    std::memcpy(picture->profile, profile, length);
    picture->profileLength = length;
}

bool ReadFirst(TIFF* tiff, Picture* picture) {
    const Layout layout = LayoutOf(tiff);
    const bool isPlain = layout.IsPlain();
    picture->depth = isPlain ? layout.bits : 8;
    picture->isGray = layout.colors == PHOTOMETRIC_MINISBLACK || layout.colors == PHOTOMETRIC_MINISWHITE;
    if (!Allocate(layout.width, layout.height, picture)) return false;
    KeepProfile(tiff, picture);
    if (!isPlain) return ReadColors(tiff, layout, picture);
    if (layout.bits == 8) return ReadPlain<std::uint8_t>(tiff, layout, picture);
    if (layout.bits == 16) return ReadPlain<std::uint16_t>(tiff, layout, picture);
    return ReadPlain<float>(tiff, layout, picture);
}

Status DecodeFile(const std::uint8_t* bytes, std::size_t length, Picture* picture) {
    Stream stream = {bytes, length, 0, false, {}, ""};
    TIFF* tiff = Open(&stream, "rm", Read, WriteNothing);
    bool isRead = false;
    if (tiff != nullptr) {
        try {
            isRead = ReadFirst(tiff, picture);
        } catch (const std::bad_alloc&) {
            std::snprintf(picture->reason, sizeof picture->reason, "a part of the picture does not fit into memory");
        }
        TIFFClose(tiff);
    }
    if (isRead) return Status::kComplete;
    return stream.hasEnded ? Status::kUnexpectedEnd : Status::kInvalidData;
}

// The settings of one step of compression.
struct Method {
    std::uint16_t scheme;
    int level;  // of deflate
};

constexpr Method kMethods[] = {{COMPRESSION_LZW, 0}, {COMPRESSION_ADOBE_DEFLATE, 6}, {COMPRESSION_ADOBE_DEFLATE, 9}};

void SetFields(TIFF* tiff, const Pixels& pixels, const EncodeOptions& options, Channels channels) {
    const Method method = kMethods[static_cast<int>(options.compression)];
    const bool isFloat = pixels.depth == 32;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(pixels.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(pixels.height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<int>(pixels.depth));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(channels.Count()));
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, isFloat ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, channels.hasColor ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, static_cast<int>(method.scheme));
    TIFFSetField(tiff, TIFFTAG_PREDICTOR, isFloat ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
    if (method.level != 0) TIFFSetField(tiff, TIFFTAG_ZIPQUALITY, method.level);
    if (channels.hasAlpha) {
        const std::uint16_t alpha = isFloat ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    }
    constexpr std::size_t kStripBytes = 1 << 18;
    const std::size_t rowBytes = pixels.width * channels.Count() * pixels.depth / 8;
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP,
                 static_cast<std::uint32_t>(std::max<std::size_t>(1, kStripBytes / rowBytes)));
    const auto set = [&](std::uint32_t tag, const void* bytes, std::size_t length) {
        if (length != 0) TIFFSetField(tiff, tag, static_cast<std::uint32_t>(length), bytes);
    };
    set(TIFFTAG_ICCPROFILE, pixels.profile, pixels.profileLength);
    set(TIFFTAG_XMLPACKET, options.xmp.bytes, options.xmp.length);
    set(TIFFTAG_RICHTIFFIPTC, options.iptc.bytes, options.iptc.length);
}

bool WriteRows(TIFF* tiff, const Pixels& pixels, Channels channels) {
    std::vector<std::uint8_t> row(pixels.width * channels.Count() * pixels.depth / 8);
    for (std::size_t y = 0; y < pixels.height; ++y) {
        PackRow(pixels, channels, y, row.data());
        if (TIFFWriteScanline(tiff, row.data(), static_cast<std::uint32_t>(y), 0) < 0) return false;
    }
    return TIFFWriteDirectory(tiff) != 0;
}

int EncodeFile(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file) {
    Stream stream;
    bool complete = false;
    try {
        const Channels channels = ChannelsOf(pixels);
        // Classic files end at 4 GB.
        constexpr std::uint64_t kLongestClassic = 3u << 30;
        const std::uint64_t size = std::uint64_t{pixels.width} * pixels.height * channels.Count() * pixels.depth / 8;
        TIFF* tiff = Open(&stream, size > kLongestClassic ? "w8" : "w", ReadWritten, Write);
        if (tiff == nullptr) return ENOMEM;
        SetFields(tiff, pixels, options, channels);
        complete = WriteRows(tiff, pixels, channels);
        TIFFClose(tiff);
    } catch (const std::bad_alloc&) {
        return ENOMEM;
    }
    file->bytes = complete ? static_cast<unsigned char*>(std::malloc(stream.written.size())) : nullptr;
    if (file->bytes == nullptr) return ENOMEM;
    std::memcpy(file->bytes, stream.written.data(), stream.written.size());
    file->length = stream.written.size();
    return 0;
}

// Copies a field of bytes.
void Keep(TIFF* tiff, std::uint32_t tag, Bytes* to) {
    std::uint32_t length = 0;
    const std::uint8_t* bytes = nullptr;
    if (TIFFGetField(tiff, tag, &length, &bytes) != 0 && bytes != nullptr) to->assign(bytes, bytes + length);
}

// The file itself is an Exif block: it begins with the same header and table.
void ReadMetadata(const std::uint8_t* bytes, std::size_t length, Metadata* metadata) {
    Stream stream = {bytes, length, 0, false, {}, ""};
    TIFF* tiff = Open(&stream, "rm", Read, WriteNothing);
    if (tiff == nullptr) return;
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    TIFFGetFieldDefaulted(tiff, TIFFTAG_ORIENTATION, &orientation);
    metadata->orientation = orientation;
    Keep(tiff, TIFFTAG_XMLPACKET, &metadata->xmp);
    Keep(tiff, TIFFTAG_RICHTIFFIPTC, &metadata->iptc);
    TIFFClose(tiff);
}

}  // namespace
}  // namespace image_io

extern "C" {
extern const image_io::Codec kCodecTIFF;
const image_io::Codec kCodecTIFF = {image_io::DecodeFile, image_io::EncodeFile, nullptr, image_io::ReadMetadata};
}
