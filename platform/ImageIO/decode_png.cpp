// decode_png.cpp - decodes PNG files of every color type and depth.
//
// Palettes, grays and depths of 1 to 8 bits become 8-bit RGBA, and 16 bits stay 16 bits. A file that states a gamma
// other than that of sRGB is converted to it.

#include <png.h>

#include <bit>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>

#include "decode.h"
#include "png_errors.h"
#include "row_decoder.h"

namespace image_io {
namespace {

// The unread part of the file, and whether the library tried to read beyond it.
struct Reader {
    const std::uint8_t* bytes;
    std::size_t left;
    bool ended;
};

void ReadBytes(png_structp png, png_bytep to, png_size_t count) {
    auto* reader = static_cast<Reader*>(png_get_io_ptr(png));
    if (count > reader->left) {
        reader->ended = true;
        png_error(png, "");
    }
    std::memcpy(to, reader->bytes, count);
    reader->bytes += count;
    reader->left -= count;
    // The library makes room for a whole chunk before it reads it: a few bytes could claim two gigabytes. Pixels are
    // read in parts.
    constexpr std::size_t kHeader = 8;
    const bool isHeader = (png_get_io_state(png) & PNG_IO_MASK_LOC) == PNG_IO_CHUNK_HDR && count == kHeader;
    if (isHeader && std::memcmp(to + 4, "IDAT", 4) != 0 && png_get_uint_32(to) > reader->left) {
        reader->ended = true;
        png_error(png, "");
    }
}

// Copies the file's profile, if any. When memory is short the picture gets no profile.
void KeepProfile(png_structp png, png_infop info, Picture* picture) {
    png_charp name = nullptr;
    png_bytep profile = nullptr;
    png_uint_32 length = 0;
    int compression = 0;
    if (!png_get_iCCP(png, info, &name, &compression, &profile, &length)) return;
    picture->profile = std::malloc(length);
    if (picture->profile == nullptr) return;
    std::memcpy(picture->profile, profile, length);
    picture->profileLength = length;
}

// Requests RGBA of 8 or 16 bits for every kind of file.
void SetTransformations(png_structp png, png_infop info) {
    // Alpha stays straight, and a file without a gamma is read as sRGB. With a profile the values must not be changed.
    if (!png_get_valid(png, info, PNG_INFO_iCCP)) png_set_alpha_mode(png, PNG_ALPHA_PNG, PNG_DEFAULT_sRGB);
    png_set_expand(png);
    if constexpr (std::endian::native == std::endian::little) png_set_swap(png);
    png_set_gray_to_rgb(png);
    png_set_add_alpha(png, 0xffff, PNG_FILLER_AFTER);
    png_set_interlace_handling(png);
    png_read_update_info(png, info);
}

// Reads the file to the end of its last chunk. Errors leave this function by longjmp.
bool ReadPicture(png_structp png, png_infop info, Picture* picture) {
    png_read_info(png, info);
    const png_uint_32 width = png_get_image_width(png, info);
    const png_uint_32 height = png_get_image_height(png, info);
    const int passes = png_get_interlace_type(png, info) == PNG_INTERLACE_NONE ? 1 : PNG_INTERLACE_ADAM7_PASSES;
    picture->isGray = (png_get_color_type(png, info) & PNG_COLOR_MASK_COLOR) == 0;
    picture->depth = png_get_bit_depth(png, info) == 16 ? 16 : 8;
    KeepProfile(png, info, picture);
    // First the pixels, which have a limit: the library allocates rows next.
    if (!Allocate(width, height, picture)) return false;
    SetTransformations(png, info);
    if (png_get_rowbytes(png, info) != picture->BytesPerRow()) return false;
    for (int pass = 0; pass < passes; ++pass) {
        for (png_uint_32 y = 0; y < height; ++y) {
            png_read_row(png, picture->pixels + std::size_t{y} * picture->BytesPerRow(), nullptr);
        }
    }
    png_read_end(png, nullptr);
    return true;
}

// Reads the picture, catches the jump, and returns whether the file was read to its end. No object here has a
// destructor that the jump could skip.
bool ReadGuarded(png_structp png, png_infop info, Picture* picture) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    return ReadPicture(png, info, picture);
}

// Decodes rows. Each function catches the jump itself.
class RowDecoderPNG : public RowDecoder {
  public:
    explicit RowDecoderPNG(const FileBytes& file) : file_(file), pages_(file) {}
    ~RowDecoderPNG() override { png_destroy_read_struct(&png_, &info_, nullptr); }

