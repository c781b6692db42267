// lossy_coding.cpp - compresses and decompresses with libwebp, which stores colors that are not premultiplied.

#include "lossy_coding.h"

#include <webp/decode.h>
#include <webp/encode.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace golden {
namespace {

// Changes the colors of a picture, given the bytes of color and alpha.
template <class Function>
Picture WithColors(Picture picture, const Function& function) {
    for (std::size_t index = 0; index < picture.pixels.size(); index += 4) {
        std::uint8_t* pixel = &picture.pixels[index];
        for (int channel = 0; channel < 3; ++channel)
            pixel[channel] = static_cast<std::uint8_t>(function(pixel[channel], pixel[3]));
    }
    return picture;
}

bool IsOpaque(const Picture& picture) {
    for (std::size_t index = 3; index < picture.pixels.size(); index += 4)
        if (picture.pixels[index] != 255) return false;
    return true;
}

struct FreeWebP {
    void operator()(void* memory) const { WebPFree(memory); }
};

// Compresses straight pixels; empty when memory is short.
std::vector<std::uint8_t> Compressed(const Picture& straight, const Lossy& lossy) {
    WebPConfig config;
    WebPPicture picture;
    if (!WebPConfigInit(&config) || !WebPPictureInit(&picture)) return {};
    config.quality = lossy.quality;
    config.method = lossy.method;
    picture.width = static_cast<int>(straight.width);
    picture.height = static_cast<int>(straight.height);
    WebPMemoryWriter writer;
    WebPMemoryWriterInit(&writer);
    picture.writer = WebPMemoryWrite;
    picture.custom_ptr = &writer;
    const auto import = IsOpaque(straight) ? WebPPictureImportRGBX : WebPPictureImportRGBA;
    std::vector<std::uint8_t> bytes;
    if (import(&picture, straight.pixels.data(), picture.width * 4) && WebPEncode(&config, &picture))
        bytes.assign(writer.mem, writer.mem + writer.size);
    WebPPictureFree(&picture);
    WebPMemoryWriterClear(&writer);
    return bytes;
}

}  // namespace

std::optional<Picture> Coded(const Picture& picture, const Lossy& lossy) {
    const Picture straight =
        WithColors(picture, [](int color, int alpha) { return alpha == 0 ? 0 : (color * 255 + alpha / 2) / alpha; });
    const std::vector<std::uint8_t> bytes = Compressed(straight, lossy);
    int width = 0, height = 0;
    const std::unique_ptr<std::uint8_t[], FreeWebP> decoded(
        WebPDecodeRGBA(bytes.data(), bytes.size(), &width, &height));
    if (decoded == nullptr) return std::nullopt;
    Picture coded{static_cast<std::size_t>(width), static_cast<std::size_t>(height), {}};
    coded.pixels.assign(decoded.get(), decoded.get() + coded.width * coded.height * 4);
    return WithColors(std::move(coded), [](int color, int alpha) { return (color * alpha + 127) / 255; });
}

}  // namespace golden
