// transfer_test.cpp - the curve of sRGB and its tables.

#include "core/transfer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "core/run.h"

namespace {

using namespace core_image;

double Encoded(double linear) {
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

// What a function makes of the color of a run of one pixel.
float Through(void (*function)(float*, std::size_t), float color, float alpha = 1) {
    const RunMemory memory(1);
    const float pixel[] = {color, 0, 0, alpha};
    ToBlocks(pixel, 1, memory.Run(0));
    function(memory.Run(0), 1);
    return memory.Run(0)[0];
}

TEST(TransferTest, EncodingIsWithinAMillionthOfTheCurve) {
    const RunMemory memory(1);
    std::vector<float> pixels(4 * kRunPixels);
    for (std::size_t start = 0; start < 1000000; start += kRunPixels) {
        const auto linear = [&](std::size_t pixel) { return static_cast<float>(start + pixel) / 500000; };
        for (std::size_t pixel = 0; pixel < kRunPixels; ++pixel) {
            pixels[4 * pixel] = linear(pixel);
            pixels[4 * pixel + 3] = 1;
        }
        ToBlocks(pixels.data(), kRunPixels, memory.Run(0));
        EncodeRun(memory.Run(0), kRunPixels);
        FromBlocks(memory.Run(0), kRunPixels, pixels.data());
        for (std::size_t pixel = 0; pixel < kRunPixels; ++pixel)
            ASSERT_NEAR(pixels[4 * pixel], Encoded(linear(pixel)), 1e-6) << linear(pixel);
    }
}

TEST(TransferTest, NegativeValuesMirrorPositiveOnes) {
    EXPECT_EQ(Through(EncodeRun, -0.3f), -Through(EncodeRun, 0.3f));
    EXPECT_EQ(Through(DecodeRun, -0.3f), -Through(DecodeRun, 0.3f));
    EXPECT_EQ(DecodeSRGB(-0.3f), -DecodeSRGB(0.3f));
    EXPECT_NEAR(Through(DecodeRun, Through(EncodeRun, 3.5f)), 3.5, 1e-5);
}

TEST(TransferTest, ColorsAreDividedByAlphaForTheCurve) {
    EXPECT_NEAR(Through(EncodeRun, 0.1f, 0.4f), 0.4 * Encoded(0.25), 1e-6);
    EXPECT_NEAR(Through(DecodeRun, static_cast<float>(2 * Encoded(0.25)), 2), 0.5, 1e-6);
    EXPECT_EQ(Through(EncodeRun, 0.5f, 0), 0);
}

TEST(TransferTest, BytesAreDecodedByTheCurve) {
    for (int code = 0; code < 256; ++code) {
        const double encoded = code / 255.0;
        const double light = encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
        EXPECT_NEAR(DecodedBytes()[code], light, 1e-7);
        EXPECT_EQ(DecodedPremultipliedBytes()[255 * 256 + code], DecodedBytes()[code]);
    }
    EXPECT_EQ(DecodedBytes()[255], 1);
}

TEST(TransferTest, WhatIsNoNumberBecomesBlack) {
    EXPECT_EQ(Through(EncodeRun, std::nanf("")), 0);
    EXPECT_EQ(Through(DecodeRun, std::nanf("")), 0);
}

}  // namespace
