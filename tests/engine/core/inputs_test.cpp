// inputs_test.cpp - inputs read by key, made finite, and the images that are given back unchanged.

#include "core/inputs.h"

#include <gtest/gtest.h>

#include <cmath>

#include "core/cropped.h"
#include "support/declared_keys.h"
#include "support/engine_images.h"

namespace {

using namespace core_image;

constexpr double kEndless = std::numeric_limits<double>::infinity();

double Number(double value) {
    InputValue input;
    input.key = "inputRadius";
    input.number = value;
    return Inputs(&input, 1).GetNumber("inputRadius");
}

TEST(InputsTest, NumbersAreFinite) {
    EXPECT_EQ(Number(2.5), 2.5);
    EXPECT_EQ(Number(std::nan("")), 0);
    EXPECT_EQ(Number(kEndless), kLargestNumber);
    EXPECT_EQ(Number(-1e300), -kLargestNumber);
}

TEST(InputsTest, ElementsBeyondTheLastReadAsZero) {
    const double elements[] = {1, std::nan(""), -kEndless};
    InputValue input;
    input.key = "inputCenter";
    input.elements = elements;
    input.count = 3;
    const Inputs inputs(&input, 1);
    EXPECT_EQ(inputs.GetElement("inputCenter", 0), 1);
    EXPECT_EQ(inputs.GetElement("inputCenter", 1), 0);
    EXPECT_EQ(inputs.GetElement("inputCenter", 2), -kLargestNumber);
    EXPECT_EQ(inputs.GetElement("inputCenter", 3), 0);
}

TEST(InputsTest, DeclaredKeysWithoutAValueReadAsZeroOrNull) {
    InputValue input;
    input.key = "inputOther";
    const Inputs inputs(&input, 1);
    EXPECT_EQ(inputs.GetNumber("inputOther"), 0);
    EXPECT_EQ(inputs.GetElement("inputOther", 0), 0);
    EXPECT_EQ(inputs.GetRectangle("inputOther"), Extent{});
    EXPECT_EQ(inputs.GetImage("inputOther"), nullptr);
    EXPECT_EQ(inputs.GetFloats("inputOther", 1), nullptr);
    EXPECT_EQ(inputs.GetSpace("inputOther"), ColorSpace::kNone);
    EXPECT_EQ(inputs.GetProfile("inputOther").bytes, nullptr);
}

TEST(InputsTest, UndeclaredKeysThrowWhicheverWayTheyAreRead) {
    InputValue input;
    input.key = "inputRadius";
    const Inputs inputs(&input, 1);
    EXPECT_THROW(inputs.GetNumber("inputRadios"), UndeclaredKey);
    EXPECT_THROW(inputs.GetElement("inputRadios", 0), UndeclaredKey);
    EXPECT_THROW(inputs.GetRectangle("inputRadios"), UndeclaredKey);
    EXPECT_THROW(inputs.GetColor("inputRadios"), UndeclaredKey);
    EXPECT_THROW(inputs.GetFloats("inputRadios", 1), UndeclaredKey);
    EXPECT_THROW(inputs.GetSpace("inputRadios"), UndeclaredKey);
    EXPECT_THROW(inputs.GetProfile("inputRadios"), UndeclaredKey);
    EXPECT_THROW(inputs.GetImage("inputRadios"), UndeclaredKey);
}

TEST(InputsTest, ColorsAreLinearizedAndPremultiplied) {
    const double components[] = {1, 0.5, -0.5, 0.5};
    const Pixel pixel = PixelOfColor(components);
    EXPECT_FLOAT_EQ(pixel.red, 0.5f);
    EXPECT_FLOAT_EQ(pixel.green, 0.5f * 0.21404114f);
    EXPECT_FLOAT_EQ(pixel.blue, -pixel.green);
    EXPECT_EQ(pixel.alpha, 0.5f);
}

TEST(InputsTest, RectanglesKeepTheirInfiniteEdges) {
    EXPECT_EQ(ExtentOfRectangle(0.5, -0.5, 1, 1), (Extent{0, -1, 2, 1}));
    EXPECT_EQ(ExtentOfRectangle(0, 0, 1e300, 5), (Extent{0, 0, kEndless, 5}));
    EXPECT_TRUE(ExtentOfRectangle(-1e300, -1e300, 1.7e308, 1.7e308).IsInfinite());
    EXPECT_EQ(ExtentOfRectangle(std::nan(""), 0, 5, 5), Extent{});
    EXPECT_EQ(ExtentOfRectangle(3, 3, 0, 5), Extent{});
}

TEST(InputsTest, WhatChangesNothingGivesTheVeryInput) {
    const ImageRef image = RandomImage(4, 4);
    EXPECT_EQ(MakeCroppedImage(image, Extent::Infinite()), image);
    EXPECT_EQ(MakeCroppedImage(image, {0, 0, 4, 4}), image);
    EXPECT_NE(MakeCroppedImage(image, {0, 0, 4, 3}), image);
    std::vector<InputValue> values(3);
    values[0].key = "inputImage";
    values[0].image = &image;
    values[1] = {"inputSaturation", 1};
    values[2] = {"inputContrast", 1};
    EXPECT_EQ(CallFilter("CIColorControls", values), image);
}

}  // namespace
