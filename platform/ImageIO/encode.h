// encode.h - encodes pixels to the bytes of a picture file.
//
// A picture that is too large to be in memory is read from a source, strip by strip, and its file goes to a sink. The
// bytes of the file are the same.
//
// Failure: the system's error number, 0 for none; nothing is printed.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>

namespace image_io {

// Where the rows of a picture come from that is too large to be in memory as a whole: from the first to the last.
class RowSource {
  public:
    virtual ~RowSource() = default;

    // Stores the next rows. Returns the error number, 0 for none.
    [[nodiscard]] virtual int Read(std::uint8_t* rows, std::size_t count) = 0;

    // Makes the first row the next one.
    virtual void Rewind() = 0;
};

// Where the bytes of a file go that is not kept in memory.
class ByteSink {
  public:
    virtual ~ByteSink() = default;

    // Return the error number, 0 for none. Restart() makes the file empty again.
    [[nodiscard]] virtual int Write(const void* bytes, std::size_t length) = 0;
    [[nodiscard]] virtual int Restart() = 0;
};

// The pixels to write: RGBA, top row first.
struct Pixels {
    const std::uint8_t* bytes = nullptr;  // null if there is a source
    RowSource* source = nullptr;
    std::size_t firstRow = 0;  // the row at `bytes`
    std::size_t depth = 8;     // the bits of a component: 8, 16 in the order of the machine, or 32 for floats
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
    bool isPremultiplied = false;
    bool isOpaque = false;  // alpha is ignored

    // The ICC profile of the space, borrowed; null for sRGB.
    const void* profile = nullptr;
    std::size_t profileLength = 0;

    const std::uint8_t* Row(std::size_t y) const { return bytes + (y - firstRow) * bytesPerRow; }
};

enum class Compression { kFast, kBalanced, kSmall };

// How many of the color differences of 4 x 2 pixels a format with losses stores: all, one of two in each row, or one
// for each 2 x 2 pixels.
enum class Subsampling { k444, k422, k420 };

// Bytes that are borrowed.
struct Block {
    const void* bytes = nullptr;
    std::size_t length = 0;
};

// How to write a file. A format takes from it what it knows.
struct EncodeOptions {
    double quality = 0.9;  // of a format with losses, 0 (smallest file) to 1 (best quality)
    Compression compression = Compression::kFast;
    Subsampling subsampling = Subsampling::k420;
    bool isLossless = false;
    bool isProgressive = false;
    Block exif, xmp, iptc;  // the data about the picture (metadata.h)
};

// The channels that a picture uses.
struct Channels {
    bool hasColor = false;
    bool hasAlpha = false;

    bool operator==(const Channels&) const = default;

    std::size_t Count() const { return (hasColor ? 3 : 1) + (hasAlpha ? 1 : 0); }
};

// Returns the fewest channels that hold a picture in memory. A profile describes colors, so a picture with one always
// has color.
[[nodiscard]] Channels ChannelsOf(const Pixels& pixels);

// Some rows of a picture in memory: all of them, or those that were read from its source last and the one above them.
class PixelRows {
  public:
    // The most bytes that are read at a time.
    static constexpr std::size_t kMostBytes = 4 << 20;

    // The pixels are borrowed.
    explicit PixelRows(const Pixels& pixels);

    // Reads the next rows, and adds the channels that they use. Returns the error number, 0 for none.
    [[nodiscard]] int ReadNext(Channels* channels);

    // Leaves some rows to the next reading, so that there is a multiple of `step` rows, unless they are the last ones.
    void Shorten(std::size_t step);

    // The rows that were read last: from begin to end.
    std::size_t Begin() const { return begin_; }
    std::size_t End() const { return end_; }
    const Pixels& Current() const { return current_; }

  private:
    const Pixels& all_;
    Pixels current_;
    std::size_t mostRows_, begin_ = 0, end_ = 0;
    std::size_t read_ = 0;  // rows
    std::unique_ptr<std::uint8_t[]> memory_;
};

// A file in memory, or one that goes to a sink as it is made.
struct EncodedFile {
    unsigned char* bytes = nullptr;  // allocated with malloc and freed by the caller; null if there is a sink
    std::size_t length = 0;
    ByteSink* sink = nullptr;
};

// Encode a picture, whose depth the format has. Fail when it is too large for the format (EFBIG) or memory is short
// (ENOMEM); the caller frees the file's bytes in that case too. With a source, or a sink, they fail with its error.
[[nodiscard]] int EncodePNG(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file);
[[nodiscard]] int EncodeJPEG(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file);

// Encodes a picture whose rows are read one after the other, so that its channels are not known beforehand. `attempt`
// writes the file with the given channels, which the first rows may widen; when later rows have to, it widens them and
// leaves the file incomplete, which is then begun again. It returns the error number, 0 for none.
[[nodiscard]] int EncodeByRows(const Pixels& pixels, EncodedFile* file,
                               const std::function<int(Channels* channels, bool* isComplete)>& attempt);

// Keeps the given channels of a row, in the depth of the pixels. Integers get straight alpha; floats stay as they are.
void PackRow(const Pixels& pixels, Channels channels, std::size_t row, void* to);

// Blends a row of bytes onto white: three bytes per pixel.
void RowOnWhite(const Pixels& pixels, std::size_t row, std::uint8_t* to);

}  // namespace image_io
