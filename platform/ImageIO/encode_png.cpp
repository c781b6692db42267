// encode_png.cpp - encodes PNG files: 8 or 16 bits, straight alpha, marked as sRGB or with an embedded profile.
//
// A picture without transparency is stored without alpha, and one without colors as gray. The rows are compressed in
// strips, on all cores; together the strips are one stream. Their borders depend on the picture's size only, so the
// bytes of the file do not depend on the number of cores. libpng writes the chunks.
//
// By default each row is filtered by Paeth's predictor and compressed by run lengths and Huffman codes
// (deflate_runs.h). For photos this takes a tenth of the time of libpng's defaults, and the files are about a tenth
// larger. The other methods try several ways for each strip, most of them with zlib, and take the shortest result.

#include <png.h>
#include <tbb/enumerable_thread_specific.h>
#include <tbb/parallel_for.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "deflate_runs.h"
#include "encode.h"
#include "png_errors.h"

namespace image_io {
namespace {

constexpr std::size_t kInitialCapacity = 1 << 16;

// The filter of all rows, or a filter for each row.
constexpr int kAdaptive = PNG_FILTER_VALUE_LAST;

// One way to compress a strip: how its rows are filtered, and what zlib is told unless the strip is compressed by runs.
struct Way {
    int filter;
    bool isByRuns;
    int level;
    int strategy;
};

constexpr Way kFast[] = {{PNG_FILTER_VALUE_PAETH, true, 0, 0}};
constexpr Way kBalanced[] = {{kAdaptive, false, 5, Z_FILTERED}, kFast[0]};
constexpr Way kSmall[] = {
    {kAdaptive, false, Z_BEST_COMPRESSION, Z_FILTERED},
    {kAdaptive, false, Z_BEST_COMPRESSION, Z_DEFAULT_STRATEGY},
    {PNG_FILTER_VALUE_NONE, false, Z_BEST_COMPRESSION, Z_DEFAULT_STRATEGY},
    kFast[0],
};

// How to compress: the ways that are tried for each strip, the shortest of which is taken, and the uncompressed bytes
// of a strip, about. Smaller strips would be compressed less well, larger ones leave cores idle.
struct Method {
    std::span<const Way> ways;
    std::size_t stripBytes;
};

constexpr Method kMethods[] = {
    /* fast     */ {kFast, 1 << 18},
    /* balanced */ {kBalanced, 1 << 19},
    /* small    */ {kSmall, 1 << 20},
};
// A strip may store one of the four channels of the rows that are read at a time.
static_assert(std::ranges::all_of(kMethods,
                                  [](const Method& method) { return 4 * method.stripBytes <= PixelRows::kMostBytes; }));

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

int ColorType(Channels channels) {
    return (channels.hasColor ? PNG_COLOR_MASK_COLOR : 0) | (channels.hasAlpha ? PNG_COLOR_MASK_ALPHA : 0);
}

// A picture, or those rows of it that are in memory; how it is stored, and how it is compressed.
struct Work {
    const Pixels& pixels;
    Channels channels;
    Method method;

