// exception_test.cpp - host exceptions: a module raises them, and they are thrown when it has returned.

#include <iterator>
#include <limits>

#include "host/runtime/describe.h"
#include "host/runtime/services.h"
#include "interface/services.h"
#include "interface/text_encoding.h"
#include "tests/host/host_test.h"

namespace {

using host::HostException;
using host::ObjectReference;
using host::Value;

// A service as a module finds it.
template <typename Listed>
typename Listed::Signature* Service() {
    return service::Resolve<Listed>(&host::ResolveService);
}

// Raises as a module does: makes the object, fills it, raises it and releases its own reference.
void RaiseLikeAModule(const char* className, const char* message, std::int32_t number) {
    ZEVAobjectStruct* exception = Service<service::PluginNewInstance>()(className);
    const auto length = static_cast<std::int32_t>(std::string_view(message).size());
    auto* text = Service<service::ZEVABuildString>()(message, length);
    Service<service::ZEVASetStringEncoding>()(text, kEncodingAscii);
    Service<service::ZEVASetPropValueString>()(exception, "Message", text);
    Service<service::ZEVASetPropValueInt>()(exception, "ErrorNumber", number);
    Service<service::RuntimeRaiseException>()(exception);
    Service<service::ZEVAUnlockObject>()(exception);
    Service<service::ZEVAUnlockString>()(text);
}

double RaiseOnce(ZEVAobjectStruct*) {
    RaiseLikeAModule("UnsupportedOperationException", "the kettle is empty", 7);
    return 3;
}
double RaiseTwice(ZEVAobjectStruct*) {
    RaiseLikeAModule("RuntimeException", "first", 1);
    RaiseLikeAModule("OutOfMemoryException", "second", 2);
    return 3;
}
double Quiet(ZEVAobjectStruct*) { return 3; }
ZEVAobjectStruct* RaiseWithResult(ZEVAobjectStruct*) {
    RaiseLikeAModule("RuntimeException", "with a result", 1);
    return Service<service::PluginNewInstance>()("RuntimeException");
}
void RaiseInHook(ZEVAobjectStruct*) { RaiseLikeAModule("RuntimeException", "in a hook", 1); }

// A setter that raises; it is called while a getter of the same object runs.
void RaisingSetter(ZEVAobjectStruct*, std::int32_t) { RaiseLikeAModule("RuntimeException", "from the setter", 1); }
std::int32_t SetsItself(ZEVAobjectStruct* self) {
    Service<service::ZEVASetPropValueInt>()(self, "Level", 1);
    return 4;
}
void NullRaise(ZEVAobjectStruct*) { Service<service::RuntimeRaiseException>()(nullptr); }

class ExceptionTest : public HostTest {
  protected:
    ExceptionTest() {
        Register("Kettle", nullptr,
                 {Entry("Once as double", RaiseOnce), Entry("Twice as double", RaiseTwice),
                  Entry("Quiet as double", Quiet), Entry("WithResult as RuntimeException", RaiseWithResult),
                  Entry("Level as integer", SetsItself, RaisingSetter), Entry("Null", NullRaise)});
        kettle = host.NewInstance("Kettle");
    }

