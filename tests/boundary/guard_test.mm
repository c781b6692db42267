// guard_test.mm - the exceptions that a filter raises, seen through the accessors of the loaded module.

#include "tests/boundary/boundary_test.h"
#include "tests/boundary/recording_objects.h"

namespace {

class GuardTest : public BoundaryTest {
  protected:
    GuardTest() {
        conversion = Conversion::kWorks;
        Enter();
        RaiseOnReading(Raise::kNSException);
    }

    void RaiseOnReading(Raise what) {
        host.messageFaults["[filter valueForKey:inputRadius]"] = what;
        host.messageFaults["[filter valueForKey:inputImage]"] = what;
    }

    double ReadRadius() {
        return Getter<double(ZEVAobjectStruct*)>("CIFilterGaussianBlurQOR", "inputRadius as double")(&object);
    }

    ZEVAobjectStruct* ReadImage() {
        return Getter<ZEVAobjectStruct*(ZEVAobjectStruct*)>("CIFilterGaussianBlurQOR",
                                                            "inputImage as CIImageQOR")(&object);
    }

    RecordingObject* filter = [RecordingObject named:"filter"];
    ZEVAobjectStruct object = MakeFilterObject(filter);
    CapturedLog captured;
};

TEST_F(GuardTest, LogsConvertsRaisesAndUnlocksInThisOrderAndReturnsZero) {
    EXPECT_EQ(ReadRadius(), 0.0);
    EXPECT_EQ(host.TakeLog(), (Lines{"[filter valueForKey:inputRadius]", "[exception name]", "[exception reason]",
                                     "[exception userInfo]", "NSLog A SomeException: a reason, Info: {k = v; }",
                                     "NewNSExceptionQOR: SomeException", "resolve RuntimeRaiseException",
                                     "RuntimeRaiseException NSExceptionQOR#1", "resolve ZEVAUnlockObject",
                                     "ZEVAUnlockObject NSExceptionQOR#1"}));
    EXPECT_EQ(host.objects[0]->references, 0);
}

TEST_F(GuardTest, ObjectGettersReturnNullForAnException) {
    EXPECT_EQ(ReadImage(), nullptr);
    EXPECT_EQ(host.raised.size(), 1u);
    EXPECT_EQ(host.CallsOf("PluginNewInstance"), 0);
}

TEST_F(GuardTest, ExceptionsThatFoundationRaisesAreCaught) {
    object = MakeFilterObject([[[NSObject alloc] init] autorelease]);
    EXPECT_EQ(ReadRadius(), 0.0);
    EXPECT_EQ(host.raised.size(), 1u);
}

TEST_F(GuardTest, ConversionThatReturnsNullLeavesOnlyTheLogLine) {
    conversion = Conversion::kReturnsNull;
    EXPECT_EQ(ReadRadius(), 0.0);
    EXPECT_EQ(host.TakeLog(), (Lines{"[filter valueForKey:inputRadius]", "[exception name]", "[exception reason]",
                                     "[exception userInfo]", "NSLog A SomeException: a reason, Info: {k = v; }",
                                     "NewNSExceptionQOR: SomeException"}));
}

TEST_F(GuardTest, ConversionThatRaisesReachesTheEnclosingHandler) {
    conversion = Conversion::kRaises;
    id thrown = ThrownBy([&] { ReadRadius(); });
    EXPECT_TRUE([[thrown name] isEqual:@"ConversionException"]);
    EXPECT_TRUE(host.raised.empty());
}

TEST_F(GuardTest, MissingRaiseEntryIsSkippedAndTheReferenceStillReleased) {
    host.faults["RuntimeRaiseException"].missingLookups = RecordingHost::kAlways;
    EXPECT_EQ(ReadRadius(), 0.0);
    EXPECT_TRUE(host.raised.empty());
    EXPECT_EQ(host.objects[0]->references, 0);
}

TEST_F(GuardTest, MissingUnlockEntryIsSkippedAfterTheRaise) {
    host.faults["ZEVAUnlockObject"].missingLookups = RecordingHost::kAlways;
    EXPECT_EQ(ReadRadius(), 0.0);
    EXPECT_EQ(host.raised.size(), 1u);
    EXPECT_EQ(host.objects[0]->references, 1);
}

TEST_F(GuardTest, OtherObjectReachesTheEnclosingHandlerUnchangedAndNothingIsLogged) {
    RaiseOnReading(Raise::kOtherObject);
    EXPECT_EQ(ThrownBy([&] { ReadRadius(); }), TheOtherObject());
    EXPECT_EQ(host.TakeLog(), Lines{"[filter valueForKey:inputRadius]"});
    EXPECT_TRUE(host.raised.empty());
}

TEST_F(GuardTest, ForeignExceptionPassesThroughAndNothingIsLogged) {
    RaiseOnReading(Raise::kForeign);
    EXPECT_TRUE(ThrowsForeign([&] { ReadRadius(); }));
    EXPECT_EQ(host.TakeLog(), Lines{"[filter valueForKey:inputRadius]"});
}

TEST_F(GuardTest, ExceptionThatTheFilterHandlesItselfIsNotNoticed) {
    RaiseOnReading(Raise::kHandled);
    filter->reply = [NSNumber numberWithDouble:2.5];
    EXPECT_EQ(ReadRadius(), 2.5);
    EXPECT_EQ(host.TakeLog(), Lines{"[filter valueForKey:inputRadius]"});
    EXPECT_TRUE(host.raised.empty());
    EXPECT_EQ(OpenScopes(), 0);
}

TEST_F(GuardTest, ScopesOfTheFilterAreLeftBeforeTheGuardTakesOver) {
    static int openAtRaise;
    openAtRaise = -1;
    host.onRaise = [](RecordingHost&) { openAtRaise = OpenScopes(); };
    EXPECT_EQ(ReadRadius(), 0.0);
    EXPECT_EQ(openAtRaise, 0);
}

TEST_F(GuardTest, FrameChainIsRestoredHoweverTheCallEnds) {
    RecordingObject* answering = [RecordingObject named:"answering"];
    ZEVAobjectStruct withValue = MakeFilterObject(answering), withoutFilter = MakeFilterObject(nil);
    auto* read = Getter<double(ZEVAobjectStruct*)>("CIFilterGaussianBlurQOR", "inputRadius as double");
    auto* write = Setter<void(ZEVAobjectStruct*, double)>("CIFilterGaussianBlurQOR", "inputRadius as double");
    EXPECT_EQ(ThrownBy([&] { read(&withoutFilter); }), nil);
    EXPECT_EQ(ThrownBy([&] { read(&withValue); }), nil);  // a nil reply
    answering->reply = [NSNumber numberWithDouble:2.5];
    EXPECT_EQ(ThrownBy([&] { EXPECT_EQ(read(&withValue), 2.5); }), nil);
    EXPECT_EQ(ThrownBy([&] { write(&withoutFilter, 1); }), nil);
    EXPECT_EQ(ThrownBy([&] { write(&withValue, 1); }), nil);
    EXPECT_EQ(ThrownBy([&] { ReadRadius(); }), nil);  // an exception that was caught
    RaiseOnReading(Raise::kForeign);
    EXPECT_EQ(ThrownBy([&] { EXPECT_TRUE(ThrowsForeign([&] { ReadRadius(); })); }), nil);
}

TEST_F(GuardTest, ObjectStaysUsableAfterAnException) {
    EXPECT_EQ(ReadRadius(), 0.0);
    host.messageFaults.clear();
    filter->reply = [NSNumber numberWithDouble:7];
    EXPECT_EQ(ReadRadius(), 7.0);
    EXPECT_EQ(host.raised.size(), 1u);
}

}  // namespace
