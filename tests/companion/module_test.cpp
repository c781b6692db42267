// module_test.cpp - the classes that the companion registers, and what their objects release.

#include <cstddef>
#include <string>
#include <vector>

#include "tests/companion/companion_test.h"
#include "tests/companion/platform_side.h"

namespace {

TEST_F(CompanionTest, RegistersItsClassesInOrder) {
    std::vector<std::string> names;
    for (const host::Class* each : host.Modules()[0]->classes) names.push_back(each->Name());
    EXPECT_EQ(names, (std::vector<std::string>{"CIFilterQOR", "CIImageQOR", "CIColorQOR", "CIVectorQOR",
                                               "NSAffineTransformQOR", "CFObjectQOR", "CGColorSpaceQOR",
                                               "CIAttributeQOR", "NSExceptionQOR"}));
}

TEST_F(CompanionTest, EveryClassCreatesAndDestroysAnObject) {
    for (const host::Class* each : host.Modules()[0]->classes) {
        const auto object = host.NewInstance(each->Name());
        EXPECT_EQ(object->references, 1) << each->Name();
    }
}

TEST_F(CompanionTest, ObjectsWithoutAValueReadAsZeroOrNil) {
    EXPECT_EQ(Number(host.NewInstance("CIColorQOR"), "Red"), 0);
    EXPECT_EQ(Numbers(host.NewInstance("CIVectorQOR")), std::vector<double>());
    EXPECT_EQ(Number(host.NewInstance("NSAffineTransformQOR"), "A"), 0);
    EXPECT_FALSE(Object(host.NewInstance("CIImageQOR"), "Extent"));
    EXPECT_EQ(Text(host.NewInstance("CGColorSpaceQOR"), "Name"), "nil");
    EXPECT_EQ(Text(host.NewInstance("CIAttributeQOR"), "Key"), "nil");
}

TEST_F(CompanionTest, FilterObjectReleasesItsFilterAndAttributes) {
    auto object = host.Construct("CIFilterGaussianBlurQOR");
    Object(object, "AttributeinputRadius");
    void* filter = RetainFilter(object.Get());
    void* attributes = RetainAttributes(object.Get());
    const std::size_t attributesBefore = RetainCount(attributes);
    EXPECT_EQ(RetainCount(filter), 2u);
    object = {};
    EXPECT_EQ(RetainCount(filter), 1u);
    EXPECT_EQ(RetainCount(attributes), attributesBefore - 1);
    Release(filter);
    Release(attributes);
}

TEST_F(CompanionTest, AttributeObjectReleasesItsDictionary) {
    const auto filter = host.Construct("CIFilterGaussianBlurQOR");
    auto attribute = Object(filter, "AttributeinputRadius");
    void* dictionary = RetainWrapped(attribute.Get());
    const std::size_t before = RetainCount(dictionary);
    attribute = {};
    EXPECT_EQ(RetainCount(dictionary), before - 1);
    Release(dictionary);
}

TEST_F(CompanionTest, CoreFoundationObjectsHaveTheTag) {
    EXPECT_EQ(CoreFoundationTag(host.NewInstance("CFObjectQOR").Get()), 0x5A564346u);
    EXPECT_EQ(CoreFoundationTag(host.NewInstance("CGColorSpaceQOR").Get()), 0x5A564346u);
}

}  // namespace
