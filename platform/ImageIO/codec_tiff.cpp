// codec_tiff.cpp - TIFF files with libtiff: strips and tiles, 8 and 16 bits and floats. Only the first picture is read.
//
// Gray and RGB are read as they are. Everything else that libtiff can turn into colors - palettes, YCbCr, inks -
// becomes 8-bit RGBA.

#include <tiffio.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

#include "encode_tiff.h"
#include "formats.h"
#include "row_decoder.h"
#include "tiff_stream.h"
#include "tiff_tables.h"

namespace image_io {
namespace {

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
    // A damaged file may declare more of them than it has.
    if (count > 0 && layout.samples > layout.ColorSamples()) layout.alpha = extra[0];
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

// Copies the samples of a row of a part to its pixels.
template <typename Component>
void PlaceRow(const Layout& layout, const Part& part, const Component* sample, Component* to) {
    const std::size_t colors = layout.ColorSamples();
    const bool hasAlpha = layout.alpha != EXTRASAMPLE_UNSPECIFIED;
    if (part.samples == 3 && colors == 3) {  // most files, and several times as fast
        for (std::size_t x = 0; x < part.width; ++x, to += 4, sample += 3) {
            to[0] = sample[0];
            to[1] = sample[1];
            to[2] = sample[2];
            to[3] = kFull<Component>;
        }
        return;
    }
    const bool isInverted = layout.colors == PHOTOMETRIC_MINISWHITE;
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

// Copies the samples of a part to the picture.
template <typename Component>
void Place(const Layout& layout, const Part& part, const Component* from, Picture* picture) {
    for (std::size_t y = 0; y < part.height; ++y) {
        auto* to = reinterpret_cast<Component*>(picture->pixels) + 4 * ((part.y + y) * picture->width + part.x);
        PlaceRow(layout, part, from + y * part.rowSamples, to);
    }
}

// Makes the alpha of some pixels what it is in pictures: straight, and premultiplied with floats.
template <typename Component>
void FixAlpha(const Layout& layout, void* bytes, std::size_t count) {
    constexpr bool isFloat = std::is_floating_point_v<Component>;
    const bool isPremultiplied = layout.alpha == EXTRASAMPLE_ASSOCALPHA;
    if (layout.alpha == EXTRASAMPLE_UNSPECIFIED || isPremultiplied == isFloat) return;
    auto* const pixels = static_cast<Component*>(bytes);
    for (Component* pixel = pixels; pixel != pixels + 4 * count; pixel += 4) {
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
    if (partWidth == 0 || partHeight == 0 || size <= 0 || size > kMostTiffAtOnce ||
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
    FixAlpha<Component>(layout, picture->pixels, picture->width * picture->height);
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
    FixAlpha<std::uint8_t>(bytes, picture->pixels, picture->width * picture->height);
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
    TiffStream stream = {.bytes = bytes, .length = length};
    TIFF* tiff = OpenToRead(&stream);
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

// Decodes the rows of integers that are stored in strips.
class RowDecoderTIFF : public RowDecoder {
  public:
    explicit RowDecoderTIFF(const FileBytes& file) : file_(file), pages_(file) {}
    ~RowDecoderTIFF() override { Close(); }

    Status Begin(Picture* picture) override {
        Close();
        pages_.Restart();
        stream_ = {.bytes = file_.bytes, .length = file_.length};
        tiff_ = OpenToRead(&stream_);
        if (tiff_ == nullptr) return StatusOfFailure();
        layout_ = LayoutOf(tiff_);
        row_ = 0;
        const bool isGray = layout_.ColorSamples() == 1;
        if (picture != nullptr) {
            KeepProfile(tiff_, picture);
            picture->width = layout_.width;
            picture->height = layout_.height;
            picture->depth = layout_.bits;
            picture->isGray = isGray;
            const tmsize_t part = TIFFIsTiled(tiff_) != 0 ? TIFFTileSize(tiff_) : TIFFStripSize(tiff_);
            if (part > 0) picture->workingBytes = static_cast<std::size_t>(part);
        }
        // Gray levels with a profile are converted afterward.
        std::uint32_t length = 0;
        const void* profile = nullptr;
        const bool isConverted = isGray && TIFFGetField(tiff_, TIFFTAG_ICCPROFILE, &length, &profile) != 0;
        const bool isInOrder = TIFFIsTiled(tiff_) == 0 && layout_.planes == PLANARCONFIG_CONTIG;
        if (!layout_.IsPlain() || layout_.bits == 32 || !isInOrder || isConverted) return Status::kUnknownType;
        const tmsize_t rowBytes = TIFFScanlineSize(tiff_);
        const std::uint64_t needed = std::uint64_t{layout_.width} * layout_.samples * layout_.bits / 8;
        if (!IsAllowedSize(layout_.width, layout_.height) || rowBytes <= 0 ||
            static_cast<std::uint64_t>(rowBytes) < needed)
            return Status::kInvalidData;
        try {
            samples_.resize(static_cast<std::size_t>(rowBytes));
        } catch (const std::bad_alloc&) {
            return Status::kInvalidData;
        }
        return Status::kComplete;
    }

    Status Read(std::uint8_t* rows, std::size_t count) override {
        const std::size_t bytesPerRow = std::size_t{layout_.width} * layout_.bits / 2;
        for (; count > 0; --count, rows += bytesPerRow) {
            if (TIFFReadScanline(tiff_, samples_.data(), row_++, 0) < 0) return StatusOfFailure();
            layout_.bits == 8 ? Store<std::uint8_t>(rows) : Store<std::uint16_t>(rows);
        }
        pages_.DropBefore(stream_.at);
        return Status::kComplete;
    }

  private:
    template <typename Component>
    void Store(std::uint8_t* row) {
        const Part part = {0, row_, layout_.width, 1, 0, 0, layout_.samples};
        PlaceRow(layout_, part, reinterpret_cast<const Component*>(samples_.data()), reinterpret_cast<Component*>(row));
        FixAlpha<Component>(layout_, row, layout_.width);
    }

    void Close() {
        if (tiff_ != nullptr) TIFFClose(tiff_);
        tiff_ = nullptr;
    }

    Status StatusOfFailure() const { return stream_.hasEnded ? Status::kUnexpectedEnd : Status::kInvalidData; }

    FileBytes file_;
    ReadPages pages_;
    TiffStream stream_;
    TIFF* tiff_ = nullptr;
    Layout layout_;
    std::vector<std::uint8_t> samples_;  // of a row
    std::uint32_t row_ = 0;
};

std::unique_ptr<RowDecoder> MakeRowDecoderTIFF(const FileBytes& file, unsigned factor) {
    if (factor != 1) return nullptr;
    return std::unique_ptr<RowDecoder>(new (std::nothrow) RowDecoderTIFF(file));
}

}  // namespace
}  // namespace image_io

extern "C" {
extern const image_io::Codec kCodecTIFF;
const image_io::Codec kCodecTIFF = {image_io::DecodeFile,         image_io::EncodeTIFF,         nullptr,
                                    image_io::ReadMetadataOfTIFF, image_io::MakeRowDecoderTIFF, /*encodesRows=*/true};
}
