// negotiation_test.cpp - record versions and registration for hosts of all versions.
//
// The versions are written out here on purpose: this is the test of interface/host_version.h.

#include <cmath>
#include <limits>

#include "tests/boundary/boundary_test.h"

namespace {

struct Negotiation {
    const char* name;
    std::optional<double> hostVersion;
    std::int32_t announced;
    std::size_t classes;
};

class NegotiationTest : public BoundaryTest, public testing::WithParamInterface<Negotiation> {};

TEST_P(NegotiationTest, AnnouncesTheRecordVersionAndRegistersUnlessSkipped) {
    host.version = GetParam().hostVersion;
    module.Enter();
    EXPECT_EQ(host.announcedVersions, std::vector<std::int32_t>{GetParam().announced});
    EXPECT_EQ(host.classes.size(), GetParam().classes);
    for (const RegisteredClass& registered : host.classes) EXPECT_EQ(registered.version, GetParam().announced);
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// clang-format off
INSTANTIATE_TEST_SUITE_P(HostVersions, NegotiationTest,
                         testing::Values(
                             //          name               host version      announced  classes
                             Negotiation{"v2013_03",        2013.03,          12,        73},
                             Negotiation{"below2013_03",    std::nextafter(2013.03, 0), 11, 73},
                             Negotiation{"v2013_02",        2013.02,          11,        73},
                             Negotiation{"v2013_0",         2013.0,           11,        73},
                             Negotiation{"below2013_0",     std::nextafter(2013.0, 0), 10,  73},
                             Negotiation{"v2012_5",         2012.5,           10,        73},
                             Negotiation{"v2012_0",         2012.0,           10,        73},
                             Negotiation{"v2011_04",        2011.04,          9,         73},
                             Negotiation{"zero",            0.0,              9,         73},
                             Negotiation{"none",            std::nullopt,     9,         73},
                             Negotiation{"v2007_009",       2007.009,         9,         0},
                             Negotiation{"v2007_010",       2007.010,         9,         0},
                             Negotiation{"v2007_011",       2007.011,         9,         0},
                             Negotiation{"v2007_012",       2007.012,         9,         73},
                             Negotiation{"v2007_0089999",   2007.0089999,     9,         73},
                             Negotiation{"v2007_0119999",   2007.0119999,     9,         0},
                             Negotiation{"negative",        -2007.010,        9,         73},
                             Negotiation{"notANumber",      kNaN,             9,         73},
                             Negotiation{"infinite",        kInfinity,        12,        73},
                             Negotiation{"minusInfinite",   -kInfinity,       9,         73},
                             Negotiation{"beyond32Bits",    4294967.296 + 2007.010, 12,  73},
                             Negotiation{"below32Bits",     -4294967.296 + 2007.010, 9,  73}),
                         [](const auto& test) { return test.param.name; });
// clang-format on

TEST_F(BoundaryTest, AsksForVersionThenAnnouncesThenRegistersInThisOrder) {
    module.Enter();
    Lines log = host.TakeLog();
    ASSERT_GE(log.size(), 6u);
    EXPECT_EQ(Lines(log.begin(), log.begin() + 6),
              (Lines{"resolve RegisterPluginVersion", "resolve ZEVAGetZVVersion", "ZEVAGetZVVersion",
                     "RegisterPluginVersion 12", "resolve PluginRegisterClass",
                     "PluginRegisterClass CIFilterAdditionCompositingQOR"}));
    EXPECT_EQ(log.size(), 5u + 73u);
}

TEST_F(BoundaryTest, MissingRegistrationServiceIsLookedUpForEveryClassAndNothingElseHappens) {
    host.faults["PluginRegisterClass"].missingLookups = RecordingHost::kAlways;
    module.Enter();
    EXPECT_EQ(host.LookupsOf("PluginRegisterClass"), 73);
    EXPECT_TRUE(host.classes.empty());
}

TEST_F(BoundaryTest, RegistrationServiceThatAppearsLateRegistersTheRemainingClasses) {
    host.faults["PluginRegisterClass"].missingLookups = 1;
    module.Enter();
    EXPECT_EQ(host.LookupsOf("PluginRegisterClass"), 2);
    ASSERT_EQ(host.classes.size(), 72u);
    EXPECT_EQ(host.classes.front().name, "CIFilterAffineClampQOR");
}

}  // namespace
