// object_test.cpp - objects, their properties and methods, and exceptions.

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

#include "tests/library/opened_library.h"

namespace {

class LibraryObjectTest : public testing::Test {
  protected:
    OpenedLibrary& library = OpenedLibrary::Get();
    const int64_t before = library.Objects();

    void TearDown() override { EXPECT_EQ(library.Objects(), before); }
};

TEST_F(LibraryObjectTest, NumbersAreSetAndReadByHandle) {
    ZevaObject* blur = library.New("GaussianBlur");
    const ZevaMember* radius = library.Member("GaussianBlur", "radius");
    EXPECT_EQ(library.ZevaSetNumber(blur, radius, 8), kZevaDone);
    ZevaValue value;
    EXPECT_EQ(library.ZevaGet(blur, radius, &value), kZevaDone);
    EXPECT_EQ(value.kind, kZevaNumber);
    EXPECT_EQ(value.as.number, 8);
    library.ZevaRelease(blur);
}

TEST_F(LibraryObjectTest, WrongTypeKeepsTheValue) {
    ZevaObject* blur = library.New("GaussianBlur");
    const ZevaMember* radius = library.Member("GaussianBlur", "radius");
    ZevaValue text = {};
    text.kind = kZevaText;
    text.size = 3;
    text.as.text = "abc";
    EXPECT_EQ(library.ZevaSet(blur, radius, &text), kZevaRefused);
    EXPECT_EQ(library.Message(),
              "CIFilterGaussianBlurQOR.inputRadius: expected double, got string \"abc\"; the property keeps its value");
    ZevaValue value;
    EXPECT_EQ(library.ZevaGet(blur, radius, &value), kZevaDone);
    EXPECT_EQ(value.as.number, 10);
    library.ZevaRelease(blur);
}

TEST_F(LibraryObjectTest, MemberOfAnotherClassIsRefused) {
    ZevaObject* blur = library.New("GaussianBlur");
    EXPECT_EQ(library.ZevaSetNumber(blur, library.Member("Bloom", "radius"), 1), kZevaRefused);
    EXPECT_EQ(library.Message(),
              "CIFilterBloomQOR.inputRadius: expected an object of the class CIFilterBloomQOR, got "
              "CIFilterGaussianBlurQOR");
    EXPECT_EQ(library.ZevaSetNumber(nullptr, library.Member("Bloom", "radius"), 1), kZevaRefused);
    EXPECT_EQ(library.Message(), "CIFilterBloomQOR.inputRadius: there is no object");
    EXPECT_EQ(library.ZevaSetNumber(blur, library.Member("CIImageQOR", "ToPNG"), 1), kZevaRefused);
    EXPECT_EQ(library.Message(), "CIImageQOR.ToPNG: it is a method, not a property");
    library.ZevaRelease(blur);
}

// The exceptions of the platform are raised inside Foundation, which finds the functions that raise by its search
// order.
TEST_F(LibraryObjectTest, UndefinedKeyOfALateLibraryIsAnException) {
    ZevaObject* blur = library.New("GaussianBlur");
    ZevaValue color, image;
    ASSERT_EQ(library.ZevaValueFromText("CIColorQOR", "lime", "color", &color), kZevaDone);
    ASSERT_EQ(library.ZevaCall(nullptr, library.Member("CIImageQOR", "FromColor", true), &color, 1, &image), kZevaDone);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(library.ZevaSet(blur, library.Member("GaussianBlur", "outputImage"), &image), kZevaRaised);
        EXPECT_STREQ(library.ZevaLastError()->className, "NSExceptionQOR");
        EXPECT_NE(library.Message().find("setValue:forUndefinedKey:"), std::string::npos) << library.Message();
    }
    EXPECT_EQ(library.ZevaSetNumber(blur, library.Member("GaussianBlur", "radius"), 4), kZevaDone);
    for (ZevaValue* value : {&image, &color}) library.ZevaReleaseValue(value);
    library.ZevaRelease(blur);
}

