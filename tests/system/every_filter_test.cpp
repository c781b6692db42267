// every_filter_test.cpp - every class in a real host, for every layout of records.

#include "tests/boundary/catalogue.h"
#include "tests/system/session.h"

namespace {

// Whether a filter makes an image out of none.
bool IsGenerator(const std::string& name) {
    return name == "CheckerboardGenerator" || name == "ConstantColorGenerator" || name == "GaussianGradient";
}

class EveryFilterTest : public testing::TestWithParam<double> {};

TEST_P(EveryFilterTest, IsConstructedWithDefaultsAndAnswersEveryPropertyWithoutException) {
    Session session(GetParam());
    for (const CatalogueFilter& filter : Catalogue()) {
        const host::Value object = session.New(filter.ClassName());
        for (const auto& [key, typeWord] : filter.properties) {
            const host::Value value = session.Get(object, key);
            const bool isImage = typeWord == "CIImageQOR", isColorSpace = typeWord == "CGColorSpaceQOR";
            const bool isGenerated = key == "outputImage" && IsGenerator(filter.name);
            if (isImage && !isGenerated) EXPECT_TRUE(IsNil(value)) << filter.name << " " << key;
            if (!isImage && !isColorSpace) EXPECT_FALSE(IsNil(value)) << filter.name << " " << key;
        }
    }
    EXPECT_EQ(Session::reports, std::vector<std::string>{});
}

TEST_P(EveryFilterTest, TakesANumberForEveryNumericProperty) {
    Session session(GetParam());
    for (const CatalogueFilter& filter : Catalogue()) {
        const host::Value object = session.New(filter.ClassName());
        for (const auto& [key, typeWord] : filter.properties) {
            if (typeWord != "double") continue;
            session.Set(object, key, 0.1);
            EXPECT_EQ(session.Number(object, key), 0.10000000149011612) << filter.name << " " << key;
        }
    }
}

TEST_P(EveryFilterTest, RefusesAWriteToOutputImageWithTheFilterSException) {
    Session session(GetParam());
    const host::Value image = session.Get(session.New("CIFilterConstantColorGeneratorQOR"), "outputImage");
    for (const CatalogueFilter& filter : Catalogue()) {
        const host::Value object = session.New(filter.ClassName());
        EXPECT_TRUE(session.SetRaises(object, "outputImage", image)) << filter.name;
    }
}

TEST_P(EveryFilterTest, AttributesAreReadOnly) {
    Session session(GetParam());
    const host::Value object = session.New("CIFilterBloomQOR");
    const host::Value attribute = session.Get(object, "AttributeinputRadius");
    EXPECT_FALSE(IsNil(attribute));
    EXPECT_THROW(session.Set(object, "AttributeinputRadius", attribute), host::HostError);
}

// One host version for each record version, 12 to 9.
INSTANTIATE_TEST_SUITE_P(HostVersions, EveryFilterTest, testing::Values(2013.03, 2013.0, 2012.0, 2011.04),
                         [](const auto& test) { return "v" + std::to_string(static_cast<int>(test.param * 100)); });

TEST(SkippedHost, HasNoClassOfTheModule) {
    Session session(2007.010);
    EXPECT_THROW(session.New("CIFilterBloomQOR"), host::HostError);
}

}  // namespace
