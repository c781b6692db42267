// registration_test.cpp - registering a class record, table by table, for hosts of either layout.

#include <cstdlib>
#include <cstring>
#include <limits>

#include "interface/host_version.h"
#include "interface/record_version.h"
#include "tests/boundary/boundary_test.h"

namespace {

// Registers a record of the test's own through the probe module.
class RegistrationTest : public testing::Test {
  protected:
    RegistrationTest() {
        definition.record.version = kRecordVersion;
        definition.record.className = "ProbeQOR";
        definition.record.superclassName = "CIFilterQOR";
        for (ZEVAword i = 0; i < 4; ++i) definition.hostWords25[i] = 1025 + i;
    }

    void RegisterFor(double hostVersion) {
        host.version = hostVersion;
        probe.Enter();
        probe.Find<void(ZEVAclassDefinition*)>("ProbeRegister")(&definition);
    }

    static constexpr double kCurrentHost = kNewestHostVersion;
    static constexpr double kDownLevelHost = 2011.04;

    RecordingHost host;
    LoadedModule probe{ProbeModule()};
    ZEVAclassDefinition definition = {};
};

// Fills the words of a table with consecutive numbers.
template <typename Entry, std::size_t kCount>
void Number(Entry (&table)[kCount], ZEVAword first) {
    auto* words = reinterpret_cast<ZEVAword*>(table);
    for (std::size_t i = 0; i < sizeof table / (sizeof(ZEVAword)); ++i) words[i] = first + static_cast<ZEVAword>(i);
}

// Expects each converted entry to be the leading words of its source entry.
template <typename DownLevelEntry, typename Entry, std::size_t kCount>
void ExpectShortened(const void* converted, const Entry (&table)[kCount]) {
    ASSERT_NE(converted, nullptr);
    ASSERT_NE(converted, static_cast<const void*>(table));
    const auto* entries = static_cast<const DownLevelEntry*>(converted);
    for (std::size_t i = 0; i < kCount; ++i) {
        EXPECT_EQ(std::memcmp(&entries[i], &table[i], sizeof(DownLevelEntry)), 0) << "entry " << i;
    }
}

// A data size and what it is rounded up to. The sizes of 2^31 and more wrap where a word has 32 bits.
struct DataSize {
    const char* name;
    std::int64_t size;
    std::int64_t rounded;
};

class DataSizeTest : public RegistrationTest, public testing::WithParamInterface<DataSize> {};

TEST_P(DataSizeTest, IsRoundedUpToAMultipleOf16ForEitherLayout) {
    for (const double hostVersion : {kCurrentHost, kDownLevelHost}) {
        definition.record.instanceDataSize = static_cast<ZEVAword>(GetParam().size);
        RegisterFor(hostVersion);
        EXPECT_EQ(definition.record.instanceDataSize, static_cast<ZEVAword>(GetParam().rounded)) << hostVersion;
    }
}

constexpr std::int64_t k2To31 = std::int64_t{1} << 31;
constexpr std::int64_t kLargestWord = std::numeric_limits<ZEVAword>::max();
constexpr std::int64_t kSmallestWord = std::numeric_limits<ZEVAword>::min();

INSTANTIATE_TEST_SUITE_P(
    Sizes, DataSizeTest,
    testing::Values(DataSize{"from0", 0, 0}, DataSize{"from1", 1, 16}, DataSize{"from15", 15, 16},
                    DataSize{"from16", 16, 16}, DataSize{"from17", 17, 32}, DataSize{"fromMinus1", -1, 0},
                    DataSize{"fromMinus15", -15, 0}, DataSize{"fromMinus16", -16, -16},
                    DataSize{"fromMinus17", -17, -16}, DataSize{"from2To31Less16", k2To31 - 16, k2To31 - 16},
                    DataSize{"from2To31Less15", k2To31 - 15, k2To31}, DataSize{"from2To31Less1", k2To31 - 1, k2To31},
                    DataSize{"from2To31", k2To31, k2To31}, DataSize{"from2To31And1", k2To31 + 1, k2To31 + 16},
                    DataSize{"from2To32Less16", 2 * k2To31 - 16, 2 * k2To31 - 16},
                    DataSize{"from2To32Less1", 2 * k2To31 - 1, 2 * k2To31},
                    DataSize{"fromLargestWord", kLargestWord, kSmallestWord},
                    DataSize{"fromSmallestWord", kSmallestWord, kSmallestWord}),
    [](const auto& test) { return test.param.name; });

TEST_F(RegistrationTest, CurrentHostsGetTheRecordItselfWithOnlyTheVersionChanged) {
    for (const auto& [hostVersion, recordVersion] : kVersionSteps) {
        ZEVAmethod methods[2];
        Number(methods, 100);
        definition.record.methods = methods;
        definition.record.methodCount = 2;
        definition.record.hostWords16[0] = 16;
        ZEVAclassDefinition expected = definition;
        expected.record.version = recordVersion;
        RegisterFor(hostVersion);
        EXPECT_EQ(std::memcmp(&definition, &expected, sizeof expected), 0) << hostVersion;
        EXPECT_EQ(host.classes.back().record, &definition);
    }
}

TEST_F(RegistrationTest, DownLevelHostsGetTheSameRecordRewritten) {
    ZEVAmethod methods[7];
    Number(methods, 100);
    for (ZEVAmethod& method : methods) method.entry.declaration = "Something";
    definition.record.methods = methods;
    definition.record.methodCount = 7;
    RegisterFor(kDownLevelHost);
    ASSERT_EQ(host.classes.size(), 1u);
    EXPECT_EQ(host.classes[0].record, &definition);
    EXPECT_EQ(definition.record.version, kDownLevelRecordVersion);
    EXPECT_EQ(definition.record.methodCount, 7);
    ExpectShortened<ZEVAmethodDownLevel>(definition.record.methods, methods);
}

TEST_F(RegistrationTest, DownLevelRewritingShortensEveryTable) {
    ZEVAproperty properties[2], sharedProperties[3];
    ZEVAmethod methods[2], sharedMethods[4];
    ZEVApair pairs[3];
    ZEVAtriple triples[5];
    Number(properties, 100), Number(sharedProperties, 200), Number(methods, 300), Number(sharedMethods, 400);
    Number(pairs, 500), Number(triples, 600);
    ZEVAclassDefinitionDownLevel& record = definition.record;
    record.properties = properties, record.propertyCount = 2;
    record.methods = methods, record.methodCount = 2;
    record.pairs = pairs, record.pairCount = 3;
    record.triples = triples, record.tripleCount = 5;
    record.sharedProperties = sharedProperties, record.sharedPropertyCount = 3;
    record.sharedMethods = sharedMethods, record.sharedMethodCount = 4;
    ZEVApair originalPairs[3];
    std::memcpy(originalPairs, pairs, sizeof pairs);
    RegisterFor(kDownLevelHost);
    ExpectShortened<ZEVApropertyDownLevel>(record.properties, properties);
    ExpectShortened<ZEVAmethodDownLevel>(record.methods, methods);
    ExpectShortened<ZEVApairDownLevel>(record.pairs, originalPairs);
    ExpectShortened<ZEVAtripleDownLevel>(record.triples, triples);
    ExpectShortened<ZEVApropertyDownLevel>(record.sharedProperties, sharedProperties);
    ExpectShortened<ZEVAmethodDownLevel>(record.sharedMethods, sharedMethods);
    EXPECT_EQ(record.propertyCount, 2);
    EXPECT_EQ(record.methodCount, 2);
    EXPECT_EQ(record.pairCount, 3);
    EXPECT_EQ(record.tripleCount, 5);
    EXPECT_EQ(record.sharedPropertyCount, 3);
    EXPECT_EQ(record.sharedMethodCount, 4);
}

TEST_F(RegistrationTest, DownLevelRewritingPointsEachSourcePairToItsCopyAndChangesNothingElse) {
    ZEVApair pairs[3];
    ZEVAmethod methods[2];
    Number(pairs, 500), Number(methods, 300);
    for (ZEVAmethod& method : methods) method.entry.declaration = "Something";
    ZEVAmethod originalMethods[2];
    std::memcpy(originalMethods, methods, sizeof methods);
    definition.record.pairs = pairs, definition.record.pairCount = 3;
    definition.record.methods = methods, definition.record.methodCount = 2;
    RegisterFor(kDownLevelHost);
    const auto* copies = reinterpret_cast<const ZEVApairDownLevel*>(definition.record.pairs);
    for (std::size_t i = 0; i < 3; ++i) {
        const auto first = static_cast<ZEVAword>(500 + 4 * i);
        EXPECT_EQ(pairs[i].entry.hostWords[0], first);
        EXPECT_EQ(pairs[i].entry.hostWords[1], reinterpret_cast<ZEVAword>(&copies[i]));
        EXPECT_EQ(pairs[i].hostWords[0], first + 2);
        EXPECT_EQ(pairs[i].hostWords[1], first + 3);
    }
    EXPECT_EQ(std::memcmp(methods, originalMethods, sizeof methods), 0);
}

TEST_F(RegistrationTest, DownLevelRewritingKeepsTheHostsWordsButClears16And17AndLeaves25To28) {
    ZEVAclassDefinitionDownLevel& record = definition.record;
    record.initialize = reinterpret_cast<void (*)(ZEVAobjectStruct*)>(0x1004);
    record.finalize = reinterpret_cast<void (*)(ZEVAobjectStruct*)>(0x1005);
    record.hostWord6 = 1006;
    for (ZEVAword i = 0; i < 3; ++i) record.hostWords13[i] = 1013 + i;
    for (ZEVAword i = 0; i < 2; ++i) record.hostWords16[i] = 1016 + i;
    record.flags = 1020;
    ZEVAclassDefinition expected = definition;
    expected.record.version = kDownLevelRecordVersion;
    expected.record.hostWords16[0] = expected.record.hostWords16[1] = 0;
    RegisterFor(kDownLevelHost);
    EXPECT_EQ(std::memcmp(&definition, &expected, sizeof expected), 0);
}

class OddCountTest : public RegistrationTest, public testing::WithParamInterface<ZEVAword> {};

TEST_P(OddCountTest, MakesTheTableNullAndKeepsTheCount) {
    ZEVAproperty properties[1] = {};
    ZEVApair pairs[1] = {};
    definition.record.properties = properties, definition.record.propertyCount = GetParam();
    definition.record.pairs = pairs, definition.record.pairCount = GetParam();
    RegisterFor(kDownLevelHost);
    EXPECT_EQ(definition.record.properties, nullptr);
    EXPECT_EQ(definition.record.propertyCount, GetParam());
    EXPECT_EQ(definition.record.pairs, nullptr);
    EXPECT_EQ(definition.record.pairCount, GetParam());
    EXPECT_EQ(pairs[0].entry.hostWords[1], 0);
}

INSTANTIATE_TEST_SUITE_P(Counts, OddCountTest,
                         testing::Values(0, -1, std::numeric_limits<std::int32_t>::min(),
                                         std::numeric_limits<std::int32_t>::max()));

TEST_F(RegistrationTest, NullTableWithACountStaysNullAndKeepsTheCount) {
    ZEVAclassDefinitionDownLevel& record = definition.record;
    record.propertyCount = record.pairCount = record.tripleCount = record.sharedPropertyCount = 5;
    record.sharedMethodCount = 5;
    RegisterFor(kDownLevelHost);
    EXPECT_EQ(record.properties, nullptr);
    EXPECT_EQ(record.pairs, nullptr);
    EXPECT_EQ(record.triples, nullptr);
    EXPECT_EQ(record.sharedProperties, nullptr);
    EXPECT_EQ(record.sharedMethods, nullptr);
    EXPECT_EQ(record.propertyCount, 5);
    EXPECT_EQ(record.pairCount, 5);
    EXPECT_EQ(record.tripleCount, 5);
    EXPECT_EQ(record.sharedPropertyCount, 5);
    EXPECT_EQ(record.sharedMethodCount, 5);
}

TEST_F(RegistrationTest, RecordIsRewrittenEvenWhenTheHostCannotRegisterClasses) {
    host.faults["PluginRegisterClass"].missingLookups = RecordingHost::kAlways;
    RegisterFor(kDownLevelHost);
    EXPECT_EQ(definition.record.version, kDownLevelRecordVersion);
    EXPECT_TRUE(host.classes.empty());
}

TEST_F(RegistrationTest, FixPropertiesReturnsANewTable) {
    ZEVAproperty properties[4];
    Number(properties, 100);
    auto* fix = probe.Find<ZEVAproperty*(ZEVAproperty*, int)>("ProbeFixProperties");
    ZEVAproperty* fixed = fix(properties, 4);
    ExpectShortened<ZEVApropertyDownLevel>(fixed, properties);
    std::free(fixed);
    EXPECT_EQ(fix(nullptr, 4), nullptr);
    EXPECT_EQ(fix(properties, 0), nullptr);
    EXPECT_EQ(fix(properties, -1), nullptr);
}

}  // namespace
