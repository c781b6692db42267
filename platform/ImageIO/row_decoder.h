// row_decoder.h - decodes a picture row by row, for pictures that are too large to be in memory as a whole.
//
// This works where a file stores its rows from the top to the bottom: sequential JPEG files of one scan, PNG files that
// are not interlaced, and TIFF files of gray or RGB pixels with 8 or 16 bits in strips. The rows are those of Decode()
// (decode.h), byte by byte. A JPEG can also be decoded at a half, a quarter or an eighth of its size; each pixel is
// then the mean of a square.
//
// Lifetime: a decoder borrows the bytes of the file.
// Failure:  a status; nothing is printed. After a failure, and after the last row, Begin() is the only call allowed.
// Threads:  one at a time.

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "decode.h"

namespace image_io {

// The bytes of a file.
struct FileBytes {
    const std::uint8_t* bytes = nullptr;
    std::size_t length = 0;
    bool isMapped = false;  // whether they are a mapping of the file, whose pages may be dropped after reading
};

class RowDecoder {
  public:
    virtual ~RowDecoder() = default;
    RowDecoder() = default;
    RowDecoder(const RowDecoder&) = delete;
    RowDecoder& operator=(const RowDecoder&) = delete;

    // Reads the header, after which the first row is the next one. The picture gets its size and its profile, but no
    // pixels; null when they are known already. Returns kUnknownType for a file whose rows cannot be decoded in order,
    // and sets the working bytes of its picture.
    [[nodiscard]] virtual Status Begin(Picture* picture) = 0;

    // Decodes the next rows: as many as are left at most.
    [[nodiscard]] virtual Status Read(std::uint8_t* rows, std::size_t count) = 0;
};

// Returns a decoder; null for a format that is decoded as a whole, for a factor other than 1 unless the file is a JPEG,
// and when memory is short. The factor is 1, 2, 4 or 8: how many times smaller the picture is decoded.
[[nodiscard]] std::unique_ptr<RowDecoder> MakeRowDecoder(const FileBytes& file, unsigned factor);
[[nodiscard]] std::unique_ptr<RowDecoder> MakeRowDecoderPNG(const FileBytes& file, unsigned factor);
[[nodiscard]] std::unique_ptr<RowDecoder> MakeRowDecoderJPEG(const FileBytes& file, unsigned factor);

// Reads the header of a file: the size of the picture, its depth, its profile, and the working bytes. Returns whether
// its rows can be decoded in order.
[[nodiscard]] bool ReadHeader(const FileBytes& file, Picture* picture);

// Gives the memory of a mapped file back up to a place in it, as far as it has not been given back.
class ReadPages {
  public:
    explicit ReadPages(const FileBytes& file) : file_(file) {}
    void DropBefore(std::size_t place);
    void Restart() { dropped_ = 0; }

  private:
    FileBytes file_;
    std::size_t dropped_ = 0;
};

}  // namespace image_io
