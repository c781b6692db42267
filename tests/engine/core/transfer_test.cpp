// transfer_test.cpp - tests the curve of sRGB and its tables.

#include "core/transfer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

#include "core/run.h"

namespace {

using namespace core_image;

double Encoded(double linear) {
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

// Applies a function to a run of one pixel and returns the pixel's color.
float Through(void (*function)(float*, std::size_t), float color, float alpha = 1) {
    const RunMemory memory(1);
    const float pixel[] = {color, 0, 0, alpha};
    ToBlocks(pixel, 1, memory.Run(0));
    function(memory.Run(0), 1);
    return memory.Run(0)[0];
}

double Decoded(double encoded) {
    return encoded <= 0.04045 ? encoded / 12.92 : std::pow((encoded + 0.055) / 1.055, 2.4);
}

// Compares a function of runs with a curve for a million numbers from 0 to 2.
void ExpectCurve(void (*function)(float*, std::size_t), double (*curve)(double)) {
    const RunMemory memory(1);
    std::vector<float> pixels(4 * kRunPixels);
    for (std::size_t start = 0; start < 1000000; start += kRunPixels) {
        const auto number = [&](std::size_t pixel) { return static_cast<float>(start + pixel) / 500000; };
        for (std::size_t pixel = 0; pixel < kRunPixels; ++pixel) {
            pixels[4 * pixel] = number(pixel);
            pixels[4 * pixel + 3] = 1;
        }
        ToBlocks(pixels.data(), kRunPixels, memory.Run(0));
        function(memory.Run(0), kRunPixels);
        FromBlocks(memory.Run(0), kRunPixels, pixels.data());
        for (std::size_t pixel = 0; pixel < kRunPixels; ++pixel) {
            const double expected = curve(number(pixel));
            ASSERT_NEAR(pixels[4 * pixel], expected, 1e-6 * expected) << number(pixel);
        }
    }
}

TEST(TransferTest, EncodingIsWithinAMillionthOfTheCurve) { ExpectCurve(EncodeRun, Encoded); }
TEST(TransferTest, DecodingIsWithinAMillionthOfTheCurve) { ExpectCurve(DecodeRun, Decoded); }

// A row of pixels ends within a run, and nothing beyond it changes.
TEST(TransferTest, RowIsDecodedLikeItsRuns) {
    constexpr std::size_t kCount = kRunPixels + 21;
    std::vector<float> row;
    for (std::size_t pixel = 0; pixel <= kCount; ++pixel) {
        const auto color = static_cast<float>(pixel) / kCount, alpha = pixel % 3 == 0 ? 1 : color;
        row.insert(row.end(), {alpha * color, alpha * 0.3f, 0, alpha});
    }
    const std::vector<float> before = row;
    DecodePremultipliedRow(row.data(), kCount);
    for (std::size_t pixel = 0; pixel < kCount; ++pixel) {
        const float* const encoded = &before[4 * pixel];
        EXPECT_EQ(row[4 * pixel], Through(DecodeRun, encoded[0], encoded[3])) << pixel;
        EXPECT_EQ(row[4 * pixel + 1], Through(DecodeRun, encoded[1], encoded[3])) << pixel;
        EXPECT_EQ(row[4 * pixel + 3], encoded[3]);
    }
    EXPECT_TRUE(std::equal(row.end() - 4, row.end(), before.end() - 4));
}

TEST(TransferTest, NegativeValuesMirrorPositiveOnes) {
    EXPECT_EQ(Through(EncodeRun, -0.3f), -Through(EncodeRun, 0.3f));
    EXPECT_EQ(Through(DecodeRun, -0.3f), -Through(DecodeRun, 0.3f));
    EXPECT_EQ(DecodeSRGB(-0.3f), -DecodeSRGB(0.3f));
    EXPECT_NEAR(Through(DecodeRun, Through(EncodeRun, 3.5f)), 3.5, 1e-5);
}

TEST(TransferTest, ColorsAreUnpremultipliedForTheCurve) {
    EXPECT_NEAR(Through(EncodeRun, 0.1f, 0.4f), 0.4 * Encoded(0.25), 1e-6);
    EXPECT_NEAR(Through(DecodeRun, static_cast<float>(2 * Encoded(0.25)), 2), 0.5, 1e-6);
    EXPECT_EQ(Through(EncodeRun, 0.5f, 0), 0);
}

TEST(TransferTest, BytesAreDecodedByTheCurve) {
    for (int code = 0; code < 256; ++code) {
        EXPECT_NEAR(DecodedBytes()[code], Decoded(code / 255.0), 1e-7);
        EXPECT_EQ(DecodedPremultipliedBytes()[255 * 256 + code], DecodedBytes()[code]);
    }
    EXPECT_EQ(DecodedBytes()[255], 1);
}

TEST(TransferTest, NaNBecomesZero) {
    EXPECT_EQ(Through(EncodeRun, std::nanf("")), 0);
    EXPECT_EQ(Through(DecodeRun, std::nanf("")), 0);
}

}  // namespace
