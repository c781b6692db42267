// encode_png.cpp - encodes PNG files: 8-bit RGBA with straight alpha, marked as sRGB or with an embedded profile.

#include <png.h>

#include <cerrno>
#include <csetjmp>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "encode.h"

namespace image_io {
namespace {

constexpr std::size_t kInitialCapacity = 1 << 16;

// The growing file and its capacity.
struct Writer {
    EncodedFile* file;
    std::size_t capacity;
};

void Write(png_structp png, png_bytep from, png_size_t count) {
    auto* writer = static_cast<Writer*>(png_get_io_ptr(png));
    EncodedFile& file = *writer->file;
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

// Writes the picture, catches the jump, and returns whether it was written completely. No object here has a destructor
// that the jump could skip.
bool WriteGuarded(png_structp png, png_infop info, const Pixels& pixels, std::uint8_t* row) {
    if (setjmp(png_jmpbuf(png)) != 0) return false;
    png_set_IHDR(png, info, static_cast<png_uint_32>(pixels.width), static_cast<png_uint_32>(pixels.height), 8,
                 PNG_COLOR_TYPE_RGBA, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
    if (pixels.profile == nullptr) {
        png_set_sRGB(png, info, PNG_sRGB_INTENT_PERCEPTUAL);
    } else {
        png_set_iCCP(png, info, "profile", PNG_COMPRESSION_TYPE_BASE, static_cast<png_const_bytep>(pixels.profile),
                     static_cast<png_uint_32>(pixels.profileLength));
    }
    png_write_info(png, info);
    for (std::size_t y = 0; y < pixels.height; ++y) {
        StraightRow(pixels, y, row);
        png_write_row(png, row);
    }
    png_write_end(png, info);
    return true;
}

}  // namespace

int EncodePNG(const Pixels& pixels, EncodedFile* file) {
    if (pixels.width > PNG_UINT_31_MAX || pixels.height > PNG_UINT_31_MAX) return EFBIG;
    Writer writer = {file, 0};
    auto* row = static_cast<std::uint8_t*>(std::malloc(pixels.width * 4));
    png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, Fail, Ignore);
    png_infop info = png == nullptr ? nullptr : png_create_info_struct(png);
    bool complete = false;
    if (info != nullptr && row != nullptr) {
        png_set_write_fn(png, &writer, Write, Flush);
        png_set_user_limits(png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
        complete = WriteGuarded(png, info, pixels, row);
    }
    png_destroy_write_struct(&png, &info);
    std::free(row);
    return complete ? 0 : ENOMEM;
}

}  // namespace image_io
