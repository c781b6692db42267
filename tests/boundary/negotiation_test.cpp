// negotiation_test.cpp - record versions and registration for hosts of all versions.
//
// The versions are written out here on purpose: this is the test of interface/host_version.h.

#include <pthread.h>
#include <threads.h>

#include <cmath>
#include <limits>

#include "tests/boundary/boundary_test.h"
#include "tests/support/catalogue_counts.h"

namespace {

// Whether a module is being loaded, so that the call below is the module's.
bool isLoading = false;

}  // namespace

// Replaces the C library's function, so that a call of it is noticed.
extern "C" __attribute__((visibility("default"))) pthread_t pthread_self() {
    if (isLoading) RecordingHost::Current().Log("pthread_self");
    return thrd_current();
}

namespace {

struct Negotiation {
    const char* name;
    std::optional<double> hostVersion;
    std::int32_t announced;
    bool registers;
};

class NegotiationTest : public BoundaryTest, public testing::WithParamInterface<Negotiation> {};

TEST_P(NegotiationTest, AnnouncesTheRecordVersionAndRegistersUnlessSkipped) {
    host.version = GetParam().hostVersion;
    module.Enter();
    EXPECT_EQ(host.announcedVersions, std::vector<std::int32_t>{GetParam().announced});
    EXPECT_EQ(host.classes.size(), GetParam().registers ? CatalogueCount("classes") : 0);
    for (const RegisteredClass& registered : host.classes) EXPECT_EQ(registered.version, GetParam().announced);
}

constexpr double kNaN = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinity = std::numeric_limits<double>::infinity();

// clang-format off
INSTANTIATE_TEST_SUITE_P(HostVersions, NegotiationTest,
                         testing::Values(
                             //          name               host version      announced  registers
                             Negotiation{"v2013_03",        2013.03,          12,        true},
                             Negotiation{"below2013_03",    std::nextafter(2013.03, 0), 11, true},
                             Negotiation{"v2013_02",        2013.02,          11,        true},
                             Negotiation{"v2013_0",         2013.0,           11,        true},
                             Negotiation{"below2013_0",     std::nextafter(2013.0, 0), 10,  true},
                             Negotiation{"v2012_5",         2012.5,           10,        true},
                             Negotiation{"v2012_0",         2012.0,           10,        true},
                             Negotiation{"v2011_04",        2011.04,          9,         true},
                             Negotiation{"zero",            0.0,              9,         true},
                             Negotiation{"none",            std::nullopt,     9,         true},
                             Negotiation{"v2007_009",       2007.009,         9,         false},
                             Negotiation{"v2007_010",       2007.010,         9,         false},
                             Negotiation{"v2007_011",       2007.011,         9,         false},
                             Negotiation{"v2007_012",       2007.012,         9,         true},
                             Negotiation{"v2007_0089999",   2007.0089999,     9,         true},
                             Negotiation{"v2007_0119999",   2007.0119999,     9,         false},
                             Negotiation{"negative",        -2007.010,        9,         true},
                             Negotiation{"notANumber",      kNaN,             9,         true},
                             Negotiation{"infinite",        kInfinity,        12,        true},
                             Negotiation{"minusInfinite",   -kInfinity,       9,         true},
                             Negotiation{"beyond32Bits",    4294967.296 + 2007.010, 12,  true},
                             Negotiation{"below32Bits",     -4294967.296 + 2007.010, 9,  true}),
                         [](const auto& test) { return test.param.name; });
// clang-format on

TEST_F(BoundaryTest, AsksForVersionThenAnnouncesThenAsksForTheThreadThenRegistersInThisOrder) {
    isLoading = true;
    module.Enter();
    isLoading = false;
    Lines log = host.TakeLog();
    ASSERT_GE(log.size(), 7u);
    EXPECT_EQ(Lines(log.begin(), log.begin() + 7),
              (Lines{"resolve RegisterPluginVersion", "resolve ZEVAGetZVVersion", "ZEVAGetZVVersion",
                     "RegisterPluginVersion 12", "pthread_self", "resolve PluginRegisterClass",
                     "PluginRegisterClass CIFilterAdditionCompositingQOR"}));
    EXPECT_EQ(log.size(), 6 + CatalogueCount("classes"));
}

TEST_F(BoundaryTest, AsksForTheThreadOnASkippedHostToo) {
    host.version = 2007.010;
    isLoading = true;
    module.Enter();
    isLoading = false;
    EXPECT_EQ(host.TakeLog().back(), "pthread_self");
}

// A module without classes, so that it can be loaded twice. What the second host says replaces what the first one said;
// what it does not say stays.
class SecondLoadTest : public testing::Test {
  protected:
    void Raise() { probe.Find<void(const char*, const char*, unsigned long)>("ProbeRaise")("RuntimeException", "", 0); }

    RecordingHost host;
    LoadedModule probe{ProbeModule()};
};

TEST_F(SecondLoadTest, TakesTheVersionOfTheSecondHost) {
    host.version = 2012.5;
    probe.Enter();
    host.version = 2013.03;
    probe.Enter();
    host.version = 2011.0;
    probe.Enter();
    EXPECT_EQ(host.announcedVersions, (std::vector<std::int32_t>{10, 12, 9}));
}

TEST_F(SecondLoadTest, KeepsTheVersionWhenTheSecondHostReportsNone) {
    host.version = 2012.5;
    probe.Enter();
    host.version = std::nullopt;
    probe.Enter();
    EXPECT_EQ(host.announcedVersions, (std::vector<std::int32_t>{10, 10}));
}

TEST_F(SecondLoadTest, AsksOnlyTheSecondResolverAndKeepsTheServicesThatTheFirstOneFound) {
    static Lines asked;
    asked.clear();
    host.faults["RuntimeRaiseException"].missingLookups = 1;
    probe.Enter();
    Raise();
    const int lookups = host.LookupsOf("RuntimeRaiseException");
    probe.Find<ZEVAmain>(kZEVAentryPoint)([](const char* name) -> ZEVAentry {
        asked.push_back(name);
        return RecordingHost::Resolve(name);
    });
    Raise();
    EXPECT_EQ(lookups, 1);
    EXPECT_EQ(asked, (Lines{"RegisterPluginVersion", "ZEVAGetZVVersion", "RuntimeRaiseException"}));
    EXPECT_EQ(host.CallsOf("RuntimeRaiseException"), 1);
}

TEST_F(BoundaryTest, MissingRegistrationServiceIsLookedUpForEveryClassAndNothingElseHappens) {
    host.faults["PluginRegisterClass"].missingLookups = RecordingHost::kAlways;
    module.Enter();
    EXPECT_EQ(host.LookupsOf("PluginRegisterClass"), static_cast<int>(CatalogueCount("classes")));
    EXPECT_TRUE(host.classes.empty());
}

TEST_F(BoundaryTest, RegistrationServiceThatAppearsLateRegistersTheRemainingClasses) {
    host.faults["PluginRegisterClass"].missingLookups = 1;
    module.Enter();
    EXPECT_EQ(host.LookupsOf("PluginRegisterClass"), 2);
    ASSERT_EQ(host.classes.size(), CatalogueCount("classes") - 1);
    EXPECT_EQ(host.classes.front().name, "CIFilterAffineClampQOR");
}

}  // namespace