TEST_F(LibraryObjectTest, MethodsTakeTextsAndRaise) {
    ZevaValue path = {};
    path.kind = kZevaText;
    path.as.text = "missing.jpg and more";
    path.size = static_cast<int32_t>(std::strlen("missing.jpg"));
    ZevaValue image;
    EXPECT_EQ(library.ZevaCall(nullptr, library.Member("CIImageQOR", "Open", true), &path, 1, &image), kZevaRaised);
    EXPECT_EQ(image.kind, kZevaNil);
    EXPECT_STREQ(library.ZevaLastError()->className, "RuntimeException");
    EXPECT_EQ(library.Message(), "RuntimeException: missing.jpg: no such file or directory; no image was opened");
}

TEST_F(LibraryObjectTest, TextsBecomeValuesOfAType) {
    ZevaValue color;
    ASSERT_EQ(library.ZevaValueFromText("CIColorQOR", "lime", "color", &color), kZevaDone) << library.Message();
    ASSERT_EQ(color.kind, kZevaObject);
    EXPECT_STREQ(color.isa->name, "CIColorQOR");
    EXPECT_EQ(library.ZevaClassOf(color.as.object), color.isa);
    ZevaValue green;
    EXPECT_EQ(library.ZevaGet(color.as.object, library.Member("CIColorQOR", "Green"), &green), kZevaDone);
    EXPECT_EQ(green.as.number, 1);
    library.ZevaReleaseValue(&color);
    EXPECT_EQ(library.ZevaValueFromText("CIColorQOR", "orangish", "color", &color), kZevaRefused);
    EXPECT_EQ(library.Message().substr(0, 6), "color:");
}

TEST_F(LibraryObjectTest, ReadValuesAreTheBytesOfABlockAndBack) {
    const std::array<float, 8> pixels = {0.25f, 0.5f, 0.75f, 1, 0, 0.125f, 0, 0.5f};
    ZevaObject* block = nullptr;
    ASSERT_EQ(library.ZevaNewBlock(pixels.data(), sizeof pixels, nullptr, nullptr, &block), kZevaDone);
    std::array<ZevaValue, 3> arguments = {};
    arguments[0].kind = kZevaObject;
    arguments[0].as.object = block;
    arguments[1].kind = arguments[2].kind = kZevaInteger;
    arguments[1].as.integer = 2;
    arguments[2].as.integer = 1;
    ZevaValue image, rectangle, values;
    ASSERT_EQ(library.ZevaCall(nullptr, library.Member("CIImageQOR", "FromValues", true), arguments.data(), 3, &image),
              kZevaDone)
        << library.Message();
    ASSERT_EQ(library.ZevaValueFromText("CIVectorQOR", "0,0,2,1", "rectangle", &rectangle), kZevaDone);
    ASSERT_EQ(library.ZevaCall(image.as.object, library.Member("CIImageQOR", "Values"), &rectangle, 1, &values),
              kZevaDone);
    void* bytes = nullptr;
    int32_t size = 0;
    ASSERT_EQ(library.ZevaBlockBytes(values.as.object, &bytes, &size), kZevaDone);
    ASSERT_EQ(size, static_cast<int32_t>(sizeof pixels));
    EXPECT_EQ(std::memcmp(bytes, pixels.data(), sizeof pixels), 0);
    for (ZevaValue* value : {&values, &rectangle, &image}) library.ZevaReleaseValue(value);
    EXPECT_EQ(library.ZevaBlockBytes(nullptr, &bytes, &size), kZevaRefused);
    library.ZevaRelease(block);
}

TEST_F(LibraryObjectTest, BlocksHaveNoNegativeSize) {
    ZevaObject* block = nullptr;
    EXPECT_EQ(library.ZevaNewBlock(nullptr, -1, nullptr, nullptr, &block), kZevaRefused);
    EXPECT_EQ(library.ZevaNewBlock(nullptr, INT64_C(1) << 31, nullptr, nullptr, &block), kZevaRefused);
    EXPECT_EQ(block, nullptr);
}

}  // namespace
