// encode_png.cpp - encodes PNG files: 8 bits per channel, straight alpha, marked as sRGB or with an embedded profile.
//
// A picture without transparency is stored without alpha, and one without colors as gray. The rows are compressed in
// strips, on all cores; together the strips are one stream. Their borders depend on the picture's size only, so the
// bytes of the file do not depend on the number of cores. libpng writes the chunks.
//
// Each row is filtered by Paeth's predictor and compressed by run lengths and Huffman codes. For photos this takes a
// fifth of the time of libpng's defaults, and the files are about a tenth larger.

#include <png.h>
#include <tbb/parallel_for.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <vector>

#include "encode.h"

namespace image_io {
namespace {

constexpr std::size_t kInitialCapacity = 1 << 16;

// Uncompressed bytes per strip, about. Smaller strips would be compressed less well, larger ones leave cores idle.
constexpr std::size_t kStripBytes = 1 << 18;

// The growing file and its capacity, or the error of its sink.
struct Writer {
    EncodedFile* file;
    std::size_t capacity;
    int error;
};

void Write(png_structp png, png_bytep from, png_size_t count) {
    auto* writer = static_cast<Writer*>(png_get_io_ptr(png));
    EncodedFile& file = *writer->file;
    if (file.sink != nullptr) {
        writer->error = file.sink->Write(from, count);
        if (writer->error != 0) png_error(png, "");
        return;
    }
    if (count > writer->capacity - file.length) {
        std::size_t capacity = writer->capacity == 0 ? kInitialCapacity : writer->capacity;
        while (count > capacity - file.length) capacity *= 2;
        void* grown = std::realloc(file.bytes, capacity);
        if (grown == nullptr) png_error(png, "");
        file.bytes = static_cast<unsigned char*>(grown);
        writer->capacity = capacity;
    }
    std::memcpy(file.bytes + file.length, from, count);
    file.length += count;
}

void Flush(png_structp) {}

[[noreturn]] void Fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }

void Ignore(png_structp, png_const_charp) {}

// The channels that are stored.
struct Layout {
    bool hasColor;
    bool hasAlpha;

    bool operator==(const Layout&) const = default;

