// allocation_test.cpp - the memory that the module allocates, and what it does when there is none.

#include <cstdlib>
#include <cstring>

#include "plugin/zvdata.h"
#include "tests/boundary/allocations.h"
#include "tests/boundary/boundary_test.h"

namespace {

class AllocationTest : public testing::Test {
  protected:
    void SetUp() override {
        if (!AllocationsAreWatched()) GTEST_SKIP() << "the address sanitizer owns the allocator";
        host.version = 2011.04;
        probe.Enter();
        register_ = probe.Find<void(ZEVAclassDefinition*)>("ProbeRegister");
        // Before anything is counted: finds the service and fills the host's own containers.
        ZEVAclassDefinition first = {};
        first.record.className = first.record.superclassName = "FirstQOR";
        register_(&first);
    }

    // A record with an entry in each of its six tables.
    ZEVAclassDefinition FullRecord() {
        ZEVAclassDefinition definition = {};
        ZEVAclassDefinitionDownLevel& record = definition.record;
        record.className = record.superclassName = "ProbeQOR";
        record.properties = properties_, record.propertyCount = 1;
        record.methods = methods_, record.methodCount = 1;
        record.pairs = pairs_, record.pairCount = 1;
        record.triples = triples_, record.tripleCount = 1;
        record.sharedProperties = properties_, record.sharedPropertyCount = 1;
        record.sharedMethods = methods_, record.sharedMethodCount = 1;
        methods_[0].entry.declaration = "Something";
        return definition;
    }

    RecordingHost host;
    LoadedModule probe{ProbeModule()};
    void (*register_)(ZEVAclassDefinition*) = nullptr;
    ZEVAproperty properties_[1] = {};
    ZEVAmethod methods_[1] = {};
    ZEVApair pairs_[1] = {};
    ZEVAtriple triples_[1] = {};
};

TEST_F(AllocationTest, DownLevelRegistrationKeepsOneBlockPerTableAndFreesItsTemporaryBlock) {
    host.faults["PluginRegisterClass"].failingCall = RecordingHost::kAlways;
    ZEVAclassDefinition definition = FullRecord();
    AllocationWatch watch;
    register_(&definition);
    ASSERT_EQ(watch.Allocations(), 1 + 6);
    EXPECT_EQ(watch.FreesOf(watch.Allocated(1)), 1);
    for (int table = 2; table <= 7; ++table) EXPECT_EQ(watch.FreesOf(watch.Allocated(table)), 0);
}

// How often the temporary block of the open watch had been freed when the module looked up the registration service
// and when it called it.
int freesAtLookup, freesAtCall;
const AllocationWatch* openWatch = nullptr;

TEST_F(AllocationTest, TemporaryBlockIsFreedAfterTheRecordHasBeenHandedOver) {
    const auto frees = [] { return openWatch != nullptr ? openWatch->FreesOf(openWatch->Allocated(1)) : 0; };
    static const auto countFrees = frees;
    for (const bool isMissing : {false, true}) {
        static bool missing;
        missing = isMissing;
        LoadedModule fresh{ProbeModule()};
        fresh.Find<ZEVAmain>(kZEVAentryPoint)([](const char* name) -> ZEVAentry {
            if (std::strcmp(name, "PluginRegisterClass") != 0) return RecordingHost::Resolve(name);
            freesAtLookup = countFrees();
            if (missing) return nullptr;
            return reinterpret_cast<ZEVAentry>(+[](ZEVAclassDefinition*) { freesAtCall = countFrees(); });
        });
        ZEVAclassDefinition definition = FullRecord();
        freesAtLookup = freesAtCall = -1;
        AllocationWatch watch;
        openWatch = &watch;
        fresh.Find<void(ZEVAclassDefinition*)>("ProbeRegister")(&definition);
        openWatch = nullptr;
        EXPECT_EQ(freesAtLookup, 0);
        EXPECT_EQ(freesAtCall, isMissing ? -1 : 0);
        EXPECT_EQ(watch.FreesOf(watch.Allocated(1)), 1);
    }
}

TEST_F(AllocationTest, CurrentRegistrationAllocatesNothing) {
    host.version = kNewestHostVersion;
    probe.Enter();
    host.faults["PluginRegisterClass"].failingCall = RecordingHost::kAlways;
    ZEVAclassDefinition definition = FullRecord();
    AllocationWatch watch;
    register_(&definition);
    EXPECT_EQ(watch.Allocations(), 0);
}

TEST_F(AllocationTest, WithoutMemoryForTheTemporaryBlockTheClassIsUnchangedAndNotRegistered) {
    ZEVAclassDefinition definition = FullRecord();
    const ZEVAclassDefinition before = definition;
    const std::size_t classes = host.classes.size();
    {
        AllocationWatch watch(1);
        register_(&definition);
    }
    EXPECT_EQ(std::memcmp(&definition, &before, sizeof before), 0);
    EXPECT_EQ(host.classes.size(), classes);
}

TEST_F(AllocationTest, TableWithoutMemoryIsNullAndTheClassIsRegistered) {
    // The counts of the tables, in the order in which the tables are converted.
    const ZEVAword ZEVAclassDefinitionDownLevel::*const counts[] = {
        &ZEVAclassDefinitionDownLevel::propertyCount,     &ZEVAclassDefinitionDownLevel::methodCount,
        &ZEVAclassDefinitionDownLevel::pairCount,         &ZEVAclassDefinitionDownLevel::tripleCount,
        &ZEVAclassDefinitionDownLevel::sharedMethodCount, &ZEVAclassDefinitionDownLevel::sharedPropertyCount};
    host.faults["PluginRegisterClass"].failingCall = RecordingHost::kAlways;
    for (int failing = 0; failing < 6; ++failing) {
        ZEVAclassDefinition definition = FullRecord();
        const int calls = host.CallsOf("PluginRegisterClass");
        {
            AllocationWatch watch(2 + failing);
            register_(&definition);
        }
        EXPECT_EQ(host.CallsOf("PluginRegisterClass"), calls + 1);
        const ZEVAclassDefinitionDownLevel& record = definition.record;
        const void* const tables[] = {record.properties, record.methods,       record.pairs,
                                      record.triples,    record.sharedMethods, record.sharedProperties};
        for (int table = 0; table < 6; ++table) {
            EXPECT_EQ(tables[table] == nullptr, table == failing) << "table " << table << ", failing " << failing;
            EXPECT_EQ(record.*counts[table], 1);
        }
    }
}

TEST_F(AllocationTest, StringDataIsFreedOnceWhenTheHostCannotTakeItBack) {
    host.faults["PluginDisposeStringData"].missingLookups = RecordingHost::kAlways;
    static void* lent;
    lent = std::malloc(16);
    AllocationWatch watch;
    probe.Find<void(void (*)(zvData&))>("ProbeHolder")([](zvData& holder) {
        holder.stringData = {.bytes = lent, .hostWords = {}};
        holder.hasStringData = true;
    });
    EXPECT_EQ(watch.FreesOf(lent), 1);
}

}  // namespace
