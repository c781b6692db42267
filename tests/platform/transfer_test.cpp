// transfer_test.cpp - the curve of sRGB and its tables.

#include "core/transfer.h"

#include <gtest/gtest.h>

#include <cmath>

namespace {

using namespace core_image;

double Encoded(double linear) {
    return linear <= 0.0031308 ? 12.92 * linear : 1.055 * std::pow(linear, 1 / 2.4) - 0.055;
}

TEST(TransferTest, EncodingIsWithinAMillionthOfTheCurve) {
    for (int step = 0; step <= 2000000; ++step) {
        const float linear = static_cast<float>(step) / 1000000;
        ASSERT_NEAR(EncodeSRGB(linear), Encoded(linear), 1e-6) << linear;
    }
}

TEST(TransferTest, NegativeValuesMirrorPositiveOnes) {
    EXPECT_EQ(EncodeSRGB(-0.3f), -EncodeSRGB(0.3f));
    EXPECT_EQ(DecodeSRGB(-0.3f), -DecodeSRGB(0.3f));
    EXPECT_NEAR(DecodeSRGB(EncodeSRGB(3.5f)), 3.5, 1e-5);
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

TEST(TransferTest, WhatIsNoNumberStaysNone) {
    EXPECT_TRUE(std::isnan(EncodeSRGB(std::nanf(""))));
    EXPECT_TRUE(std::isinf(EncodeSRGB(INFINITY)));
}

}  // namespace
