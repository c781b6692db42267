// preview.h - pixels for the screen in few bytes, for a picture that is shown for a moment while somebody drags.
//
// Sending all pixels takes several times as long as rendering them, because the browser copies them from process to
// process. A preview consists of JPEGs of the colors, premultiplied by alpha, and of the alpha of the parts that are
// translucent, which a JPEG cannot hold. It has two stripes, so that two threads make them and two read them.
//
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace studio {

// Pixels for the screen: RGBA with straight alpha, which is how a page's canvas takes them, top row first.
struct ScreenPixels {
    const std::uint8_t* bytes;
    std::size_t width;
    std::size_t height;
};

struct Part {
    std::size_t x, y, width, height;
    bool isClear;  // whether all of it is transparent; otherwise some of it is translucent
};

// Some rows of a picture.
struct Stripe {
    std::size_t y, height;
    std::string jpeg;
    std::vector<Part> parts;  // contain every pixel that is not opaque, and do not overlap
};

// Returns the stripes of a preview; none for a picture that is small, or too large for a JPEG. The process ends when
// there is no memory.
[[nodiscard]] std::vector<Stripe> EncodePreview(const ScreenPixels& pixels);

// Returns the alpha of a part, a byte per pixel.
[[nodiscard]] std::string AlphaOf(const ScreenPixels& pixels, const Part& part);

}  // namespace studio
