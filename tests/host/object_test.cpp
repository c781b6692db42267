// object_test.cpp - the layout, creation and destruction of objects.

#include "host/runtime/object.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "tests/host/host_test.h"

namespace {

// The calls that the hooks of the test classes recorded.
Messages* hooks = nullptr;

void InitializeVessel(ZEVAobjectStruct* self) {
    hooks->push_back("initialize Vessel");
    std::memset(self + 1, 0x11, 16);
}
void FinalizeVessel(ZEVAobjectStruct*) { hooks->push_back("finalize Vessel"); }
void InitializeKettle(ZEVAobjectStruct* self) {
    hooks->push_back("initialize Kettle");
    std::memset(reinterpret_cast<unsigned char*>(self + 1) + 16, 0x22, 16);
}
void FinalizeKettle(ZEVAobjectStruct* self) {
    hooks->push_back("finalize Kettle");
    // A finalizer that locks and unlocks its own object must not destroy it a second time.
    host::Lock(self);
    host::Unlock(self);
}

class ObjectTest : public HostTest {
  protected:
    ObjectTest() {
        hooks = &hookLog;
        ZEVAclassDefinitionDownLevel vessel = {
            .version = kRecordVersion, .className = "Vessel", .instanceDataSize = 16};
        vessel.initialize = InitializeVessel;
        vessel.finalize = FinalizeVessel;
        host.Classes().Register(&vessel);
        ZEVAclassDefinitionDownLevel kettle = {
            .version = kRecordVersion, .className = "Kettle", .superclassName = "Vessel"};
        kettle.instanceDataSize = 32;
        kettle.initialize = InitializeKettle;
        kettle.finalize = FinalizeKettle;
        host.Classes().Register(&kettle);
    }

    Messages hookLog;
};

TEST_F(ObjectTest, DataFollowsTheHeaderAndBeginsWithTheSuperclass) {
    const auto kettle = host.NewInstance("Kettle");
    const auto* data = reinterpret_cast<const unsigned char*>(kettle.Get()) + 24;
    EXPECT_EQ(data[0], 0x11);
    EXPECT_EQ(data[15], 0x11);
    EXPECT_EQ(data[16], 0x22);
    EXPECT_EQ(data[31], 0x22);
    EXPECT_EQ(data[32], 0);
    EXPECT_EQ(data[47], 0);
    EXPECT_EQ(kettle->isa->DataSize(), 48u);
}

TEST_F(ObjectTest, InitializersRunFromTheTopmostClassAndFinalizersInReverse) {
    host.NewInstance("Kettle");
    EXPECT_EQ(hookLog, (Messages{"initialize Vessel", "initialize Kettle", "finalize Kettle", "finalize Vessel"}));
}

TEST_F(ObjectTest, ReleasingTheLastReferenceDestroysAnObject) {
    auto first = host.NewInstance("Vessel");
    EXPECT_EQ(first->references, 1);
    auto second = first;
    EXPECT_EQ(first->references, 2);
    first = {};
    EXPECT_EQ(second->references, 1);
    EXPECT_EQ(host.LiveObjects(), 1);
    EXPECT_EQ(hookLog.size(), 1u);
    second = {};
    EXPECT_EQ(host.LiveObjects(), 0);
    EXPECT_EQ(hookLog.size(), 2u);
}

TEST_F(ObjectTest, AHostReportsAtItsEndWhatIsStillReferenced) {
    Register("Cup");
    ZEVAobjectStruct* cup = host.NewInstance("Cup").Leak();
    ZEVAstringStruct* string = host::NewString("left").Leak();
    host.~Host();
    EXPECT_EQ(TakeMessages(),
              Messages{"host: 1 objects and 1 strings are still referenced at its end; they are never freed"});
    std::free(cup);
    delete string;
    new (&host) host::Host();
}

TEST_F(ObjectTest, RefusesASecondHost) {
    EXPECT_EQ(TextOfError([] { host::Host(); }), "host: this process already has one");
    EXPECT_EQ(&host::Host::Current(), &host);
}

}  // namespace