    ObjectReference kettle;
};

TEST_F(ExceptionTest, ARaisedExceptionIsThrownWithItsMessage) {
    try {
        host.Get(kettle.Get(), "Once");
        FAIL() << "nothing was thrown";
    } catch (const HostException& exception) {
        EXPECT_EQ(exception.ClassName(), "UnsupportedOperationException");
        EXPECT_EQ(exception.Message(), "the kettle is empty");
        EXPECT_EQ(exception.ErrorNumber(), 7);
        EXPECT_STREQ(exception.what(), "UnsupportedOperationException: the kettle is empty");
        EXPECT_EQ(exception.Object()->references, 1);
        EXPECT_EQ(host.LiveObjects(), 2);
    }
    EXPECT_EQ(host.LiveObjects(), 1);
    EXPECT_EQ(host.LiveStrings(), 0);
}

TEST_F(ExceptionTest, AnExceptionDoesNotAffectTheNextCall) {
    EXPECT_NE(TextOfError([&] { host.Get(kettle.Get(), "Once"); }), "");
    EXPECT_EQ(host.Get(kettle.Get(), "Quiet"), Value(3.0));
}

TEST_F(ExceptionTest, TheFirstOfTwoExceptionsIsThrownAndTheSecondReported) {
    EXPECT_EQ(TextOfError([&] { host.Get(kettle.Get(), "Twice"); }), "RuntimeException: first");
    EXPECT_EQ(TakeMessages(),
              Messages{"OutOfMemoryException: raised while a RuntimeException is pending; it is dropped"});
    EXPECT_EQ(host.LiveObjects(), 1);
}

TEST_F(ExceptionTest, ReleasesAResultThatComesWithAnException) {
    EXPECT_EQ(TextOfError([&] { host.Get(kettle.Get(), "WithResult"); }), "RuntimeException: with a result");
    EXPECT_EQ(host.LiveObjects(), 1);
}

TEST_F(ExceptionTest, AnExceptionInANestedCallReachesTheOuterCaller) {
    EXPECT_EQ(TextOfError([&] { host.Get(kettle.Get(), "Level"); }), "RuntimeException: from the setter");
    EXPECT_EQ(TakeMessages(), Messages());
    EXPECT_EQ(host.LiveObjects(), 1);
}

TEST_F(ExceptionTest, AnExceptionFromAnInitializerDestroysTheObject) {
    ZEVAclassDefinitionDownLevel record = {.version = kRecordVersion, .className = "Pot", .initialize = RaiseInHook};
    host.Classes().Register(&record);
    EXPECT_EQ(TextOfError([&] { host.NewInstance("Pot"); }), "RuntimeException: in a hook");
    EXPECT_EQ(host.LiveObjects(), 1);
}

TEST_F(ExceptionTest, AnExceptionFromAFinalizerIsReportedAndDropped) {
    ZEVAclassDefinitionDownLevel record = {.version = kRecordVersion, .className = "Pot", .finalize = RaiseInHook};
    host.Classes().Register(&record);
    host.NewInstance("Pot");
    EXPECT_EQ(TakeMessages(), Messages{"Pot: its finalizer raised a RuntimeException; the exception is dropped"});
    EXPECT_EQ(host.Get(kettle.Get(), "Quiet"), Value(3.0));
    EXPECT_EQ(host.LiveObjects(), 1);
}

TEST_F(ExceptionTest, RaisingNullIsReported) {
    host.Call(kettle.Get(), "Null");
    EXPECT_EQ(TakeMessages(), Messages{"RuntimeRaiseException: the exception is null; nothing is raised"});
}

TEST_F(ExceptionTest, AnyObjectCanBeRaised) {
    ZEVAclassDefinitionDownLevel record = {.version = kRecordVersion, .className = "Pot"};
    record.initialize = [](ZEVAobjectStruct* self) { Service<service::RuntimeRaiseException>()(self); };
    host.Classes().Register(&record);
    EXPECT_EQ(TextOfError([&] { host.NewInstance("Pot"); }), "Pot");
}

TEST_F(ExceptionTest, AnExceptionThatOutlivesTheHostKeepsOnlyItsText) {
    std::exception_ptr kept;
    try {
        host.Get(kettle.Get(), "Once");
    } catch (const HostException&) {
        kept = std::current_exception();
    }
    kettle = {};
    host.~Host();
    EXPECT_EQ(TakeMessages(), Messages());
    try {
        std::rethrow_exception(kept);
    } catch (const HostException& exception) {
        EXPECT_EQ(exception.Message(), "the kettle is empty");
        EXPECT_FALSE(exception.Object());
    }
    kept = nullptr;
    new (&host) host::Host();
}

// What no machine has the memory for.
constexpr auto kHugeData = static_cast<ZEVAword>(std::numeric_limits<ZEVAword>::max() & ~ZEVAword{15});

ZEVAobjectStruct* MakeHuge(ZEVAobjectStruct*) { return Service<service::PluginNewInstance>()("Huge"); }
ZEVAobjectStruct* MakeHugeAndRaise(ZEVAobjectStruct*) {
    ZEVAobjectStruct* made = Service<service::PluginNewInstance>()("Huge");
    RaiseLikeAModule("RuntimeException", "nothing was made", 1);
    return made;
}

TEST_F(ExceptionTest, AnObjectThatAModuleCannotMakeForLackOfMemoryIsAnOutOfMemoryException) {
    Register("Huge", nullptr, {}, kHugeData);
    Register("Maker", nullptr, {Entry("Made as Huge", MakeHuge), Entry("MadeAndRaised as Huge", MakeHugeAndRaise)});
    const ObjectReference maker = host.NewInstance("Maker");
    const std::string reason =
        "Huge: out of memory for " + std::to_string(kHugeData + kZEVAobjectHeaderSize) + " bytes";
    for (const char* member : {"Made", "MadeAndRaised"}) {
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(TextOfError([&] { host.Get(maker.Get(), member); }), "OutOfMemoryException: " + reason);
        }
    }
    EXPECT_EQ(TextOfError([&] { host.Construct("Huge"); }), reason);
    EXPECT_EQ(TakeMessages(), Messages());
}

ZEVAobjectStruct* NoObject(ZEVAobjectStruct*) { return nullptr; }
const char* reasonForNil = "";

TEST(ReasonForNilTest, NilIsAnExceptionOnlyWhereThePlatformHasAReasonSinceTheCallBegan) {
    static bool forgotten = false;
    host::Host host{{.failures = {[] { forgotten = true; }, [] { return reasonForNil; }}}};
    ZEVAmethod methods[] = {Entry("Part as Kettle", NoObject), Entry("Quiet as double", Quiet)};
    const ZEVAclassDefinitionDownLevel record = {
        .version = kRecordVersion, .className = "Kettle", .methods = methods, .methodCount = std::size(methods)};
    host.Classes().Register(&record);
    const ObjectReference kettle = host.NewInstance("Kettle");
    EXPECT_EQ(host.Get(kettle.Get(), "Part"), Value());
    EXPECT_TRUE(forgotten);
    reasonForNil = "the lid is too heavy";
    EXPECT_EQ(TextOfError([&] { host.Get(kettle.Get(), "Part"); }),
              "RuntimeException: Kettle.Part: the lid is too heavy");
    EXPECT_EQ(host.Get(kettle.Get(), "Quiet"), Value(3.0));
    reasonForNil = "";
}

TEST_F(ExceptionTest, BuiltInExceptionsHaveWritableProperties) {
    for (const char* name : {"RuntimeException", "UnsupportedOperationException", "OutOfMemoryException"}) {
        const auto exception = host.Construct(name);
        EXPECT_TRUE(std::holds_alternative<std::monostate>(host.Get(exception.Get(), "Message")));
        host.Set(exception.Get(), "Message", host::TextValue("text"));
        host.Set(exception.Get(), "ErrorNumber", -5);
        EXPECT_EQ(host::Describe(host.Get(exception.Get(), "Message")), "string \"text\"");
        EXPECT_EQ(host.Get(exception.Get(), "ErrorNumber"), Value(-5));
    }
    EXPECT_EQ(host.LiveStrings(), 0);
}

}  // namespace
