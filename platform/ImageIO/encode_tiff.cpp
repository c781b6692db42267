// encode_tiff.cpp - encodes TIFF files: one picture of 8 or 16 bits or floats, in strips.
//
// By default the strips are not compressed, as with most programs: that takes a third of the time. Otherwise they are
// compressed by deflate on all cores. Their borders depend on the picture's size only, so the bytes of the file do not
// depend on the number of cores. libdeflate compresses, several times faster than libtiff would, and libtiff writes the
// file. The file is in memory until it is complete, because its directory is written last.

#include "encode_tiff.h"

#include <libdeflate.h>
#include <tbb/parallel_for.h>
#include <tiffio.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#include "tiff_stream.h"
#include "tiff_tables.h"

namespace image_io {
namespace {

// The level of deflate for each compression; 0 for none.
constexpr int kLevels[] = {0, 1, 9};

// The uncompressed bytes of a strip, about.
constexpr std::size_t kStripBytes = 1 << 18;

// A picture, or those rows of it that are in memory, and how it is stored.
struct Work {
    const Pixels& pixels;
    Channels channels;
    int level;

    std::size_t RowSamples() const { return pixels.width * channels.Count(); }
    std::size_t RowBytes() const { return RowSamples() * pixels.depth / 8; }
    std::size_t RowsOfStrip() const { return std::max<std::size_t>(1, kStripBytes / RowBytes()); }
};

using CompressorMemory = std::unique_ptr<libdeflate_compressor, void (*)(libdeflate_compressor*)>;
using Strip = std::vector<std::uint8_t>;

// Replaces the samples of a row by their differences to those of the pixel on the left.
template <typename Component>
void Differences(void* row, std::size_t count, std::size_t channels) {
    auto* const samples = static_cast<Component*>(row);
    for (std::size_t i = count; i-- > channels;) {
        samples[i] = static_cast<Component>(samples[i] - samples[i - channels]);
    }
}

// The predictor of floats: first all most significant bytes of the row, last all least significant ones; then the
// differences of bytes.
void DifferencesOfFloats(std::uint8_t* row, std::size_t count, std::size_t channels, std::uint8_t* spare) {
    std::copy(row, row + 4 * count, spare);
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t byte = 0; byte < 4; ++byte) row[(3 - byte) * count + i] = spare[4 * i + byte];
    }
    Differences<std::uint8_t>(row, 4 * count, channels);
}

// Packs the rows from begin to end, and compresses them if requested. Throws std::bad_alloc.
Strip MakeStrip(const Work& work, std::size_t begin, std::size_t end) {
    const std::size_t count = work.RowSamples(), rowBytes = work.RowBytes(), channels = work.channels.Count();
    Strip rows(rowBytes * (end - begin)), spare(work.pixels.depth == 32 ? rowBytes : 0);
    for (std::size_t y = begin; y < end; ++y) {
        std::uint8_t* const row = rows.data() + (y - begin) * rowBytes;
        PackRow(work.pixels, work.channels, y, row);
        if (work.level == 0) continue;
        if (work.pixels.depth == 8) Differences<std::uint8_t>(row, count, channels);
        if (work.pixels.depth == 16) Differences<std::uint16_t>(row, count, channels);
        if (work.pixels.depth == 32) DifferencesOfFloats(row, count, channels, spare.data());
    }
    if (work.level == 0) return rows;
    const CompressorMemory compressor(libdeflate_alloc_compressor(work.level), libdeflate_free_compressor);
    if (compressor == nullptr) throw std::bad_alloc();
    Strip strip(libdeflate_zlib_compress_bound(compressor.get(), rows.size()));
    strip.resize(libdeflate_zlib_compress(compressor.get(), rows.data(), rows.size(), strip.data(), strip.size()));
    return strip;
}

