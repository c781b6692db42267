// preview.cpp - libjpeg, which reads the pixels where they are.

#include "host/studio/preview.h"

// jpeglib.h requires this header before it.
#include <cstdio>

#include <jpeglib.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <future>
#include <utility>

namespace studio {
namespace {

constexpr std::size_t kBytesPerScreenPixel = 4;

// The side of the squares in which translucent pixels are looked for, and of the blocks that a JPEG consists of.
constexpr std::size_t kSquare = 16;

const std::uint8_t* At(const ScreenPixels& pixels, std::size_t x, std::size_t y) {
    return pixels.bytes + (y * pixels.width + x) * kBytesPerScreenPixel;
}

// The bits that all pixels of a part have, and those that any has.
struct Bits {
    std::uint8_t all[kBytesPerScreenPixel], any[kBytesPerScreenPixel];
};

Bits BitsOf(const ScreenPixels& pixels, const Part& part) {
    std::uint32_t all = 0xffffffff;
    std::uint32_t any = 0;
    for (std::size_t y = part.y; y < part.y + part.height; ++y) {
        const std::uint8_t* row = At(pixels, part.x, y);
        for (std::size_t x = 0; x < part.width; ++x) {
            std::uint32_t pixel;
            std::memcpy(&pixel, row + x * kBytesPerScreenPixel, sizeof pixel);
            all &= pixel;
            any |= pixel;
        }
    }
    Bits bits;
    std::memcpy(bits.all, &all, sizeof bits.all);
    std::memcpy(bits.any, &any, sizeof bits.any);
    return bits;
}

// The squares of a row of squares that are not opaque; equal ones beside each other are one part.
std::vector<Part> PartsOfRow(const ScreenPixels& pixels, std::size_t y, std::size_t height) {
    std::vector<Part> parts;
    for (std::size_t x = 0; x < pixels.width; x += kSquare) {
        Part square = {x, y, std::min(kSquare, pixels.width - x), height, false};
        const Bits bits = BitsOf(pixels, square);
        if (bits.all[3] == 255) continue;
        square.isClear = bits.any[3] == 0;
        const bool continues = !parts.empty() && parts.back().x + parts.back().width == x;
        if (continues && parts.back().isClear == square.isClear) {
            parts.back().width += square.width;
        } else {
            parts.push_back(square);
        }
    }
    return parts;
}

// Adds the parts of a row of squares, each to the same part above it, if there is one.
void AddRow(const std::vector<Part>& row, std::vector<Part>& parts, std::vector<std::size_t>& above) {
    std::vector<std::size_t> ending;
    for (const Part& part : row) {
        const auto same = std::ranges::find_if(above, [&](std::size_t i) {
            return parts[i].x == part.x && parts[i].width == part.width && parts[i].isClear == part.isClear;
        });
        if (same != above.end()) {
            parts[*same].height += part.height;
            ending.push_back(*same);
        } else {
            ending.push_back(parts.size());
            parts.push_back(part);
        }
    }
    above = std::move(ending);
}

// Copies rows, with their colors multiplied by alpha.
void MultiplyRows(const ScreenPixels& pixels, std::size_t y, std::size_t height, std::vector<std::uint8_t>& to) {
    to.assign(At(pixels, 0, y), At(pixels, 0, y + height));
    for (std::size_t i = 0; i < to.size(); i += kBytesPerScreenPixel) {
        for (std::size_t c = 0; c < 3; ++c) to[i + c] = static_cast<std::uint8_t>((to[i + c] * to[i + 3] + 127) / 255);
    }
}

// An error of the library ends the process. None but a lack of memory is possible.
Stripe EncodedStripe(const ScreenPixels& pixels, std::size_t y, std::size_t height) {
    constexpr int kQuality = 85;
    jpeg_compress_struct jpeg;
    jpeg_error_mgr errors;
    jpeg.err = jpeg_std_error(&errors);
    jpeg_create_compress(&jpeg);
    unsigned char* bytes = nullptr;
    unsigned long size = 0;
    jpeg_mem_dest(&jpeg, &bytes, &size);
    jpeg.image_width = static_cast<JDIMENSION>(pixels.width);
    jpeg.image_height = static_cast<JDIMENSION>(height);
    jpeg.input_components = kBytesPerScreenPixel;
    jpeg.in_color_space = JCS_EXT_RGBX;
    jpeg_set_defaults(&jpeg);
    jpeg_set_quality(&jpeg, kQuality, TRUE);
    jpeg_start_compress(&jpeg, TRUE);
    Stripe stripe = {y, height, {}, {}};
    std::vector<std::size_t> above;
    std::vector<std::uint8_t> multiplied;
    for (std::size_t top = y; top < y + height; top += kSquare) {
        // The rows are looked at just before they are compressed, because they are in the cache then.
        const std::size_t count = std::min(kSquare, y + height - top);
        const std::vector<Part> parts = PartsOfRow(pixels, top, count);
        AddRow(parts, stripe.parts, above);
        const std::uint8_t* from = At(pixels, 0, top);
        if (!parts.empty()) {
            MultiplyRows(pixels, top, count, multiplied);
            from = multiplied.data();
        }
        JSAMPROW rows[kSquare];
        for (std::size_t i = 0; i < count; ++i) {
            rows[i] = const_cast<JSAMPROW>(from + i * pixels.width * kBytesPerScreenPixel);
        }
        for (std::size_t i = 0; i < count;) {
            i += jpeg_write_scanlines(&jpeg, rows + i, static_cast<JDIMENSION>(count - i));
        }
    }
    jpeg_finish_compress(&jpeg);
    jpeg_destroy_compress(&jpeg);
    stripe.jpeg.assign(reinterpret_cast<const char*>(bytes), size);
    std::free(bytes);
    return stripe;
}

}  // namespace

std::vector<Stripe> EncodePreview(const ScreenPixels& pixels) {
    constexpr std::size_t kFewPixels = 1 << 14;
    const std::size_t half = (pixels.height / 2 + kSquare - 1) / kSquare * kSquare;
    const bool isSmall = pixels.width * pixels.height < kFewPixels || half >= pixels.height;
    if (isSmall || std::max(pixels.width, pixels.height) > JPEG_MAX_DIMENSION) return {};
    std::future<Stripe> lower = std::async(std::launch::async, EncodedStripe, pixels, half, pixels.height - half);
    std::vector<Stripe> stripes = {EncodedStripe(pixels, 0, half)};
    stripes.push_back(lower.get());
    return stripes;
}

std::string AlphaOf(const ScreenPixels& pixels, const Part& part) {
    std::string alpha;
    alpha.reserve(part.width * part.height);
    for (std::size_t y = part.y; y < part.y + part.height; ++y) {
        const std::uint8_t* row = At(pixels, part.x, y);
        for (std::size_t x = 0; x < part.width; ++x) alpha += static_cast<char>(row[x * kBytesPerScreenPixel + 3]);
    }
    return alpha;
}

}  // namespace studio