    Status Begin(Picture* picture) override {
        png_destroy_read_struct(&png_, &info_, nullptr);
        pages_.Restart();
        reader_ = {file_.bytes, file_.length, false};
        png_ = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, Fail, Ignore);
        info_ = png_ == nullptr ? nullptr : png_create_info_struct(png_);
        if (info_ == nullptr) return Status::kInvalidData;
        if (setjmp(png_jmpbuf(png_)) != 0) return StatusOfFailure();
        png_set_read_fn(png_, &reader_, ReadBytes);
        png_set_user_limits(png_, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        png_read_info(png_, info_);
        const png_uint_32 width = png_get_image_width(png_, info_);
        rowsLeft_ = png_get_image_height(png_, info_);
        const bool isGray = (png_get_color_type(png_, info_) & PNG_COLOR_MASK_COLOR) == 0;
        if (picture != nullptr) {
            KeepProfile(png_, info_, picture);
            picture->width = width;
            picture->height = rowsLeft_;
            picture->depth = png_get_bit_depth(png_, info_) == 16 ? 16 : 8;
        }
        // Gray levels with a profile are converted afterward.
        const bool isConverted = isGray && png_get_valid(png_, info_, PNG_INFO_iCCP) != 0;
        const bool isInOrder = png_get_interlace_type(png_, info_) == PNG_INTERLACE_NONE;
        if (!isInOrder || isConverted) return Status::kUnknownType;
        if (!IsAllowedSize(width, rowsLeft_)) return Status::kInvalidData;
        bytesPerRow_ = 0;
        if (picture != nullptr) picture->isGray = isGray;
        return Status::kComplete;
    }

    Status Read(std::uint8_t* rows, std::size_t count) override {
        if (setjmp(png_jmpbuf(png_)) != 0) return StatusOfFailure();
        // Not before: this allocates two rows, and most headers are read for what they say.
        if (bytesPerRow_ == 0) {
            SetTransformations(png_, info_);
            bytesPerRow_ = png_get_rowbytes(png_, info_);
        }
        for (; count > 0; --count, --rowsLeft_, rows += bytesPerRow_) png_read_row(png_, rows, nullptr);
        pages_.DropBefore(file_.length - reader_.left);
        if (rowsLeft_ == 0) png_read_end(png_, nullptr);
        return Status::kComplete;
    }

  private:
    Status StatusOfFailure() const { return reader_.ended ? Status::kUnexpectedEnd : Status::kInvalidData; }

    FileBytes file_;
    ReadPages pages_;
    Reader reader_ = {};
    png_structp png_ = nullptr;
    png_infop info_ = nullptr;
    std::size_t bytesPerRow_ = 0;
    std::size_t rowsLeft_ = 0;
};

}  // namespace

std::unique_ptr<RowDecoder> MakeRowDecoderPNG(const FileBytes& file, unsigned factor) {
    if (factor != 1) return nullptr;
    return std::unique_ptr<RowDecoder>(new (std::nothrow) RowDecoderPNG(file));
}

Status DecodePNG(const std::uint8_t* bytes, std::size_t length, Picture* picture) {
    Reader reader = {bytes, length, false};
    png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, Fail, Ignore);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
    bool complete = false;
    if (info != nullptr) {
        png_set_read_fn(png, &reader, ReadBytes);
        png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);  // Allocate has the limit
        complete = ReadGuarded(png, info, picture);
    }
    png_destroy_read_struct(&png, &info, nullptr);
    if (complete) return Status::kComplete;
    return reader.ended ? Status::kUnexpectedEnd : Status::kInvalidData;
}

}  // namespace image_io