void SetFields(TIFF* tiff, const Work& work, const EncodeOptions& options) {
    const Pixels& pixels = work.pixels;
    const bool isFloat = pixels.depth == 32;
    TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(pixels.width));
    TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(pixels.height));
    TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, static_cast<int>(pixels.depth));
    TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, static_cast<int>(work.channels.Count()));
    TIFFSetField(tiff, TIFFTAG_SAMPLEFORMAT, isFloat ? SAMPLEFORMAT_IEEEFP : SAMPLEFORMAT_UINT);
    TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, work.channels.hasColor ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK);
    TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tiff, TIFFTAG_COMPRESSION, work.level == 0 ? COMPRESSION_NONE : COMPRESSION_ADOBE_DEFLATE);
    if (work.level != 0) {
        TIFFSetField(tiff, TIFFTAG_PREDICTOR, isFloat ? PREDICTOR_FLOATINGPOINT : PREDICTOR_HORIZONTAL);
    }
    TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(work.RowsOfStrip()));
    if (work.channels.hasAlpha) {
        const std::uint16_t alpha = isFloat ? EXTRASAMPLE_ASSOCALPHA : EXTRASAMPLE_UNASSALPHA;
        TIFFSetField(tiff, TIFFTAG_EXTRASAMPLES, 1, &alpha);
    }
    const auto set = [&](std::uint32_t tag, const void* bytes, std::size_t length) {
        if (length != 0) TIFFSetField(tiff, tag, static_cast<std::uint32_t>(length), bytes);
    };
    set(TIFFTAG_ICCPROFILE, pixels.profile, pixels.profileLength);
    set(TIFFTAG_XMLPACKET, options.xmp.bytes, options.xmp.length);
    set(TIFFTAG_RICHTIFFIPTC, options.iptc.bytes, options.iptc.length);
}

// Makes the strips of the rows that were read last, and writes them. Returns the error number, 0 for none.
int WriteStrips(TIFF* tiff, const Work& work, const PixelRows& rows) {
    const std::size_t rowsOfStrip = work.RowsOfStrip();
    std::vector<Strip> strips((rows.End() - rows.Begin() + rowsOfStrip - 1) / rowsOfStrip);
    tbb::parallel_for(std::size_t{0}, strips.size(), [&](std::size_t i) {
        const std::size_t begin = rows.Begin() + i * rowsOfStrip;
        strips[i] = MakeStrip(work, begin, std::min(begin + rowsOfStrip, rows.End()));
    });
    auto number = static_cast<std::uint32_t>(rows.Begin() / rowsOfStrip);
    for (Strip& strip : strips) {
        if (TIFFWriteRawStrip(tiff, number++, strip.data(), static_cast<tmsize_t>(strip.size())) < 0) return ENOMEM;
    }
    return 0;
}

// Writes the picture as EncodeByRows requests. Throws std::bad_alloc.
int WriteInChannels(TIFF* tiff, const Pixels& pixels, const EncodeOptions& options, Channels* channels,
                    bool* isComplete) {
    const int level = kLevels[static_cast<int>(options.compression)];
    PixelRows rows(pixels);
    while (rows.End() < pixels.height) {
        const Channels used = *channels;
        if (const int error = rows.ReadNext(channels); error != 0) return error;
        if (rows.Begin() != 0 && *channels != used) return 0;
        const Work work = {rows.Current(), *channels, level};
        if (rows.Begin() == 0) SetFields(tiff, work, options);
        rows.Shorten(work.RowsOfStrip());
        if (const int error = WriteStrips(tiff, work, rows); error != 0) return error;
    }
    *isComplete = true;
    return TIFFWriteDirectory(tiff) != 0 ? 0 : ENOMEM;
}

// Begins a file, and writes the picture.
int WriteFileInChannels(const Pixels& pixels, const EncodeOptions& options, Channels* channels, EncodedFile* file,
                        bool* isComplete) {
    // Files with addresses of 32 bits end at 4 GB.
    constexpr std::uint64_t kLongest = 3u << 30;
    TiffStream stream;
    TIFF* tiff = OpenToWrite(&stream, std::uint64_t{pixels.bytesPerRow} * pixels.height > kLongest);
    int error = ENOMEM;
    if (tiff != nullptr) {
        try {
            error = WriteInChannels(tiff, pixels, options, channels, isComplete);
        } catch (const std::bad_alloc&) {
        }
        TIFFClose(tiff);
    }
    if (error == 0 && *isComplete && !AddExif(options.exif, &stream)) error = ENOMEM;
    if (error == 0 && *isComplete && file->sink != nullptr) error = file->sink->Write(stream.written, stream.length);
    if (error == 0 && *isComplete && file->sink == nullptr) {
        file->bytes = std::exchange(stream.written, nullptr);
        file->length = stream.length;
    }
    std::free(stream.written);
    return error;
}

}  // namespace

int EncodeTIFF(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file) {
    if (pixels.width > UINT32_MAX || pixels.height > UINT32_MAX) return EFBIG;
    return EncodeByRows(pixels, file, [&](Channels* channels, bool* isComplete) {
        return WriteFileInChannels(pixels, options, channels, file, isComplete);
    });
}

}  // namespace image_io