    [[nodiscard]] std::size_t Channels() const { return (hasColor ? 3 : 1) + (hasAlpha ? 1 : 0); }
    [[nodiscard]] int ColorType() const {
        return (hasColor ? PNG_COLOR_MASK_COLOR : 0) | (hasAlpha ? PNG_COLOR_MASK_ALPHA : 0);
    }
};

// The fewest channels that hold rows of the picture and what a layout holds.
Layout LayoutOf(const Pixels& pixels, std::size_t begin, std::size_t end, Layout layout) {
    for (std::size_t y = begin; y < end && !(layout.hasColor && (layout.hasAlpha || pixels.isOpaque)); ++y) {
        const std::uint8_t* row = pixels.Row(y);
        unsigned differences = 0, alphas = 255;
        for (std::size_t x = 0; x < pixels.width; ++x) {
            const std::uint8_t* pixel = row + 4 * x;
            differences |= (pixel[0] ^ pixel[1]) | (pixel[1] ^ pixel[2]);
            alphas &= pixel[3];
        }
        layout.hasColor |= differences != 0;
        layout.hasAlpha |= alphas != 255 && !pixels.isOpaque;
    }
    return layout;
}

// Converts a row to the channels that are stored. The work row holds four bytes per pixel.
void PackRow(const Pixels& pixels, std::size_t y, Layout layout, std::uint8_t* work, std::uint8_t* to) {
    StraightRow(pixels, y, work);
    const std::size_t channels = layout.Channels();
    for (std::size_t x = 0; x < pixels.width; ++x, work += 4, to += channels) {
        for (std::size_t channel = 0; channel < channels; ++channel) to[channel] = work[channel];
        if (layout.hasAlpha) to[channels - 1] = work[3];
    }
}

// Stores the differences of the bytes to Paeth's prediction from their neighbors: left, above, and above left.
void Filter(const std::uint8_t* row, const std::uint8_t* above, std::size_t count, std::size_t channels,
            std::uint8_t* to) {
    // Left of the first pixel there are zeros; of the three distances, the one to the byte above is then the least.
    for (std::size_t i = 0; i < channels; ++i) to[i] = static_cast<std::uint8_t>(row[i] - above[i]);
    for (std::size_t i = channels; i < count; ++i) {
        const std::int16_t left = row[i - channels], up = above[i], corner = above[i - channels];
        const auto toLeft = static_cast<std::int16_t>(std::abs(up - corner));
        const auto toUp = static_cast<std::int16_t>(std::abs(left - corner));
        const auto toCorner = static_cast<std::int16_t>(std::abs(left + up - 2 * corner));
        const std::int16_t nearer = toUp <= toCorner ? up : corner;
        const std::int16_t predicted = toLeft <= std::min(toUp, toCorner) ? left : nearer;
        to[i] = static_cast<std::uint8_t>(row[i] - predicted);
    }
}

// A part of the compressed stream, and the check sum of the bytes that it holds.
struct Strip {
    std::vector<std::uint8_t> bytes;
    std::size_t length = 0;  // uncompressed
    uLong checkSum = 0;
};

// Appends the compressed bytes to the strip. Every strip but the last one ends with an empty block, at a byte border.
void Compress(std::vector<std::uint8_t>& filtered, bool isLast, Strip& strip) {
    constexpr int kRawStream = -15, kMemory = 9;
    z_stream stream = {};
    if (deflateInit2(&stream, Z_BEST_SPEED, Z_DEFLATED, kRawStream, kMemory, Z_RLE) != Z_OK) throw std::bad_alloc();
    const std::size_t start = strip.bytes.size();
    constexpr std::size_t kEmptyBlock = 8;
    try {
        strip.bytes.resize(start + deflateBound(&stream, static_cast<uLong>(filtered.size())) + kEmptyBlock);
    } catch (...) {
        deflateEnd(&stream);
        throw;
    }
    stream.next_in = filtered.data();
    stream.avail_in = static_cast<uInt>(filtered.size());
    stream.next_out = strip.bytes.data() + start;
    stream.avail_out = static_cast<uInt>(strip.bytes.size() - start);
    deflate(&stream, isLast ? Z_FINISH : Z_SYNC_FLUSH);
    strip.bytes.resize(start + stream.total_out);
    deflateEnd(&stream);
    strip.length = filtered.size();
    strip.checkSum = adler32_z(adler32(0, nullptr, 0), filtered.data(), filtered.size());
}

// Compresses the rows from begin to end.
Strip MakeStrip(const Pixels& pixels, Layout layout, std::size_t begin, std::size_t end) {
    const std::size_t channels = layout.Channels(), count = pixels.width * channels;
    std::vector<std::uint8_t> work(pixels.width * 4), row(count), above(count), filtered((count + 1) * (end - begin));
    if (begin > 0) PackRow(pixels, begin - 1, layout, work.data(), above.data());
    std::uint8_t* to = filtered.data();
    for (std::size_t y = begin; y < end; ++y, to += count + 1) {
        PackRow(pixels, y, layout, work.data(), row.data());
        *to = PNG_FILTER_VALUE_PAETH;
        Filter(row.data(), above.data(), count, channels, to + 1);
        row.swap(above);
    }
    Strip strip;
    constexpr std::uint8_t kStreamHeader[] = {0x78, 0x01};  // a window of 32 KB, compressed for speed
    if (begin == 0) strip.bytes.assign(std::begin(kStreamHeader), std::end(kStreamHeader));
    Compress(filtered, end == pixels.height, strip);
    return strip;
}

// How many rows a strip has.
std::size_t RowsOfStrip(const Pixels& pixels, Layout layout) {
    return std::max<std::size_t>(1, kStripBytes / (pixels.width * layout.Channels() + 1));
}

// Compresses rows of the picture, and adds to the check sum of the stream. Throws std::bad_alloc.
std::vector<Strip> MakeStrips(const PixelRows& rows, std::size_t height, Layout layout, uLong* checkSum) {
    const std::size_t rowsOfStrip = RowsOfStrip(rows.Current(), layout);
    std::vector<Strip> strips((rows.End() - rows.Begin() + rowsOfStrip - 1) / rowsOfStrip);
    tbb::parallel_for(std::size_t{0}, strips.size(), [&](std::size_t i) {
        const std::size_t begin = rows.Begin() + i * rowsOfStrip;
        strips[i] = MakeStrip(rows.Current(), layout, begin, std::min(begin + rowsOfStrip, rows.End()));
    });
    for (const Strip& strip : strips) {
        *checkSum = adler32_combine(*checkSum, strip.checkSum, static_cast<z_off_t>(strip.length));
    }
    if (rows.End() < height) return strips;
    for (const int shift : {24, 16, 8, 0}) strips.back().bytes.push_back(static_cast<std::uint8_t>(*checkSum >> shift));
    return strips;
}

// The chunks before the data. Leaves by the jump when that fails.
void WriteHeader(png_structp png, png_infop info, const Pixels& pixels, int colorType) {
    png_set_IHDR(png, info, static_cast<png_uint_32>(pixels.width), static_cast<png_uint_32>(pixels.height), 8,
                 colorType, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (pixels.profile == nullptr) {
        png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    } else {
        png_set_iCCP(png, info, "profile", PNG_COMPRESSION_TYPE_BASE, static_cast<png_const_bytep>(pixels.profile),
                     static_cast<png_uint_32>(pixels.profileLength));
    }
    png_write_info(png, info);
}

// Writes the first part of the file or another one, catches the jump, and returns whether it was written completely. No
// object here has a destructor that the jump could skip.
bool WriteGuarded(png_structp png, png_infop info, const Pixels& pixels, int colorType, bool isFirst, bool isLast,
                  const Strip* strips, std::size_t count) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    if (isFirst) WriteHeader(png, info, pixels, colorType);
    constexpr png_byte kData[] = "IDAT", kEnd[] = "IEND";
    for (std::size_t i = 0; i < count; ++i) png_write_chunk(png, kData, strips[i].bytes.data(), strips[i].bytes.size());
    if (isLast) png_write_chunk(png, kEnd, nullptr, 0);
    return true;
}

// Writes the picture in a layout, which the first rows may widen. When later ones have to, the file is incomplete, and
// must be begun again. Throws std::bad_alloc.
int WriteInLayout(png_structp png, png_infop info, const Pixels& pixels, const Writer& writer, Layout* layout,
                  bool* isComplete) {
    PixelRows rows(pixels);
    uLong checkSum = adler32(0, nullptr, 0);
    *isComplete = false;
    while (rows.End() < pixels.height) {
        if (const int error = rows.ReadNext(); error != 0) return error;
        const Layout used = *layout;
        *layout = LayoutOf(rows.Current(), rows.Begin(), rows.End(), used);
        if (rows.Begin() != 0 && *layout != used) return 0;
        rows.Shorten(RowsOfStrip(pixels, *layout));
        const std::vector<Strip> strips = MakeStrips(rows, pixels.height, *layout, &checkSum);
        if (!WriteGuarded(png, info, pixels, layout->ColorType(), rows.Begin() == 0, rows.End() == pixels.height,
                          strips.data(), strips.size())) {
            return writer.error != 0 ? writer.error : ENOMEM;
        }
    }
    *isComplete = true;
    return 0;
}

// Begins a file and writes it in a layout, see above.
int WriteFileInLayout(const Pixels& pixels, Layout* layout, EncodedFile* file, bool* isComplete) {
    Writer writer = {file, 0, 0};
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, Fail, Ignore);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
    int error = ENOMEM;
    if (info != nullptr) {
        png_set_write_fn(png, &writer, Write, Flush);
        png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        try {
            error = WriteInLayout(png, info, pixels, writer, layout, isComplete);
        } catch (const std::bad_alloc&) {
        }
    }
    png_destroy_write_struct(&png, &info);
    return error;
}

}  // namespace

int EncodePNG(const Pixels& pixels, EncodedFile* file) {
    if (pixels.width > PNG_UINT_31_MAX || pixels.height > PNG_UINT_31_MAX) return EFBIG;
    // A profile describes colors, so a picture with one is never stored as gray.
    Layout layout = {pixels.profile != nullptr, false};
    // The rows of a source are not known beforehand. When some do not fit, the file is begun again.
    for (;;) {
        bool isComplete = false;
        int error = WriteFileInLayout(pixels, &layout, file, &isComplete);
        if (error != 0 || isComplete) return error;
        pixels.source->Rewind();
        if (file->sink != nullptr) error = file->sink->Restart();
        if (error != 0) return error;
        std::free(file->bytes);
        file->bytes = nullptr;
        file->length = 0;
    }
}

}  // namespace image_io
