// transfer.cpp - the curve and its tables.

#include "core/transfer.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

#include "core/run.h"

namespace core_image {
namespace {

double Decode(double encoded) {
    if (encoded < 0) return -Decode(-encoded);
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

}  // namespace

void DecodePremultipliedRow(float* pixels, std::size_t count) {
    alignas(64) float blocks[kRunFloats];
    for (std::size_t done = 0; done < count; done += kRunPixels) {
        const std::size_t length = std::min(kRunPixels, count - done);
        float* const run = pixels + done * kFloatsPerPixel;
        ToBlocks(run, length, blocks);
        DecodeRun(blocks, length);
        FromBlocks(blocks, length, run);
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
