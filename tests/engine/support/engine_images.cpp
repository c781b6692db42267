// engine_images.cpp - makes random bitmaps and renders regions to floats.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>

#include "support/engine_images.h"

using namespace core_image;

ImageRef RandomImage(std::size_t width, std::size_t height) {
    std::vector<float> pixels(width * height * 4);
    std::uint32_t state = 12345;
    for (std::size_t index = 0; index < pixels.size(); index += 4) {
        const auto next = [&] {
            state = state * 1664525 + 1013904223;
            return static_cast<float>(state >> 8) / (1 << 24);
        };
        const float alpha = index % 3 == 0 ? 1 : next();
        for (std::size_t channel = 0; channel < 3; ++channel) pixels[index + channel] = next() * alpha;
        pixels[index + 3] = alpha;
    }
    return ImageOf(width, height, std::move(pixels));
}

ImageRef ImageOf(std::size_t width, std::size_t height, std::vector<float> floats) {
    auto pixels = std::make_shared<std::vector<float>>(std::move(floats));
    BitmapSource source;
    source.pixels = pixels->data();
    source.width = width;
    source.height = height;
    source.bytesPerRow = width * 4 * sizeof(float);
    source.format = PixelFormat::kFloats;
    source.alpha = Alpha::kPremultiplied;
    source.transfer = Transfer::kLinear;
    return MakeBitmapImage(source, pixels);
}

ImageRef BlackAndWhite() {
    static const std::uint8_t kBytes[] = {0, 0, 0, 255, 255, 255, 255, 255};
    BitmapSource source;
    source.pixels = kBytes;
    source.width = 2;
    source.height = 1;
    source.bytesPerRow = 8;
    return MakeBitmapImage(source, nullptr);
}

std::vector<float> Pixels(const ImageRef& image, const Region& region, const Cut& cut) {
    std::vector<float> pixels(static_cast<std::size_t>(region.width * region.height) * 4, -1.0f);
    BitmapDestination destination;
    destination.pixels = pixels.data();
    destination.bytesPerRow =
        static_cast<std::ptrdiff_t>(region.width) * 4 * static_cast<std::ptrdiff_t>(sizeof(float));
    destination.format = PixelFormat::kFloats;
    destination.transfer = Transfer::kLinear;
    Render(image, region, destination, cut);
    return pixels;
}
