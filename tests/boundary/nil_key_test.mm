// nil_key_test.mm - the value bridge without a key: it calls nothing and raises nothing.

#include "tests/boundary/boundary_test.h"
#include "tests/boundary/recording_objects.h"

namespace {

class NilKeyTest : public testing::Test {
  protected:
    NilKeyTest() {
        probe.Enter();
        host.TakeLog();
        wrapper->fields[0] = reinterpret_cast<ZEVAword>(@"wrapped");
    }

    // Calls a getter, and a setter with the value, both without a key.
    template <typename Value>
    void Check(const std::string& type, Value value) {
        EXPECT_EQ(probe.Find<Value(ZEVAobjectStruct*, NSString*)>(("ProbeGet" + type).c_str())(&object, nil), Value{});
        EXPECT_EQ(host.TakeLog(), Lines{}) << type;
        probe.Find<void(ZEVAobjectStruct*, NSString*, Value)>(("ProbeSet" + type).c_str())(&object, nil, value);
        EXPECT_EQ(host.TakeLog(), Lines{}) << type;
    }

    RecordingHost host;
    LoadedModule probe{ProbeModule()};
    ZEVAobjectStruct object = MakeFilterObject([RecordingObject named:"filter"]);
    ZEVAobjectStruct* wrapper = host.NewObject("CIImageQOR");
};

TEST_F(NilKeyTest, NumberReadsAsZeroAndIsNotWritten) { Check("NSNumber", 1.5); }

TEST_F(NilKeyTest, ObjectsReadAsNullAndAreNotWritten) {
    for (const char* type : {"CIImage", "CIColor", "CIVector", "NSAffineTransform"}) Check(type, wrapper);
}

TEST_F(NilKeyTest, ColorSpaceReadsAsNullAndIsNeitherWrittenNorCleared) {
    Check("CGColorSpace", wrapper);
    Check("CGColorSpace", static_cast<ZEVAobjectStruct*>(nullptr));
}

TEST_F(NilKeyTest, DataReadsAsNullAndTheBlockIsNotLocked) {
    ZEVAmemoryBlockStruct* block = host.NewBlock(4);
    Check("NSData", block);
    EXPECT_EQ(block->object.references, 1);
}

TEST_F(NilKeyTest, AttributeReadsAsNullAndNothingIsCached) {
    EXPECT_EQ(probe.Find<ZEVAobjectStruct*(ZEVAobjectStruct*, NSString*)>("ProbeGetAttribute")(&object, nil), nullptr);
    EXPECT_EQ(host.TakeLog(), Lines{});
    EXPECT_EQ(object.fields[1], 0);
}

}  // namespace
