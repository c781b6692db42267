// data_test.mm - the data bridge.

#include <cstring>
#include <limits>

#include "tests/boundary/boundary_test.h"
#include "tests/boundary/recording_objects.h"

namespace {

class DataTest : public BoundaryTest {
  protected:
    DataTest() {
        Enter();
        data->dataBytes = "abcd";
        data->dataLength = 4;
        filter->reply = data;
    }

    ZEVAmemoryBlockStruct* Read() {
        return Getter<ZEVAmemoryBlockStruct*(ZEVAobjectStruct*)>("CIFilterColorCubeQOR",
                                                                 "inputCubeData as memoryblock")(&object);
    }

    void Write(ZEVAmemoryBlockStruct* block) {
        Setter<void(ZEVAobjectStruct*, ZEVAmemoryBlockStruct*)>("CIFilterColorCubeQOR", "inputCubeData as memoryblock")(
            &object, block);
    }

    ZEVAmemoryBlockStruct* BlockOf(const char* text) {
        ZEVAmemoryBlockStruct* block = host.NewBlock(static_cast<std::int32_t>(std::strlen(text)));
        if (block->bytes != nullptr) std::memcpy(block->bytes, text, std::strlen(text));
        return block;
    }

    RecordingObject* filter = [RecordingObject named:"filter"];
    RecordingObject* data = [RecordingObject named:"data"];
    ZEVAobjectStruct object = MakeFilterObject(filter);
    CapturedLog captured;
};

TEST_F(DataTest, GetterAsksForBytesThenLengthThenCopiesIntoANewBlock) {
    ZEVAmemoryBlockStruct* block = Read();
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(host.TakeLog(),
              (Lines{"[filter valueForKey:inputCubeData]", "[data bytes]", "[data length]", "resolve newMemoryBlock",
                     "newMemoryBlock 4", "resolve memoryBlockGetPtr", "memoryBlockGetPtr MemoryBlock"}));
    EXPECT_EQ(std::memcmp(block->bytes, "abcd", 4), 0);
    EXPECT_EQ(block->object.references, 1);
    EXPECT_EQ(data->references, 1u);
}

TEST_F(DataTest, OneByteGoesBothWays) {
    data->dataLength = 1;
    ZEVAmemoryBlockStruct* block = Read();
    ASSERT_NE(block, nullptr);
    EXPECT_EQ(block->size, 1);
    EXPECT_EQ(*static_cast<char*>(block->bytes), 'a');
    host.TakeLog();
    Write(BlockOf("z"));
    EXPECT_EQ(host.TakeLog().back(), "[filter setValue:forKey:<7a>, inputCubeData]");
}

TEST_F(DataTest, EmptyMissingOrUnreachableDataReadsAsNullWithoutReport) {
    data->dataLength = 0;
    EXPECT_EQ(Read(), nullptr);
    data->dataLength = 4;
    data->dataBytes = nullptr;
    EXPECT_EQ(Read(), nullptr);
    filter->reply = nil;
    EXPECT_EQ(Read(), nullptr);
    object = MakeFilterObject(nil);
    EXPECT_EQ(Read(), nullptr);
    EXPECT_TRUE(host.raised.empty());
    EXPECT_EQ(host.LookupsOf("newMemoryBlock"), 0);
}

TEST_F(DataTest, LengthFrom2To31ReadsAsNullInSilence) {
    std::vector<NSUInteger> lengths = {2147483648u, 2147483653u, 4294967295u};
    if constexpr (sizeof(NSUInteger) == 8) {
        constexpr NSUInteger k2To32 = NSUInteger{4294967295u} + 1;
        lengths.insert(lengths.end(), {k2To32, k2To32 + 5, k2To32 / 2 * 3, std::numeric_limits<NSUInteger>::max()});
    }
    for (const NSUInteger length : lengths) {
        data->dataLength = length;
        EXPECT_EQ(Read(), nullptr) << length;
    }
    EXPECT_TRUE(host.raised.empty());
    EXPECT_EQ(host.LookupsOf("newMemoryBlock"), 0);
}

TEST_F(DataTest, LengthOf2To31Less1RaisesOutOfMemoryBeforeAnyCall) {
    data->dataLength = 2147483647u;
    EXPECT_EQ(Read(), nullptr);
    ASSERT_EQ(host.raised.size(), 1u);
    EXPECT_EQ(host.raised[0].className, "OutOfMemoryException");
    EXPECT_EQ(host.raised[0].message, "Failed to allocate a memoryblock with 2147483647 bytes in size.");
    EXPECT_EQ(host.LookupsOf("newMemoryBlock"), 0);
}

TEST_F(DataTest, LengthOf2To31Less2IsAskedForAndItsRefusalRaisesOutOfMemory) {
    data->dataLength = 2147483646u;
    host.faults["newMemoryBlock"].failingCall = 1;
    EXPECT_EQ(Read(), nullptr);
    ASSERT_EQ(host.raised.size(), 1u);
    EXPECT_EQ(host.raised[0].message, "Failed to allocate a memoryblock with 2147483646 bytes in size.");
    EXPECT_EQ(host.CallsOf("newMemoryBlock"), 1);
}

TEST_F(DataTest, MissingBlockEntryRaisesOutOfMemoryWithTheByteCount) {
    host.faults["newMemoryBlock"].missingLookups = RecordingHost::kAlways;
    EXPECT_EQ(Read(), nullptr);
    ASSERT_EQ(host.raised.size(), 1u);
    EXPECT_EQ(host.raised[0].className, "OutOfMemoryException");
    EXPECT_EQ(host.raised[0].message, "Failed to allocate a memoryblock with 4 bytes in size.");
}

TEST_F(DataTest, BlockWhosePointerCannotBeHadIsDroppedUnreleasedInSilence) {
    host.blocksHaveBytes = false;
    EXPECT_EQ(Read(), nullptr);
    host.blocksHaveBytes = true;
    EXPECT_NE(Read(), nullptr);
    EXPECT_EQ(host.blocks[0]->object.references, 1);
    EXPECT_TRUE(host.raised.empty());
    EXPECT_EQ(host.CallsOf("ZEVAUnlockObject"), 0);
}

TEST_F(DataTest, MissingPointerEntryDropsTheBlockInSilence) {
    host.faults["memoryBlockGetPtr"].missingLookups = RecordingHost::kAlways;
    EXPECT_EQ(Read(), nullptr);
    EXPECT_EQ(host.blocks.size(), 1u);
    EXPECT_TRUE(host.raised.empty());
}

TEST_F(DataTest, ValueThatIsNoDataRaisesOnceAndReadsAsNull) {
    filter->reply = [[[NSObject alloc] init] autorelease];
    EXPECT_EQ(Read(), nullptr);
    EXPECT_EQ(host.raised.size(), 1u);
}

TEST_F(DataTest, SetterLocksCopiesUnlocksAndThenTellsTheFilter) {
    ZEVAmemoryBlockStruct* block = BlockOf("wxyz");
    Write(block);
    EXPECT_EQ(host.TakeLog(),
              (Lines{"resolve ZEVALockObject", "ZEVALockObject MemoryBlock", "resolve memoryBlockGetSize",
                     "memoryBlockGetSize MemoryBlock", "resolve memoryBlockGetPtr", "memoryBlockGetPtr MemoryBlock",
                     "resolve ZEVAUnlockObject", "ZEVAUnlockObject MemoryBlock",
                     "[filter setValue:forKey:<7778797a>, inputCubeData]"}));
    EXPECT_EQ(block->object.references, 1);
}

TEST_F(DataTest, NullEmptyOrNegativeBlockLeavesTheKeyAlone) {
    Write(nullptr);
    EXPECT_EQ(host.TakeLog(), Lines{});
    for (const std::int32_t size : {0, -1, std::numeric_limits<std::int32_t>::min()}) {
        ZEVAmemoryBlockStruct* block = BlockOf("wxyz");
        block->size = size;
        Write(block);
        EXPECT_EQ(block->object.references, 1);
    }
    for (const std::string& line : host.TakeLog()) EXPECT_EQ(line.find("setValue"), std::string::npos) << line;
}

TEST_F(DataTest, BlockWithoutAPointerLeavesTheKeyAloneAndIsUnlocked) {
    host.blocksHaveBytes = false;
    ZEVAmemoryBlockStruct* block = BlockOf("wxyz");
    Write(block);
    EXPECT_EQ(filter->received, nil);
    EXPECT_EQ(block->object.references, 1);
}

TEST_F(DataTest, MissingLockEntryIsSkippedButTheBlockIsUnlocked) {
    host.faults["ZEVALockObject"].missingLookups = RecordingHost::kAlways;
    ZEVAmemoryBlockStruct* block = BlockOf("wxyz");
    Write(block);
    EXPECT_EQ(block->object.references, 0);
    EXPECT_EQ(host.CallsOf("ZEVAUnlockObject"), 1);
}

class MissingEntryTest : public DataTest, public testing::WithParamInterface<const char*> {};

TEST_P(MissingEntryTest, MakesTheWriteDoNothingAndTheBlockIsUnlocked) {
    host.faults[GetParam()].missingLookups = RecordingHost::kAlways;
    ZEVAmemoryBlockStruct* block = BlockOf("wxyz");
    Write(block);
    EXPECT_EQ(filter->received, nil);
    EXPECT_EQ(block->object.references, 1);
}

INSTANTIATE_TEST_SUITE_P(Entries, MissingEntryTest, testing::Values("memoryBlockGetSize", "memoryBlockGetPtr"),
                         [](const auto& test) { return test.param; });

TEST_F(DataTest, ObjectWithoutFilterIgnoresWritesAndLocksNothing) {
    object = MakeFilterObject(nil);
    Write(BlockOf("wxyz"));
    EXPECT_EQ(host.TakeLog(), Lines{});
}

TEST_F(DataTest, ForeignExceptionOfTheUnlockingServiceDoesNotUnlockTheBlockAgain) {
    host.faults["ZEVAUnlockObject"].throwingCall = 1;
    host.blocksHaveBytes = false;  // so that no data is made, which the exception would leak
    ZEVAmemoryBlockStruct* block = BlockOf("wxyz");
    EXPECT_TRUE(ThrowsForeign([&] { Write(block); }));
    EXPECT_EQ(host.CallsOf("ZEVAUnlockObject"), 1);
    EXPECT_EQ(filter->received, nil);
}

TEST_F(DataTest, ExceptionFromTheFilterComesAfterTheBlockIsUnlockedAndLeavesTheDataUnreleased) {
    host.messageFaults["[filter setValue:forKey:<7778797a>, inputCubeData]"] = Raise::kNSException;
    ZEVAmemoryBlockStruct* block = BlockOf("wxyz");
    Write(block);
    EXPECT_EQ(block->object.references, 1);
    EXPECT_EQ(host.raised.size(), 1u);
    EXPECT_EQ([filter->received retainCount], 1u);
    [filter->received release];
}

}  // namespace
