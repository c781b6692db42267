// catalogue_test.cpp - the filter classes as hosts of every age see them.

#include "tests/boundary/catalogue.h"

#include <cstring>
#include <map>
#include <set>

#include "tests/boundary/boundary_test.h"
#include "tests/support/catalogue_counts.h"

namespace {

// FNV-1a over every class and declaration in order. Programs depend on all of it, so this number changes only together
// with a deliberate change of what the module offers.
constexpr std::uint32_t kInterfaceSum = 627914720;

class CatalogueTest : public BoundaryTest, public testing::WithParamInterface<std::optional<double>> {};

TEST_P(CatalogueTest, RegistersEveryClassOnceInCatalogueOrderUnderTheFamilySuperclass) {
    host.version = GetParam();
    module.Enter();
    ASSERT_EQ(host.classes.size(), Catalogue().size());
    for (std::size_t i = 0; i < host.classes.size(); ++i) {
        EXPECT_EQ(host.classes[i].name, Catalogue()[i].ClassName());
        EXPECT_EQ(host.classes[i].superclassName, "CIFilterQOR");
    }
}

TEST_P(CatalogueTest, DeclaresEveryMethodWithFlagsAndSetters) {
    host.version = GetParam();
    module.Enter();
    std::size_t methods = 0;
    for (std::size_t i = 0; i < host.classes.size(); ++i) {
        const auto& entries = host.classes[i].methods;
        const auto declarations = Catalogue()[i].Declarations();
        ASSERT_EQ(entries.size(), declarations.size()) << host.classes[i].name;
        for (std::size_t k = 0; k < entries.size(); ++k) {
            EXPECT_EQ(entries[k].declaration, declarations[k]) << host.classes[i].name;
            EXPECT_NE(entries[k].function, nullptr) << declarations[k];
            const bool isValue = k % 2 == 0 && k + 1 < entries.size();
            EXPECT_EQ(entries[k].setter != nullptr, isValue) << declarations[k];
            EXPECT_EQ(entries[k].flags, 4) << declarations[k];
        }
        methods += entries.size();
    }
    EXPECT_EQ(methods, CatalogueCount("methods"));
}

TEST_P(CatalogueTest, RecordsHoldOnlyTheMethodTable) {
    host.version = GetParam();
    module.Enter();
    for (const RegisteredClass& registered : host.classes) {
        ZEVAclassDefinition expected = {};
        expected.record.version = registered.version;
        expected.record.className = registered.record->record.className;
        expected.record.superclassName = registered.record->record.superclassName;
        expected.record.methods = registered.record->record.methods;
        expected.record.methodCount = static_cast<ZEVAword>(registered.methods.size());
        expected.record.flags = 4;
        EXPECT_EQ(std::memcmp(registered.record, &expected, sizeof expected), 0) << registered.name;
    }
}

INSTANTIATE_TEST_SUITE_P(HostVersions, CatalogueTest,
                         testing::Values(kNewestHostVersion, 2013.02, 2012.5, 2011.04, 0.0, std::nullopt, 2007.012,
                                         2007.0089999),
                         [](const auto& test) {
                             std::string name = test.param ? std::to_string(*test.param) : "none";
                             std::replace(name.begin(), name.end(), '.', '_');
                             return name;
                         });

TEST_F(BoundaryTest, EachDeclarationStringExistsOnceAndClassesShareIt) {
    module.Enter();
    std::map<std::string, std::set<const char*>> places;
    for (const RegisteredClass& registered : host.classes) {
        for (const ZEVAmethodDownLevel& method : registered.methods)
            places[method.declaration].insert(method.declaration);
    }
    EXPECT_EQ(places.size(), 2 * CatalogueCount("keys") + 1);
    for (const auto& [declaration, addresses] : places) EXPECT_EQ(addresses.size(), 1u) << declaration;
}

TEST_F(BoundaryTest, TrailingWordsOfEveryCurrentMethodEntryAreZero) {
    module.Enter();
    for (const RegisteredClass& registered : host.classes) {
        for (ZEVAword i = 0; i < registered.record->record.methodCount; ++i) {
            EXPECT_EQ(registered.record->record.methods[i].hostWords[0], 0);
            EXPECT_EQ(registered.record->record.methods[i].hostWords[1], 0);
        }
    }
}

TEST_F(BoundaryTest, ConvertedTablesAreReadableAfterTheEntryPointHasReturned) {
    host.version = 2011.04;
    module.Enter();
    for (const RegisteredClass& registered : host.classes) {
        const auto* table = reinterpret_cast<const ZEVAmethodDownLevel*>(registered.record->record.methods);
        for (std::size_t i = 0; i < registered.methods.size(); ++i) {
            EXPECT_STREQ(table[i].declaration, registered.methods[i].declaration);
            EXPECT_EQ(table[i].function, registered.methods[i].function);
        }
    }
}

TEST_F(BoundaryTest, InterfaceIsTheOneThatHostsKnow) {
    module.Enter();
    // An FNV-1a hash over every class and declaration in order. Programs depend on all of them, so this number changes
    // only together with a deliberate change of the interface.
    std::uint32_t sum = 2166136261u;
    const auto add = [&](const std::string& text) {
        for (const char letter : text + "\n") sum = (sum ^ static_cast<unsigned char>(letter)) * 16777619u;
    };
    for (const RegisteredClass& registered : host.classes) {
        add(registered.name);
        for (const ZEVAmethodDownLevel& method : registered.methods) add(method.declaration);
    }
    EXPECT_EQ(sum, kInterfaceSum) << "if this change is intended: constexpr std::uint32_t kInterfaceSum = " << sum
                                  << ";";
}

// The generator checks these counts too; this is a second reader of the same file.
TEST(Catalogue, ComesToTheCountsThatItExpects) {
    std::set<std::string> keys;
    std::size_t properties = 0, methods = 0;
    for (const CatalogueFilter& filter : Catalogue()) {
        for (const CatalogueProperty& property : filter.properties) keys.insert(property.key);
        properties += filter.properties.size();
        methods += filter.Declarations().size();
    }
    EXPECT_EQ(Catalogue().size(), CatalogueCount("classes"));
    EXPECT_EQ(keys.size(), CatalogueCount("keys"));
    EXPECT_EQ(properties, CatalogueCount("properties"));
    EXPECT_EQ(methods, CatalogueCount("methods"));
}

TEST(Catalogue, DeclaresTheKnownOddClasses) {
    const auto propertiesOf = [](const std::string& name) {
        for (const CatalogueFilter& filter : Catalogue()) {
            if (filter.name != name) continue;
            Lines keys;
            for (const CatalogueProperty& property : filter.properties) keys.push_back(property.key);
            return keys;
        }
        return Lines{"no such class"};
    };
    EXPECT_EQ(propertiesOf("ComicEffect"), (Lines{"outputImage", "inputImage"}));
    EXPECT_EQ(propertiesOf("ColorInvert"), (Lines{"outputImage", "inputImage"}));
    EXPECT_EQ(propertiesOf("ConstantColorGenerator"), (Lines{"outputImage", "inputColor"}));
    EXPECT_EQ(propertiesOf("FlashTransition").size(), 11u);
    EXPECT_EQ(propertiesOf("ColorCubeWithColorSpace"),
              (Lines{"inputCubeDimension", "inputCubeData", "outputImage", "inputColorSpace", "inputImage"}));
    for (const CatalogueFilter& filter : Catalogue()) {
        const Lines keys = propertiesOf(filter.name);
        EXPECT_EQ(std::count(keys.begin(), keys.end(), "outputImage"), 1) << filter.name;
    }
}

}  // namespace
