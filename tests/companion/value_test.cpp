// value_test.cpp - colors, vectors, transforms and color spaces.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/companion/companion_test.h"
#include "tests/companion/platform_side.h"

namespace {

using host::ObjectReference;
using host::TextValue;
using host::Value;

class ValueTest : public CompanionTest {
  protected:
    ObjectReference FromNumbers(const char* list) { return Shared("CIVectorQOR", "FromNumbers", {TextValue(list)}); }
};

TEST_F(ValueTest, ColorKeepsItsComponents) {
    const auto color = Shared("CIColorQOR", "RGBA", {0.25, 0.5, 0.75, 1.5});
    EXPECT_EQ(Number(color, "Red"), 0.25);
    EXPECT_EQ(Number(color, "Green"), 0.5);
    EXPECT_EQ(Number(color, "Blue"), 0.75);
    EXPECT_EQ(Number(color, "Alpha"), 1.5);
    EXPECT_EQ(RetainCountOfWrapped(color.Get()), 1u);
}

TEST_F(ValueTest, PointsAndRectanglesAreVectors) {
    EXPECT_EQ(Numbers(Shared("CIVectorQOR", "Point", {150.0, -2.5})), (std::vector<double>{150, -2.5}));
    EXPECT_EQ(Numbers(Shared("CIVectorQOR", "Rectangle", {1.0, 2.0, -3.0, 4.0})), (std::vector<double>{1, 2, -3, 4}));
}

TEST_F(ValueTest, FromNumbersReadsAList) {
    EXPECT_EQ(Numbers(FromNumbers("0 0.25,-1e2 , 4\t5\n6")), (std::vector<double>{0, 0.25, -100, 4, 5, 6}));
    EXPECT_EQ(Numbers(FromNumbers(" 7 ")), std::vector<double>{7});
    EXPECT_EQ(RetainCountOfWrapped(FromNumbers("1 2").Get()), 1u);
}

TEST_F(ValueTest, FromNumbersRaisesForAnythingElse) {
    const auto refusal = [&](const char* list) { return TextOfError([&] { FromNumbers(list); }); };
    EXPECT_EQ(refusal("1 2 three"),
              "RuntimeException: CIVectorQOR.FromNumbers: expected a number after 2 numbers, found "
              "\" three\"; no vector was created");
    EXPECT_EQ(refusal(""),
              "RuntimeException: CIVectorQOR.FromNumbers: expected a number after 0 numbers, found \"\"; no vector was "
              "created");
    EXPECT_EQ(TextOfError([&] { Shared("CIVectorQOR", "FromNumbers", {Value()}); }),
              "RuntimeException: CIVectorQOR.FromNumbers: the list is nil; no vector was created");
}

TEST_F(ValueTest, IndexOutsideAVectorRaises) {
    const auto point = Shared("CIVectorQOR", "Point", {1.0, 2.0});
    for (const std::int32_t index : {-1, 2}) {
        const Value arguments[] = {index};
        EXPECT_EQ(TextOfError([&] { host.Call(point.Get(), "ValueAt", arguments); }),
                  "RuntimeException: CIVectorQOR.ValueAt: index " + std::to_string(index) + " is outside 0...1");
    }
}

TEST_F(ValueTest, TransformKeepsItsElementsInOrder) {
    const auto transform = Shared("NSAffineTransformQOR", "Make", {1.0, 2.0, 3.0, 4.0, 5.0, 6.0});
    const char* const names[] = {"A", "B", "C", "D", "TX", "TY"};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(Number(transform, names[i]), i + 1) << names[i];
    EXPECT_EQ(RetainCountOfWrapped(transform.Get()), 1u);
}

TEST_F(ValueTest, ColorSpaceHasAShortAndALongName) {
    const auto space = Shared("CGColorSpaceQOR", "Named", {TextValue("LinearSRGB")});
    EXPECT_EQ(Text(space, "Name"), "kCGColorSpaceLinearSRGB");
    const auto same = Shared("CGColorSpaceQOR", "Named", {TextValue("kCGColorSpaceLinearSRGB")});
    EXPECT_EQ(Text(same, "Name"), "kCGColorSpaceLinearSRGB");
    EXPECT_EQ(CoreFoundationTag(space.Get()), 0x5A564346u);
}

TEST_F(ValueTest, UnknownColorSpaceRaises) {
    EXPECT_EQ(TextOfError([&] { Shared("CGColorSpaceQOR", "Named", {TextValue("Sepia")}); }),
              "RuntimeException: CGColorSpaceQOR.Named: no color space is called \"Sepia\"");
    EXPECT_EQ(TextOfError([&] { Shared("CGColorSpaceQOR", "Named", {Value()}); }),
              "RuntimeException: CGColorSpaceQOR.Named: no color space is called \"\"");
}

TEST_F(ValueTest, ValueObjectsReleaseTheWrappedObject) {
    ObjectReference objects[] = {Shared("CIColorQOR", "RGBA", {0.0, 0.0, 0.0, 1.0}),
                                 Shared("CIVectorQOR", "Point", {1.0, 2.0}),
                                 Shared("NSAffineTransformQOR", "Make", {1.0, 0.0, 0.0, 1.0, 0.0, 0.0}),
                                 Shared("CGColorSpaceQOR", "Named", {TextValue("sRGB")})};
    for (ObjectReference& object : objects) {
        void* wrapped = RetainWrapped(object.Get());
        const std::size_t before = RetainCount(wrapped);
        object = {};
        EXPECT_EQ(RetainCount(wrapped), before - 1);
        Release(wrapped);
    }
}

TEST_F(ValueTest, FiltersStoreAndReturnValues) {
    const auto filter = host.Construct("CIFilterFalseColorQOR");
    host.Set(filter.Get(), "inputColor0", Shared("CIColorQOR", "RGBA", {0.25, 0.5, 0.75, 1.0}));
    EXPECT_EQ(Number(Object(filter, "inputColor0"), "Blue"), 0.75);
    const auto cube = host.Construct("CIFilterColorCubeWithColorSpaceQOR");
    host.Set(cube.Get(), "inputColorSpace", Shared("CGColorSpaceQOR", "Named", {TextValue("sRGB")}));
    EXPECT_EQ(Text(Object(cube, "inputColorSpace"), "Name"), "kCGColorSpaceSRGB");
}

}  // namespace
