// class_test.cpp - finding classes and members, and what their handles tell.

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "tests/library/opened_library.h"
#include "tests/support/catalogue_counts.h"

namespace {

class LibraryClassTest : public testing::Test {
  protected:
    OpenedLibrary& library = OpenedLibrary::Get();

    std::string RefusedClass(const char* name) {
        const ZevaClass* isa = nullptr;
        EXPECT_EQ(library.ZevaFindClass(name, &isa), kZevaRefused);
        EXPECT_EQ(isa, nullptr);
        return library.Message();
    }

    std::string RefusedMember(const char* className, const char* name) {
        const ZevaMember* member = nullptr;
        EXPECT_EQ(library.ZevaFindMember(library.Class(className), name, 0, &member), kZevaRefused);
        EXPECT_EQ(member, nullptr);
        return library.Message();
    }

    void LoadSpellings() {
        static const bool loaded = library.ZevaLoadModule(ZEVA_SPELLINGS_MODULE) == kZevaDone;
        ASSERT_TRUE(loaded) << library.Message();
    }
};

TEST_F(LibraryClassTest, EachSpellingOfAFilterIsTheSameHandle) {
    const ZevaClass* blur = library.Class("CIFilterGaussianBlurQOR");
    for (const char* name : {"GaussianBlur", "CIGaussianBlur", "gaussian_blur"}) EXPECT_EQ(library.Class(name), blur);
    EXPECT_STREQ(blur->name, "CIFilterGaussianBlurQOR");
    EXPECT_STREQ(blur->title, "GaussianBlur");
    EXPECT_STREQ(blur->shortName, "gaussian_blur");
    EXPECT_STREQ(blur->superclass->name, "CIFilterQOR");
    EXPECT_EQ(blur->recordVersion, 12);
}

TEST_F(LibraryClassTest, MembersHaveShortNamesWithoutInput) {
    const struct {
        const char *className, *name, *shortName;
    } names[] = {
        {"GaussianBlur", "inputRadius", "radius"},
        {"GaussianBlur", "AttributeinputRadius", "attribute_radius"},
        {"GaussianBlur", "outputImage", "output_image"},
        {"CMYKHalftone", "inputUCR", "ucr"},
        {"ColorMatrix", "inputAVector", "a_vector"},
        {"FourfoldTranslatedTile", "inputAcuteAngle", "acute_angle"},
        {"CIImageQOR", "ToPNG", "to_png"},
        {"CIImageQOR", "SaveWithQuality", "save_with_quality"},
        {"NSAffineTransformQOR", "TX", "tx"},
        {"GaussianBlur", "DisplayName", "display_name"},
    };
    for (const auto& each : names) {
        const ZevaMember* member = library.Member(each.className, each.name);
        ASSERT_NE(member, nullptr) << each.name;
        EXPECT_STREQ(member->shortName, each.shortName);
        EXPECT_EQ(library.Member(each.className, each.shortName), member);
    }
}

TEST_F(LibraryClassTest, MembersTellTheirDeclaration) {
    const ZevaMember* save = library.Member("CIImageQOR", "SaveInWorkingSpace");
    EXPECT_EQ(save->kind, kZevaMethod);
    ASSERT_EQ(save->parameterCount, 2);
    EXPECT_STREQ(save->parameters[0].type.word, "string");
    EXPECT_STREQ(save->parameters[1].shortName, "working_space");
    EXPECT_STREQ(save->parameters[1].type.className, "CGColorSpaceQOR");
    EXPECT_EQ(save->result.kind, kZevaNil);
    EXPECT_EQ(library.Member("CIImageQOR", "Extent")->isReadOnly, 1);
    EXPECT_EQ(library.Member("GaussianBlur", "radius")->isReadOnly, 0);
    EXPECT_EQ(library.Member("CIImageQOR", "Open", true)->isShared, 1);
}

TEST_F(LibraryClassTest, UnknownNamesAreRefusedWithASuggestion) {
    EXPECT_EQ(RefusedClass("gausian_blur"), "class gausian_blur: there is no such class, did you mean gaussian_blur");
    EXPECT_EQ(RefusedClass("GausianBlur"), "class GausianBlur: there is no such class, did you mean GaussianBlur");
    EXPECT_EQ(RefusedClass(""), "class '': expected the name of a class");
    EXPECT_EQ(RefusedMember("GaussianBlur", "radus"),
              "CIFilterGaussianBlurQOR.radus: the class has no such member, did you mean radius");
}

TEST_F(LibraryClassTest, AmbiguousNamesAreRefusedWithTheFullNames) {
    LoadSpellings();
    EXPECT_EQ(RefusedClass("wide_blur"),
              "class wide_blur: the name is ambiguous, expected one of CIFilterWideBlurQOR and CIFilterWide_BlurQOR");
    EXPECT_EQ(RefusedMember("CIFilterWideBlurQOR", "size"),
              "CIFilterWideBlurQOR.size: the name is ambiguous, expected one of inputSize and Size");
    EXPECT_STREQ(library.Class("CIFilterWide_BlurQOR")->name, "CIFilterWide_BlurQOR");
    EXPECT_STREQ(library.Member("CIFilterWideBlurQOR", "Size")->name, "Size");
    EXPECT_STREQ(library.Member("CIFilterWideBlurQOR", "far_away")->name, "FarAway");
}

TEST_F(LibraryClassTest, NextClassGivesEachClassOnce) {
    std::size_t filters = 0;
    for (const ZevaClass* each = library.ZevaNextClass(nullptr); each != nullptr; each = library.ZevaNextClass(each)) {
        const bool isOfModule = each->superclass != nullptr && std::string(each->superclass->name) == "CIFilterQOR";
        if (isOfModule) ++filters;
    }
    EXPECT_EQ(filters, CatalogueCount("classes"));
}

TEST_F(LibraryClassTest, DescriptionHasUnitsDefaultsAndRanges) {
    ZevaValue text;
    ASSERT_EQ(library.ZevaDescribeClass(library.Class("Bloom"), &text), kZevaDone);
    EXPECT_NE(std::string(text.as.text).find("\"inputIntensity\":\"default 0.5, at least 0, mostly 0 to 1\""),
              std::string::npos)
        << text.as.text;
    library.ZevaReleaseValue(&text);
    EXPECT_EQ(text.kind, kZevaNil);
}

}  // namespace
