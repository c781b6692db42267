// program_checks.cpp - the members that a program calls, and what they find out about the calls.
//
// Services reach only setters, initializers and finalizers. The rest needs a program in the host's language, such as
// judge_host.lua, that calls members of every kind and hands back what it got. A check is skipped when the program has
// not made its calls.

#include <cstdint>
#include <cstring>

#include "interface/text_encoding.h"
#include "probe/check.h"
#include "probe/classes.h"
#include "probe/held.h"
#include "probe/lent.h"
#include "probe/memory.h"

namespace probe {

namespace {

// ---- What was noted

ZEVAobjectStruct* initialized = nullptr;  // the object whose initializer was called last
ZEVAobjectStruct* constructed = nullptr;  // the object of the first constructor
int constructors = 0;
int constructorsForOthers = 0;  // objects that had not just been initialized
int otherReceivers = 0;

// How a property of one type went back and forth: its getter returns kRounds values in turn, and the setter expects
// them in this order.
constexpr int kRounds = 4;
struct Exchange {
    int reads = 0;
    int writes = 0;
    int others = 0;  // values that were not the expected ones

    int NextRead() { return reads++ % kRounds; }
    int NextWrite() { return writes++ % kRounds; }
    void Expect(bool isSame) { others += isSame ? 0 : 1; }
};
Exchange doubles, integers, booleans, strings, blocks, objects, methodArguments, results, shared;
int freshObjects = 0;

// Where the probe raises an exception.
enum class Place { kMethod, kGetter, kSetter, kShared, kConstructor, kInitializer, kNested, kNowhere };
struct Exceptions {
    int raised = 0;
    int caught = 0;
} exceptions[static_cast<int>(Place::kNowhere)];
Place pending = Place::kNowhere;  // where the exception was raised that the program has not caught yet
int caughtAgain = 0;
int otherClasses = 0, otherMessages = 0, otherNumbers = 0;
int endedExceptions = 0;
int keptExceptions = 0, lostExceptions = 0;

constexpr const char* kMessage = "raised by the probe";
constexpr std::int32_t kErrorNumber = 4711;

void RaiseFrom(Place place) {
    if (!RaiseException()) return;
    ++exceptions[static_cast<int>(place)].raised;
    pending = place;
}

void NoteReceiver(ZEVAobjectStruct* self) { otherReceivers += self == constructed ? 0 : 1; }

// ---- Members of callsClass

void InitializeCalls(ZEVAobjectStruct* self) { initialized = self; }

void Construct(ZEVAobjectStruct* self) {
    if (constructors++ == 0) constructed = self;
    if (self != initialized) ++constructorsForOthers;
    initialized = nullptr;
}

void ConstructRaising(ZEVAobjectStruct*, std::int32_t) { RaiseFrom(Place::kConstructor); }

constexpr double kDoubles[kRounds] = {0.1, -0.0, 1.7976931348623157e308, 5e-324};

double GetDouble(ZEVAobjectStruct* self) {
    NoteReceiver(self);
    return kDoubles[doubles.NextRead()];
}

void SetDouble(ZEVAobjectStruct*, double number) {
    doubles.Expect(std::memcmp(&number, &kDoubles[doubles.NextWrite()], sizeof number) == 0);
}

constexpr std::int32_t kIntegers[kRounds] = {INT32_MIN, INT32_MAX, -1, 65536};

std::int32_t GetInteger(ZEVAobjectStruct* self) {
    NoteReceiver(self);
    return kIntegers[integers.NextRead()];
}

void SetInteger(ZEVAobjectStruct*, std::int32_t number) { integers.Expect(number == kIntegers[integers.NextWrite()]); }

std::int32_t GetBoolean(ZEVAobjectStruct*) { return booleans.NextRead() % 2; }
void SetBoolean(ZEVAobjectStruct*, std::int32_t value) { booleans.Expect(value == booleans.NextWrite() % 2); }

struct Bytes {
    const char* start;
    std::size_t length;
};
constexpr Bytes kTexts[kRounds] = {{"plain", 5}, {"with\0zero", 9}, {"\0", 1}, {"end\0", 4}};

ZEVAstringStruct* GetString(ZEVAobjectStruct*) {
    const Bytes& bytes = kTexts[strings.NextRead()];
    return String(bytes.start, bytes.length).Leak();
}

void SetString(ZEVAobjectStruct*, ZEVAstringStruct* string) {
    const Bytes& bytes = kTexts[strings.NextWrite()];
    strings.Expect(Lent(string).Has(bytes.start, bytes.length));
}

constexpr std::int32_t kBlockSizes[kRounds] = {1, 7, 255, 65537};
constexpr int kBlockByte = 0x77;

ZEVAmemoryBlockStruct* GetBlock(ZEVAobjectStruct*) {
    const std::int32_t size = kBlockSizes[blocks.NextRead()];
    Block block(size);
    if (block && !Fill(block.Bytes(), kBlockByte, static_cast<std::size_t>(size))) return nullptr;
    return block.Leak();
}

void SetBlock(ZEVAobjectStruct*, ZEVAmemoryBlockStruct* block) {
    const std::int32_t size = kBlockSizes[blocks.NextWrite()];
    blocks.Expect(block != nullptr && ZEVAMemoryBlockGetSize(block) == size &&
                  IsFilled(ZEVAMemoryBlockGetPtr(block), kBlockByte, static_cast<std::size_t>(size)));
}

ZEVAobjectStruct* lastObject = nullptr;

// A new object and null in turn.
ZEVAobjectStruct* GetObject(ZEVAobjectStruct*) {
    lastObject = objects.NextRead() % 2 == 0 ? ZEVAnewInstance("ProbeBaseQOR") : nullptr;
    return lastObject;
}

void SetObject(ZEVAobjectStruct*, ZEVAobjectStruct* object) {
    ++objects.writes;
    objects.Expect(object == lastObject);
}

ZEVAobjectStruct* GetFresh(ZEVAobjectStruct*) {
    ++freshObjects;
    Object object("ProbeBaseQOR");
    WatchEnd(object.Get());
    return object.Leak();
}

constexpr std::int32_t kResult = 1234;

std::int32_t TakeArguments(ZEVAobjectStruct* self, double number, std::int32_t count, std::int32_t flag,
                           ZEVAstringStruct* text, ZEVAobjectStruct* object) {
    ++methodArguments.reads;
    ++methodArguments.writes;
    methodArguments.Expect(number == 1.5 && count == -2 && flag == 1 && Lent(text).Has("four") && object == self);
    ++results.reads;
    return kResult;
}

std::int32_t GetReturned(ZEVAobjectStruct*) { return 0; }
void SetReturned(ZEVAobjectStruct*, std::int32_t result) {
    ++results.writes;
    results.Expect(result == kResult);
}

std::int32_t TakeShared(std::int32_t number, double half) {
    ++shared.reads;
    ++shared.writes;
    shared.Expect(number == 7 && half == 0.5);
    return number;
}

std::int32_t GetRaising(ZEVAobjectStruct*) {
    RaiseFrom(Place::kGetter);
    return 0;
}

void SetRaising(ZEVAobjectStruct*, std::int32_t isNested) {
    RaiseFrom(isNested != 0 ? Place::kNested : Place::kSetter);
}

void Raise(ZEVAobjectStruct*) { RaiseFrom(Place::kMethod); }
void RaiseShared() { RaiseFrom(Place::kShared); }
void RaiseNested(ZEVAobjectStruct* self) { ZEVASetPropValueInt32(self, "Raising", 1); }
std::int32_t GetQuiet(ZEVAobjectStruct*) { return 0; }

void Caught(ZEVAobjectStruct*, ZEVAstringStruct* className, ZEVAstringStruct* message, std::int32_t number) {
    if (pending == Place::kNowhere) {
        ++caughtAgain;
        return;
    }
    ++exceptions[static_cast<int>(pending)].caught;
    pending = Place::kNowhere;
    otherClasses += Lent(className).Has("ProbeExceptionQOR") ? 0 : 1;
    otherMessages += Lent(message).Has(kMessage) ? 0 : 1;
    otherNumbers += number == kErrorNumber ? 0 : 1;
}

ZEVAmethod callsMethods[] = {
    PROBE_MEMBER("Constructor", Construct),
    PROBE_MEMBER("Constructor(raises as boolean)", ConstructRaising),
    PROBE_PROPERTY("Double as double", GetDouble, SetDouble),
    PROBE_PROPERTY("Integer as integer", GetInteger, SetInteger),
    PROBE_PROPERTY("Boolean as boolean", GetBoolean, SetBoolean),
    PROBE_PROPERTY("String as string", GetString, SetString),
    PROBE_PROPERTY("Block as memoryblock", GetBlock, SetBlock),
    PROBE_PROPERTY("Object as ProbeBaseQOR", GetObject, SetObject),
    PROBE_MEMBER("Fresh as ProbeBaseQOR", GetFresh),
    PROBE_MEMBER("Arguments(number as double, count as integer, flag as boolean, text as string, "
                 "object as ProbeCallsQOR) as integer",
                 TakeArguments),
    PROBE_PROPERTY("Returned as integer", GetReturned, SetReturned),
    PROBE_PROPERTY("Raising as integer", GetRaising, SetRaising),
    PROBE_MEMBER("Raise()", Raise),
    PROBE_MEMBER("RaiseNested()", RaiseNested),
    PROBE_MEMBER("Quiet as integer", GetQuiet),
    PROBE_MEMBER("Caught(className as string, message as string, number as integer)", Caught),
};

ZEVAmethod sharedMethods[] = {
    PROBE_MEMBER("Shared(number as integer, half as double) as integer", TakeShared),
    PROBE_MEMBER("RaiseShared()", RaiseShared),
};

void InitializeRaising(ZEVAobjectStruct*) { RaiseFrom(Place::kInitializer); }
void FinalizeException(ZEVAobjectStruct*) { ++endedExceptions; }

// ---- Judging

constexpr const char* kNotCalled = "the program has not made this call";

void JudgeExchange(Finding& finding, const Exchange& exchange) {
    if (exchange.reads == 0 && exchange.writes == 0) return finding.Skip("%s", kNotCalled);
    if (exchange.others != 0) {
        return finding.Fail("expected %d values to arrive, got %d others", exchange.writes, exchange.others);
    }
    if (exchange.reads != exchange.writes) {
        finding.Fail("expected %d values to arrive, got %d", exchange.reads, exchange.writes);
    }
}

void JudgeException(Finding& finding, Place place) {
    const Exceptions& seen = exceptions[static_cast<int>(place)];
    if (seen.raised == 0) return finding.Skip("%s, or the host makes no exceptions", kNotCalled);
    if (seen.caught != seen.raised) {
        finding.Fail("expected the program to catch %d exceptions, got %d", seen.raised, seen.caught);
    }
}

void JudgeCaught(Finding& finding, int others, const char* what) {
    int caught = 0;
    for (const Exceptions& each : exceptions) caught += each.caught;
    if (caught == 0) return finding.Skip("the program has caught no exception");
    if (others != 0) finding.Fail("expected %s in %d exceptions, got another in %d", what, caught, others);
}

}  // namespace

ZEVAclassDefinition callsClass = {.record = {.version = kRecordVersion,
                                             .className = "ProbeCallsQOR",
                                             .initialize = InitializeCalls,
                                             .methods = callsMethods,
                                             .methodCount = std::size(callsMethods),
                                             .flags = kHostFlags,
                                             .sharedMethods = sharedMethods,
                                             .sharedMethodCount = std::size(sharedMethods)}};

ZEVAclassDefinition raisingClass = {.record = {.version = kRecordVersion,
                                               .className = "ProbeRaisingQOR",
                                               .initialize = InitializeRaising,
                                               .flags = kHostFlags}};

ZEVAclassDefinition exceptionClass = {.record = {.version = kRecordVersion,
                                                 .className = "ProbeExceptionQOR",
                                                 .superclassName = "RuntimeException",
                                                 .finalize = FinalizeException,
                                                 .flags = kHostFlags}};

bool RaiseException() {
    Finding finding;
    if (finding.Lacks<service::RuntimeRaiseException>()) return false;
    Object exception("ProbeExceptionQOR");
    if (!exception) return false;
    String message(kMessage, std::strlen(kMessage));
    message.SetEncoding(kEncodingAscii);
    exception.SetText("Message", message.Get());
    exception.SetNumber("ErrorNumber", kErrorNumber);
    message.Release();
    ZEVARaiseException(exception.Get());
    const int endedBefore = endedExceptions;
    exception.Release();
    ++(endedExceptions == endedBefore ? keptExceptions : lostExceptions);
    return true;
}

void Constructor(Finding& finding) {
    if (constructors == 0) return finding.Skip("%s", kNotCalled);
    if (constructors != 1) return finding.Fail("expected one call, got %d", constructors);
    if (constructorsForOthers != 0) finding.Fail("expected the object that was initialized just before, got another");
}

void Receiver(Finding& finding) {
    if (otherReceivers != 0) finding.Fail("expected the object, got another in %d calls", otherReceivers);
}

void Double(Finding& finding) { JudgeExchange(finding, doubles); }
void Integer(Finding& finding) { JudgeExchange(finding, integers); }
void Boolean(Finding& finding) { JudgeExchange(finding, booleans); }
void StringValue(Finding& finding) { JudgeExchange(finding, strings); }
void BlockValue(Finding& finding) { JudgeExchange(finding, blocks); }
void ObjectValue(Finding& finding) { JudgeExchange(finding, objects); }

void Arguments(Finding& finding) {
    if (!finding.Lacks<service::PluginGetStringData>()) JudgeExchange(finding, methodArguments);
}

void Result(Finding& finding) { JudgeExchange(finding, results); }
void Shared(Finding& finding) { JudgeExchange(finding, shared); }

void ResultReference(Finding& finding) {
    if (freshObjects == 0) return finding.Skip("%s", kNotCalled);
    if (!HasEnded()) finding.Fail("expected the object's end when the program had dropped it");
}

void FromMethod(Finding& finding) { JudgeException(finding, Place::kMethod); }
void FromGetter(Finding& finding) { JudgeException(finding, Place::kGetter); }
void FromSetter(Finding& finding) { JudgeException(finding, Place::kSetter); }
void FromShared(Finding& finding) { JudgeException(finding, Place::kShared); }
void FromConstructor(Finding& finding) { JudgeException(finding, Place::kConstructor); }
void FromInitializer(Finding& finding) { JudgeException(finding, Place::kInitializer); }
void FromNested(Finding& finding) { JudgeException(finding, Place::kNested); }

void RaisedOnce(Finding& finding) {
    if (caughtAgain != 0) finding.Fail("expected each exception once, got %d again", caughtAgain);
}

void ExceptionClass(Finding& finding) {
    if (!finding.Lacks<service::PluginGetStringData>()) JudgeCaught(finding, otherClasses, "the class");
}

void ExceptionMessage(Finding& finding) {
    if (!finding.Lacks<service::ZEVASetPropValueString>()) JudgeCaught(finding, otherMessages, "the message");
}

void ExceptionNumber(Finding& finding) {
    if (!finding.Lacks<service::ZEVASetPropValueInt>()) JudgeCaught(finding, otherNumbers, "the number");
}

void ExceptionKept(Finding& finding) {
    if (keptExceptions + lostExceptions == 0) return finding.Skip("%s", kNotCalled);
    if (lostExceptions != 0) {
        finding.Fail("expected it to live, got the end of %d of %d", lostExceptions, keptExceptions + lostExceptions);
    }
}

}  // namespace probe
