// host_exception_test.cpp - RaiseException, and the holder of host references.

#include "plugin/zvdata.h"
#include "tests/boundary/boundary_test.h"
#include "tests/boundary/foreign_exception.h"

namespace {

class ProbeTest : public testing::Test {
  protected:
    ProbeTest() {
        probe.Enter();
        host.TakeLog();
    }

    void Raise(const char* exceptionClass, const char* message, unsigned long errorNumber = 0) {
        probe.Find<void(const char*, const char*, unsigned long)>("ProbeRaise")(exceptionClass, message, errorNumber);
    }

    // Runs the function on a new holder, destroys the holder and returns the log.
    Lines DestroyAfter(void (*use)(zvData&)) {
        probe.Find<void(void (*)(zvData&))>("ProbeHolder")(use);
        return host.TakeLog();
    }

    RecordingHost host;
    LoadedModule probe{ProbeModule()};
};

TEST_F(ProbeTest, RaisesWithMessageEncodingAndErrorNumberInThisOrder) {
    Raise("OutOfMemoryException", "No room", 7);
    EXPECT_EQ(
        host.TakeLog(),
        (Lines{"resolve ZEVABuildString", "ZEVABuildString No room", "resolve ZEVASetStringEncoding",
               "ZEVASetStringEncoding \"No room\" 1536", "resolve PluginNewInstance",
               "PluginNewInstance OutOfMemoryException", "resolve ZEVASetPropValueString",
               "ZEVASetPropValueString OutOfMemoryException#1 Message \"No room\"", "resolve ZEVASetPropValueInt",
               "ZEVASetPropValueInt OutOfMemoryException#1 ErrorNumber 7", "resolve RuntimeRaiseException",
               "RuntimeRaiseException OutOfMemoryException#1", "resolve ZEVAUnlockObject",
               "ZEVAUnlockObject OutOfMemoryException#1", "resolve ZEVAUnlockString", "ZEVAUnlockString \"No room\""}));
    EXPECT_EQ(host.objects[0]->references, 0);
    EXPECT_EQ(host.strings[0]->references, 0);
    EXPECT_EQ(host.strings[0]->encoding, 0x600u);
}

TEST_F(ProbeTest, SecondRaiseLooksUpNothing) {
    Raise("RuntimeException", "one");
    host.TakeLog();
    Raise("RuntimeException", "two");
    for (const std::string& line : host.TakeLog()) EXPECT_NE(line.rfind("resolve", 0), 0u) << line;
}

TEST_F(ProbeTest, UnknownExceptionClassIsReplacedByRuntimeException) {
    host.unknownClasses = {"NoSuchException"};
    Raise("NoSuchException", "text");
    ASSERT_EQ(host.raised.size(), 1u);
    EXPECT_EQ(host.raised[0].className, "RuntimeException");
    EXPECT_EQ(host.raised[0].message, "text");
    EXPECT_EQ(host.raised[0].errorNumber, 0);
}

TEST_F(ProbeTest, EmptyOrNullMessageRaisesWithNullMessageAndBuildsNoString) {
    for (const char* message : {static_cast<const char*>(nullptr), ""}) {
        host.raised.clear();
        Raise("RuntimeException", message);
        ASSERT_EQ(host.raised.size(), 1u);
        EXPECT_EQ(host.raised[0].message, std::nullopt);
        EXPECT_EQ(host.CallsOf("ZEVASetPropValueString"), host.CallsOf("RuntimeRaiseException"));
    }
    EXPECT_EQ(host.CallsOf("ZEVABuildString"), 0);
    EXPECT_EQ(host.CallsOf("ZEVAUnlockString"), 0);
}

TEST_F(ProbeTest, StringThatCannotBeBuiltRaisesWithNullMessage) {
    host.faults["ZEVABuildString"].failingCall = RecordingHost::kAlways;
    Raise("RuntimeException", "text");
    ASSERT_EQ(host.raised.size(), 1u);
    EXPECT_EQ(host.raised[0].message, std::nullopt);
    EXPECT_EQ(host.CallsOf("ZEVASetStringEncoding"), 0);
    EXPECT_EQ(host.CallsOf("ZEVAUnlockString"), 0);
}

TEST_F(ProbeTest, WithoutAnInstanceNothingIsRaisedAndTheMessageStringIsReleased) {
    host.unknownClasses = {"NoSuchException", "RuntimeException"};
    Raise("NoSuchException", "text");
    EXPECT_TRUE(host.raised.empty());
    EXPECT_EQ(host.CallsOf("PluginNewInstance"), 2);
    EXPECT_EQ(host.CallsOf("ZEVASetPropValueString"), 0);
    ASSERT_EQ(host.strings.size(), 1u);
    EXPECT_EQ(host.strings[0]->references, 0);
}

TEST_F(ProbeTest, WithoutAnyServiceNothingHappens) {
    for (const char* name : {"ZEVABuildString", "ZEVASetStringEncoding", "PluginNewInstance", "ZEVASetPropValueString",
                             "ZEVASetPropValueInt", "RuntimeRaiseException", "ZEVAUnlockObject", "ZEVAUnlockString"}) {
        host.faults[name].missingLookups = RecordingHost::kAlways;
    }
    Raise("RuntimeException", "text");
    EXPECT_TRUE(host.raised.empty());
    EXPECT_EQ(host.TakeLog(),
              (Lines{"resolve ZEVABuildString", "resolve PluginNewInstance", "resolve PluginNewInstance"}));
}

TEST_F(ProbeTest, EachStepOfARaiseIsSkippedWhenItsServiceIsMissing) {
    for (const char* name : {"ZEVASetStringEncoding", "ZEVASetPropValueString", "ZEVASetPropValueInt",
                             "RuntimeRaiseException", "ZEVAUnlockObject", "ZEVAUnlockString"}) {
        RecordingHost lacking;
        lacking.faults[name].missingLookups = RecordingHost::kAlways;
        LoadedModule fresh{ProbeModule()};
        fresh.Enter();
        lacking.TakeLog();
        fresh.Find<void(const char*, const char*, unsigned long)>("ProbeRaise")("RuntimeException", "text", 0);
        EXPECT_EQ(lacking.LookupsOf(name), 1) << name;
        EXPECT_EQ(lacking.CallsOf(name), 0) << name;
        const std::size_t servicesReached = 7;
        EXPECT_EQ(lacking.TakeLog().size(), 8 + servicesReached) << name;
    }
}

TEST_F(ProbeTest, NewHolderIsEmptyWhateverItsMemoryHeldBefore) {
    DestroyAfter([](zvData& holder) {
        EXPECT_EQ(holder.stringRef, nullptr);
        EXPECT_EQ(holder.objectRef, nullptr);
        EXPECT_FALSE(holder.hasStringData);
        EXPECT_EQ(holder.dataPtr, nullptr);
        EXPECT_EQ(holder.dataLength, 0);
        EXPECT_EQ(holder.extraWord, 0);
    });
}

TEST_F(ProbeTest, EmptyHolderCallsNoHostEntry) {
    EXPECT_EQ(DestroyAfter([](zvData&) {}), Lines{});
}

TEST_F(ProbeTest, HolderGivesBackStringThenObjectThenStringData) {
    const Lines log = DestroyAfter([](zvData& holder) {
        static ZEVAstringStruct string{"s"};
        holder.stringRef = &string;
        holder.objectRef = RecordingHost::Current().NewObject("MemoryBlock");
        holder.stringData = {};
        holder.hasStringData = true;
    });
    EXPECT_EQ(log,
              (Lines{"resolve ZEVAUnlockString", "ZEVAUnlockString \"s\"", "resolve ZEVAUnlockObject",
                     "ZEVAUnlockObject MemoryBlock#1", "resolve PluginDisposeStringData", "PluginDisposeStringData"}));
    EXPECT_EQ(host.objects[0]->references, 0);
}

TEST_F(ProbeTest, HolderIsEmptyOnceItHasGivenEverythingBack) {
    static void (*release)(zvData&);
    release = probe.Find<void(zvData&)>("ProbeRelease");
    DestroyAfter([](zvData& holder) {
        holder.objectRef = RecordingHost::Current().NewObject("MemoryBlock");
        holder.dataPtr = "abcd";
        holder.dataLength = 4;
        holder.extraWord = 1;
        release(holder);
        EXPECT_EQ(holder.objectRef, nullptr);
        EXPECT_EQ(holder.dataPtr, nullptr);
        EXPECT_EQ(holder.dataLength, 0);
        EXPECT_EQ(holder.extraWord, 0);
    });
    EXPECT_EQ(host.objects[0]->references, 0);
}

TEST_F(ProbeTest, HolderThatAServiceInterruptsHasGivenBackWhatItWasCalledFor) {
    static const char* services[] = {"ZEVAUnlockString", "ZEVAUnlockObject", "PluginDisposeStringData"};
    static void (*release)(zvData&);
    release = probe.Find<void(zvData&)>("ProbeRelease");
    for (int interrupted = 0; interrupted < 3; ++interrupted) {
        RecordingHost throwing;
        throwing.faults[services[interrupted]].throwingCall = 1;
        DestroyAfter([](zvData& holder) {
            static ZEVAstringStruct string{"s"};
            holder.stringRef = &string;
            holder.objectRef = RecordingHost::Current().NewObject("MemoryBlock");
            holder.stringData = {};
            holder.hasStringData = true;
            EXPECT_TRUE(ThrowsForeign([&] { release(holder); }));
        });
        for (const char* service : services) EXPECT_EQ(throwing.CallsOf(service), 1) << services[interrupted];
    }
}

TEST_F(ProbeTest, StringDataIsFreedWhenTheHostCannotTakeItBack) {
    host.faults["PluginDisposeStringData"].missingLookups = RecordingHost::kAlways;
    // The address sanitizer finds a leak or a double free here.
    const Lines log = DestroyAfter([](zvData& holder) {
        holder.stringData = {.bytes = std::malloc(16), .hostWords = {}};
        holder.hasStringData = true;
    });
    EXPECT_EQ(log, Lines{"resolve PluginDisposeStringData"});
}

}  // namespace