    // The bytes of a pixel and of a row, and how many rows a strip has.
    std::size_t PixelBytes() const { return channels.Count() * pixels.depth / 8; }
    std::size_t RowBytes() const { return pixels.width * PixelBytes(); }
    std::size_t RowsOfStrip() const { return std::max<std::size_t>(1, method.stripBytes / (RowBytes() + 1)); }
};

// Makes a row as it is stored: the most significant byte comes first.
void MakeRow(const Work& work, std::size_t y, std::uint8_t* to) {
    PackRow(work.pixels, work.channels, y, to);
    if (work.pixels.depth == 8) return;
    for (std::size_t i = 0; i < work.RowBytes(); i += 2) {
        std::uint16_t number;
        std::memcpy(&number, to + i, sizeof number);
        to[i] = static_cast<std::uint8_t>(number >> 8);
        to[i + 1] = static_cast<std::uint8_t>(number);
    }
}

std::int16_t Magnitude(std::int16_t number) { return std::max(number, static_cast<std::int16_t>(-number)); }

// Stores the differences of the bytes to Paeth's prediction from their neighbors: left, above, and above left. All
// numbers have 16 bits, because the compiler works on twice as many of them at a time as of integers.
void FilterByPaeth(const std::uint8_t* row, const std::uint8_t* above, std::size_t count, std::size_t pixel,
                   std::uint8_t* to) {
    // Left of the first pixel there are zeros; of the three distances, the one to the byte above is then the least.
    for (std::size_t i = 0; i < pixel; ++i) to[i] = static_cast<std::uint8_t>(row[i] - above[i]);
    for (std::size_t i = pixel; i < count; ++i) {
        const std::int16_t left = row[i - pixel], up = above[i], corner = above[i - pixel];
        const auto across = static_cast<std::int16_t>(left - corner), down = static_cast<std::int16_t>(up - corner);
        const std::int16_t toLeft = Magnitude(down), toUp = Magnitude(across);
        const std::int16_t toCorner = Magnitude(static_cast<std::int16_t>(across + down));
        const std::int16_t nearer = toUp <= toCorner ? up : corner;
        const std::int16_t predicted = toLeft <= std::min(toUp, toCorner) ? left : nearer;
        to[i] = static_cast<std::uint8_t>(row[i] - predicted);
    }
}

// Filters a row by one of the format's filters.
void FilterBy(int filter, const std::uint8_t* row, const std::uint8_t* above, std::size_t count, std::size_t pixel,
              std::uint8_t* to) {
    if (filter == PNG_FILTER_VALUE_PAETH) return FilterByPaeth(row, above, count, pixel, to);
    for (std::size_t i = 0; i < count; ++i) {
        const unsigned left = i < pixel ? 0u : row[i - pixel], up = above[i];
        const unsigned predicted = filter == PNG_FILTER_VALUE_SUB   ? left
                                   : filter == PNG_FILTER_VALUE_UP  ? up
                                   : filter == PNG_FILTER_VALUE_AVG ? (left + up) / 2
                                                                    : 0;
        to[i] = static_cast<std::uint8_t>(row[i] - predicted);
    }
}

// Filters a row by that filter whose differences are the smallest, and stores the filter in front of them. The spare
// row has the same length. This is the usual rule: small differences compress well.
void FilterAdaptively(const std::uint8_t* row, const std::uint8_t* above, std::size_t count, std::size_t pixel,
                      std::uint8_t* spare, std::uint8_t* to) {
    std::size_t least = SIZE_MAX;
    for (int filter = PNG_FILTER_VALUE_NONE; filter < PNG_FILTER_VALUE_LAST; ++filter) {
        FilterBy(filter, row, above, count, pixel, spare);
        std::size_t sum = 0;
        for (std::size_t i = 0; i < count; ++i) {
            sum += static_cast<std::size_t>(std::abs(static_cast<std::int8_t>(spare[i])));
        }
        if (sum >= least) continue;
        least = sum;
        *to = static_cast<std::uint8_t>(filter);
        std::copy(spare, spare + count, to + 1);
    }
}

// A part of the compressed stream, and the check sum of the bytes that it holds.
struct Strip {
    std::vector<std::uint8_t> bytes;
    std::size_t length = 0;  // uncompressed
    uLong checkSum = 0;
};

// Appends the bytes, compressed by zlib. Every strip but the last one ends with an empty block, at a byte border.
void Deflate(std::vector<std::uint8_t>& filtered, const Way& way, bool isLast, std::vector<std::uint8_t>& to) {
    constexpr int kRawStream = -15, kMemory = 9;
    z_stream stream = {};
    if (deflateInit2(&stream, way.level, Z_DEFLATED, kRawStream, kMemory, way.strategy) != Z_OK) {
        throw std::bad_alloc();
    }
    const std::unique_ptr<z_stream, decltype(&deflateEnd)> closer(&stream, deflateEnd);
    const std::size_t start = to.size();
    constexpr std::size_t kEmptyBlock = 8;
    to.resize(start + deflateBound(&stream, static_cast<uLong>(filtered.size())) + kEmptyBlock);
    stream.next_in = filtered.data();
    stream.avail_in = static_cast<uInt>(filtered.size());
    stream.next_out = to.data() + start;
    stream.avail_out = static_cast<uInt>(to.size() - start);
    // Only a row of 4 GB, which zlib cannot count, is not taken as a whole.
    const int result = deflate(&stream, isLast ? Z_FINISH : Z_SYNC_FLUSH);
    const bool isWhole = stream.total_in == filtered.size();
    if (!isWhole || result != (isLast ? Z_STREAM_END : Z_OK)) throw std::bad_alloc();
    to.resize(start + stream.total_out);
}

// What a thread needs for a strip. It is used again for the next one, because memory that is used for the first time
// takes longer than the compression.
struct Scratch {
    std::vector<std::uint8_t> row, above, spare, filtered;
};

// Compresses the rows from begin to end in one way.
Strip MakeStrip(const Work& work, const Way& way, std::size_t begin, std::size_t end, Scratch& scratch) {
    const std::size_t pixel = work.PixelBytes(), count = work.RowBytes();
    auto& [row, above, spare, filtered] = scratch;
    for (std::vector<std::uint8_t>* one : {&row, &above, &spare}) one->resize(count);
    filtered.resize((count + 1) * (end - begin));
    if (begin > 0) {
        MakeRow(work, begin - 1, above.data());
    } else {
        std::ranges::fill(above, std::uint8_t{0});
    }
    std::uint8_t* to = filtered.data();
    for (std::size_t y = begin; y < end; ++y, to += count + 1) {
        MakeRow(work, y, row.data());
        if (way.filter == kAdaptive) {
            FilterAdaptively(row.data(), above.data(), count, pixel, spare.data(), to);
        } else {
            *to = static_cast<std::uint8_t>(way.filter);
            FilterBy(way.filter, row.data(), above.data(), count, pixel, to + 1);
        }
        row.swap(above);
    }
    const bool isLast = end == work.pixels.height;
    Strip strip = {{}, filtered.size(), adler32_z(adler32(0, nullptr, 0), filtered.data(), filtered.size())};
    constexpr std::uint8_t kStreamHeader[] = {0x78, 0x01};  // a window of 32 KB, compressed for speed
    if (begin == 0) strip.bytes.assign(std::begin(kStreamHeader), std::end(kStreamHeader));
    if (way.isByRuns) {
        DeflateRuns(filtered.data(), filtered.size(), isLast, strip.bytes);
    } else {
        Deflate(filtered, way, isLast, strip.bytes);
    }
    return strip;
}

// Compresses the rows from begin to end in the way that gives the fewest bytes.
Strip MakeShortest(const Work& work, std::size_t begin, std::size_t end, Scratch& scratch) {
    Strip shortest;
    for (const Way& way : work.method.ways) {
        Strip strip = MakeStrip(work, way, begin, end, scratch);
        if (shortest.bytes.empty() || strip.bytes.size() < shortest.bytes.size()) shortest = std::move(strip);
    }
    return shortest;
}

// Compresses the rows that were read last, and adds to the check sum of the stream. Throws std::bad_alloc.
std::vector<Strip> MakeStrips(const Work& work, const PixelRows& rows, uLong* checkSum) {
    const std::size_t rowsOfStrip = work.RowsOfStrip();
    std::vector<Strip> strips((rows.End() - rows.Begin() + rowsOfStrip - 1) / rowsOfStrip);
    tbb::enumerable_thread_specific<Scratch> scratch;
    tbb::parallel_for(std::size_t{0}, strips.size(), [&](std::size_t i) {
        const std::size_t begin = rows.Begin() + i * rowsOfStrip;
        strips[i] = MakeShortest(work, begin, std::min(begin + rowsOfStrip, rows.End()), scratch.local());
    });
    for (const Strip& strip : strips) {
        *checkSum = adler32_combine(*checkSum, strip.checkSum, static_cast<z_off_t>(strip.length));
    }
    if (rows.End() < work.pixels.height) return strips;
    for (const int shift : {24, 16, 8, 0}) strips.back().bytes.push_back(static_cast<std::uint8_t>(*checkSum >> shift));
    return strips;
}

// A chunk with data about the picture.
struct Chunk {
    char name[5];
    std::vector<std::uint8_t> content;
};

void Append(std::string_view text, std::vector<std::uint8_t>& to) { to.insert(to.end(), text.begin(), text.end()); }

// The chunks of the data about the picture. IPTC has no chunk of its own; several programs read it as hexadecimal
// digits in a compressed text, behind its name and its length.
std::vector<Chunk> ChunksOf(const EncodeOptions& options) {
    using std::literals::operator""sv;
    std::vector<Chunk> chunks;
    const auto text = [](const Block& block) {
        return std::string_view(static_cast<const char*>(block.bytes), block.length);
    };
    if (options.exif.length != 0) Append(text(options.exif), chunks.emplace_back(Chunk{"eXIf", {}}).content);
    if (options.xmp.length != 0) {
        Chunk& chunk = chunks.emplace_back(Chunk{"iTXt", {}});
        Append("XML:com.adobe.xmp\0\0\0\0\0"sv, chunk.content);
        Append(text(options.xmp), chunk.content);
    }
    if (options.iptc.length == 0) return chunks;
    std::string digits = "\niptc\n" + std::to_string(options.iptc.length);
    for (std::size_t i = 0; i < options.iptc.length; ++i) {
        constexpr std::size_t kBytesPerLine = 36;
        constexpr const char* kDigits = "0123456789abcdef";
        if (i % kBytesPerLine == 0) digits += '\n';
        const auto byte = static_cast<std::uint8_t>(text(options.iptc)[i]);
        digits += kDigits[byte >> 4];
        digits += kDigits[byte & 15];
    }
    digits += '\n';
    uLongf length = compressBound(static_cast<uLong>(digits.size()));
    std::vector<std::uint8_t> compressed(length);
    const int result = compress(compressed.data(), &length, reinterpret_cast<const Bytef*>(digits.data()),
                                static_cast<uLong>(digits.size()));
    if (result != Z_OK) throw std::bad_alloc();
    compressed.resize(length);
    Chunk& chunk = chunks.emplace_back(Chunk{"zTXt", {}});
    Append("Raw profile type iptc\0\0"sv, chunk.content);
    chunk.content.insert(chunk.content.end(), compressed.begin(), compressed.end());
    return chunks;
}

// The chunks before the data. Leaves by the jump when that fails.
void WriteHeader(png_structp png, png_infop info, const Pixels& pixels, int colorType,
                 const std::vector<Chunk>& chunks) {
    png_set_IHDR(png, info, static_cast<png_uint_32>(pixels.width), static_cast<png_uint_32>(pixels.height),
                 static_cast<int>(pixels.depth), colorType, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
                 PNG_FILTER_TYPE_DEFAULT);
    if (pixels.profile == nullptr) {
        png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    } else {
        png_set_iCCP(png, info, "profile", PNG_COMPRESSION_TYPE_BASE, static_cast<png_const_bytep>(pixels.profile),
                     static_cast<png_uint_32>(pixels.profileLength));
    }
    png_write_info(png, info);
    for (const Chunk& chunk : chunks) {
        png_write_chunk(png, reinterpret_cast<png_const_bytep>(chunk.name), chunk.content.data(), chunk.content.size());
    }
}

// Writes the first part of the file or another one, catches the jump, and returns whether it was written completely. No
// object here has a destructor that the jump could skip.
bool WriteGuarded(png_structp png, png_infop info, const Pixels& pixels, int colorType,
                  const std::vector<Chunk>& chunks, bool isFirst, bool isLast, const Strip* strips, std::size_t count) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    if (isFirst) WriteHeader(png, info, pixels, colorType, chunks);
    constexpr png_byte kData[] = "IDAT", kEnd[] = "IEND";
    for (std::size_t i = 0; i < count; ++i) png_write_chunk(png, kData, strips[i].bytes.data(), strips[i].bytes.size());
    if (isLast) png_write_chunk(png, kEnd, nullptr, 0);
    return true;
}

// Writes the picture as EncodeByRows requests. Throws std::bad_alloc.
int WriteInChannels(png_structp png, png_infop info, const Pixels& pixels, const Method& method,
                    const std::vector<Chunk>& chunks, const Writer& writer, Channels* channels, bool* isComplete) {
    PixelRows rows(pixels);
    uLong checkSum = adler32(0, nullptr, 0);
    while (rows.End() < pixels.height) {
        const Channels used = *channels;
        if (const int error = rows.ReadNext(channels); error != 0) return error;
        if (rows.Begin() != 0 && *channels != used) return 0;
        const Work work = {rows.Current(), *channels, method};
        rows.Shorten(work.RowsOfStrip());
        const std::vector<Strip> strips = MakeStrips(work, rows, &checkSum);
        if (!WriteGuarded(png, info, pixels, ColorType(*channels), chunks, rows.Begin() == 0,
                          rows.End() == pixels.height, strips.data(), strips.size())) {
            return writer.error != 0 ? writer.error : ENOMEM;
        }
    }
    *isComplete = true;
    return 0;
}

// Begins a file, and writes the picture.
int WriteFileInChannels(const Pixels& pixels, const EncodeOptions& options, Channels* channels, EncodedFile* file,
                        bool* isComplete) {
    Writer writer = {file, 0, 0};
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, Fail, Ignore);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
    int error = ENOMEM;
    if (info != nullptr) {
        png_set_write_fn(png, &writer, Write, Flush);
        png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        try {
            const Method& method = kMethods[static_cast<int>(options.compression)];
            error = WriteInChannels(png, info, pixels, method, ChunksOf(options), writer, channels, isComplete);
        } catch (const std::bad_alloc&) {
        }
    }
    png_destroy_write_struct(&png, &info);
    return error;
}

}  // namespace

int EncodePNG(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file) {
    if (pixels.width > PNG_UINT_31_MAX || pixels.height > PNG_UINT_31_MAX) return EFBIG;
    return EncodeByRows(pixels, file, [&](Channels* channels, bool* isComplete) {
        return WriteFileInChannels(pixels, options, channels, file, isComplete);
    });
}

}  // namespace image_io
