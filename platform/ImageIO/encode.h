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

// The pixels to write: 8-bit RGBA, top row first.
struct Pixels {
    const std::uint8_t* bytes = nullptr;  // null if there is a source
    RowSource* source = nullptr;
    std::size_t firstRow = 0;  // the row at `bytes`
    std::size_t width = 0;
    std::size_t height = 0;
    std::size_t bytesPerRow = 0;
    bool isPremultiplied = false;
    bool isOpaque = false;  // the alpha byte is ignored

    // The ICC profile of the space, borrowed; null for sRGB.
    const void* profile = nullptr;
    std::size_t profileLength = 0;

    const std::uint8_t* Row(std::size_t y) const { return bytes + (y - firstRow) * bytesPerRow; }
};

// Some rows of a picture in memory: all of them, or those that were read from its source last and the one above them.
class PixelRows {
  public:
    // The most bytes that are read at a time.
    static constexpr std::size_t kMostBytes = 16 << 20;

    // The pixels are borrowed.
    explicit PixelRows(const Pixels& pixels);

    // Reads the next rows. Returns the error number, 0 for none.
    [[nodiscard]] int ReadNext();

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

// Encode a picture. Fail when it is too large for the format (EFBIG) or memory is short (ENOMEM); the caller frees the
// file's bytes in that case too. With a source, or a sink, they fail with its error. Quality is 0 (smallest file) to 1
// (best quality).
[[nodiscard]] int EncodePNG(const Pixels& pixels, EncodedFile* file);
[[nodiscard]] int EncodeJPEG(const Pixels& pixels, double quality, EncodedFile* file);

// Converts a row to RGBA with straight alpha: four bytes per pixel.
void StraightRow(const Pixels& pixels, std::size_t row, std::uint8_t* to);

// Blends a row onto white: three bytes per pixel.
void RowOnWhite(const Pixels& pixels, std::size_t row, std::uint8_t* to);

}  // namespace image_io
