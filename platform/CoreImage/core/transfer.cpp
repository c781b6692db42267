// transfer.cpp - the curve and its tables.

#include "core/transfer.h"

#include <array>
#include <cmath>
#include <vector>

namespace core_image {
namespace {

double Decode(double encoded) {
    if (encoded < 0) return -Decode(-encoded);
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

// The curved part of the decoding function from 0 to 1, in equal pieces.
struct DecodingTable {
    static constexpr std::size_t kPieces = 4096;
    static constexpr float kStraight = 0.04045f;

    struct Piece {
        float start;
        float rise;
    };
    std::array<Piece, kPieces> pieces;

    DecodingTable() {
        for (std::size_t index = 0; index < kPieces; ++index) {
            const double start = Decode(static_cast<double>(index) / kPieces);
            const double end = Decode(static_cast<double>(index + 1) / kPieces);
            pieces[index] = {static_cast<float>(start), static_cast<float>(end - start)};
        }
    }

    float LightOf(float encoded) const {
        if (encoded >= 0 && encoded < kStraight) return encoded * (1 / 12.92f);
        if (!(encoded > 0 && encoded < 1)) return DecodeSRGB(encoded);
        const float place = encoded * kPieces;
        const int index = static_cast<int>(place);
        const Piece& piece = pieces[static_cast<std::size_t>(index)];
        return piece.start + piece.rise * (place - static_cast<float>(index));
    }
};

}  // namespace

void DecodePremultipliedRow(float* pixels, std::size_t count) {
    static const DecodingTable table;
    for (float* pixel = pixels; pixel != pixels + count * 4; pixel += 4) {
        const float alpha = pixel[3];
        for (int channel = 0; channel < 3; ++channel) {
            if (alpha == 1) {
                pixel[channel] = table.LightOf(pixel[channel]);
            } else {
                pixel[channel] = alpha == 0 ? 0 : table.LightOf(pixel[channel] / alpha) * alpha;
            }
        }
    }
}

float DecodeSRGB(float encoded) { return static_cast<float>(Decode(encoded)); }

const float* DecodedBytes() {
    static const auto table = [] {
        std::array<float, 256> values;
        for (int code = 0; code < 256; ++code)
            values[static_cast<std::size_t>(code)] = static_cast<float>(Decode(code / 255.0));
        return values;
    }();
    return table.data();
}

const float* DecodedPremultipliedBytes() {
    static const auto table = [] {
        std::vector<float> values(256 * 256, 0.0f);
        for (int alpha = 1; alpha < 256; ++alpha) {
            for (int code = 0; code < 256; ++code) {
                const double light = Decode(static_cast<double>(code) / alpha) * alpha / 255;
                values[static_cast<std::size_t>(alpha * 256 + code)] = static_cast<float>(light);
            }
        }
        return values;
    }();
    return table.data();
}

}  // namespace core_image
