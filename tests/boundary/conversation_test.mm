// conversation_test.mm - compares every call into the module with its model, under each fault and each pair of faults.

#include "tests/boundary/conversation.h"

#import <CoreImage/CoreImage.h>

#include <cstring>

#include "tests/boundary/boundary_test.h"
#include "tests/boundary/recording_objects.h"
#include "tests/boundary/replaced_method.h"

namespace {

RecordingObject* value = nil;  // what is read, written or made
RecordingObject* data = nil;   // what +[NSData alloc] returns

id NumberWithFloat(id, SEL, float number) {
    return Say([[NSString stringWithFormat:@"[NSNumber numberWithFloat:%g]", number] UTF8String]) ? value : nil;
}

id AllocData(id, SEL) { return Say("[NSData alloc]") ? data : nil; }

id DictionaryClass(id self, SEL) {
    Say(std::string("[") + class_getName(self) + " class]");
    return self;
}

id FilterWithName(id, SEL, NSString* name) {
    return Say(std::string("[CIFilter filterWithName:") + [name UTF8String] + "]") ? value : nil;
}

// The objects that a call needs.
struct Stage {
    ZEVAobjectStruct* self;
    ZEVAobjectStruct* wrapper;     // a host value object around the value
    ZEVAmemoryBlockStruct* block;  // a MemoryBlock that holds "abcd"
};

// Calls a method as its scenario does; whether the result is not null or 0.
using Caller = bool (*)(const ZEVAmethodDownLevel& method, const Stage& stage);

bool ReadDouble(const ZEVAmethodDownLevel& method, const Stage& stage) {
    return reinterpret_cast<double (*)(ZEVAobjectStruct*)>(method.function)(stage.self) != 0.0;
}

bool WriteDouble(const ZEVAmethodDownLevel& method, const Stage& stage) {
    reinterpret_cast<void (*)(ZEVAobjectStruct*, double)>(method.setter)(stage.self, 2.5);
    return false;
}

bool ReadPointer(const ZEVAmethodDownLevel& method, const Stage& stage) {
    return reinterpret_cast<void* (*)(ZEVAobjectStruct*)>(method.function)(stage.self) != nullptr;
}

void WritePointer(const ZEVAmethodDownLevel& method, const Stage& stage, void* written) {
    reinterpret_cast<void (*)(ZEVAobjectStruct*, void*)>(method.setter)(stage.self, written);
}

bool WriteWrapper(const ZEVAmethodDownLevel& method, const Stage& stage) {
    WritePointer(method, stage, stage.wrapper);
    return false;
}

bool WriteNull(const ZEVAmethodDownLevel& method, const Stage& stage) {
    WritePointer(method, stage, nullptr);
    return false;
}

bool WriteBlock(const ZEVAmethodDownLevel& method, const Stage& stage) {
    WritePointer(method, stage, stage.block);
    return false;
}

bool CallConstructor(const ZEVAmethodDownLevel& method, const Stage& stage) {
    reinterpret_cast<void (*)(ZEVAobjectStruct*)>(method.function)(stage.self);
    return false;
}

// What a filter object holds before the call.
enum class Holds { kFilter, kNothing, kFilterAndAttributes };

// The method of each scenario, and how to call it.
struct Target {
    std::string scenario;
    const char* filterClass;
    const char* declaration;
    Caller call;
    Holds holds = Holds::kFilterAndAttributes;
};

// clang-format off
const Target kTargets[] = {
    // scenario          filter class                           declaration                             call
    {"ReadNumber",       "CIFilterGaussianBlurQOR",             "inputRadius as double",                ReadDouble},
    {"WriteNumber",      "CIFilterGaussianBlurQOR",             "inputRadius as double",                WriteDouble},
    {"ReadImage",        "CIFilterGaussianBlurQOR",             "inputImage as CIImageQOR",             ReadPointer},
    {"WriteImage",       "CIFilterGaussianBlurQOR",             "inputImage as CIImageQOR",             WriteWrapper},
    {"ReadColor",        "CIFilterFalseColorQOR",               "inputColor0 as CIColorQOR",            ReadPointer},
    {"WriteColor",       "CIFilterFalseColorQOR",               "inputColor0 as CIColorQOR",            WriteWrapper},
    {"ReadVector",       "CIFilterCropQOR",                     "inputRectangle as CIVectorQOR",        ReadPointer},
    {"WriteVector",      "CIFilterCropQOR",                     "inputRectangle as CIVectorQOR",        WriteWrapper},
    {"ReadTransform",    "CIFilterAffineTileQOR",               "inputTransform as NSAffineTransformQOR", ReadPointer},
    {"WriteTransform",   "CIFilterAffineTileQOR",               "inputTransform as NSAffineTransformQOR", WriteWrapper},
    {"ReadColorSpace",   "CIFilterColorCubeWithColorSpaceQOR",  "inputColorSpace as CGColorSpaceQOR",   ReadPointer},
    {"WriteColorSpace",  "CIFilterColorCubeWithColorSpaceQOR",  "inputColorSpace as CGColorSpaceQOR",   WriteWrapper},
    {"ClearColorSpace",  "CIFilterColorCubeWithColorSpaceQOR",  "inputColorSpace as CGColorSpaceQOR",   WriteNull},
    {"ReadData",         "CIFilterColorCubeQOR",                "inputCubeData as memoryblock",         ReadPointer},
    {"WriteData",        "CIFilterColorCubeQOR",                "inputCubeData as memoryblock",         WriteBlock},
    {"ReadAttribute",    "CIFilterGaussianBlurQOR",             "AttributeinputRadius as CIAttributeQOR", ReadPointer,
     Holds::kFilter},
    {"ReadCachedAttribute", "CIFilterGaussianBlurQOR",          "AttributeinputRadius as CIAttributeQOR", ReadPointer},
    {"Construct",        "CIFilterGaussianBlurQOR",             "Constructor",                         CallConstructor,
     Holds::kNothing},
    {"ConstructTwice",   "CIFilterGaussianBlurQOR",             "Constructor",                         CallConstructor},
};
// clang-format on

const Target& TargetOf(const Scenario& scenario) {
    return *std::find_if(std::begin(kTargets), std::end(kTargets),
                         [&](const Target& target) { return target.scenario == scenario.name; });
}

// The host objects of a call, as they were before it.
std::vector<std::pair<const ZEVAobjectStruct*, ZEVAobjectStruct>> originals;

// Fills each empty word of an object's data, so that a write of any value is noticed.
void FillEmptyWords(ZEVAobjectStruct* object) {
    for (ZEVAword i = 0; i < static_cast<ZEVAword>(std::size(object->fields)); ++i) {
        if (object->fields[i] == 0) object->fields[i] = 0x5A5A00 + i;
    }
}

void FillAndRemember(ZEVAobjectStruct* made) {
    FillEmptyWords(made);
    originals.emplace_back(made, *made);
}

// A scenario in a fresh module with a fresh host and fresh objects.
class Performance : public BoundaryTest {
  public:
    Performance(const Target& target, const Faults& faults) : target_(target) {
        value = [RecordingObject named:"value"];
        value->number = 0.5;
        value->dataBytes = "abcd";
        value->dataLength = 4;
        value->isDictionary = YES;
        value->successor = [RecordingObject named:"retained value"];
        data = [RecordingObject named:"data"];
        data->successor = [RecordingObject named:"made data"];
        RecordingObject* attributes = [RecordingObject named:"attributes"];
        RecordingObject* retainedAttributes = [RecordingObject named:"retained attributes"];
        attributes->successor = retainedAttributes;
        retainedAttributes->reply = value;
        RecordingObject* filter = [RecordingObject named:"filter"];
        filter->reply = target.holds == Holds::kFilter ? attributes : value;
        self_ = MakeFilterObject(target.holds != Holds::kNothing ? filter : nil);
        if (target.holds == Holds::kFilterAndAttributes) {
            self_.fields[1] = reinterpret_cast<ZEVAword>(retainedAttributes);
        }
        known_ = {value, value->successor, attributes, retainedAttributes, filter};
        stage_ = {&self_, host.NewObject("CIImageQOR"), host.NewBlock(4)};
        stage_.wrapper->fields[0] = reinterpret_cast<ZEVAword>(value);
        std::memcpy(stage_.block->bytes, "abcd", 4);
        FillEmptyWords(stage_.wrapper);
        FillEmptyWords(&self_);
        if (target.holds == Holds::kFilter) self_.fields[1] = 0;
        host.onNewObject = FillAndRemember;
        host.faults = faults.services;
        host.messageFaults = faults.messages;
        host.nilReplies = faults.nilReplies;
        conversion = Conversion::kWorks;
        Enter();
    }

    // Calls once and returns the actual outcome.
    Expected Call() {
        Expected actual;
        const ZEVAmethodDownLevel& method = Method(target_.filterClass, target_.declaration);
        const std::size_t objects = host.objects.size(), blocks = host.blocks.size();
        if (target_.holds == Holds::kNothing) self_.fields[0] = 0;
        originals = {{&self_, self_}, {stage_.wrapper, *stage_.wrapper}};
        id thrown = ThrownBy([&] {
            const bool foreign = ThrowsForeign([&] { actual.returnsValue = target_.call(method, stage_); });
            if (foreign) actual.thrown = Raise::kForeign;
        });
        if (thrown == TheException()) actual.thrown = Raise::kNSException;
        if (thrown == TheOtherObject()) actual.thrown = Raise::kOtherObject;
        actual.log = host.TakeLog();
        actual.written = WrittenWords();
        actual.valueReferences = static_cast<int>(value->references);
        actual.blockReferences = stage_.block->object.references;
        for (std::size_t i = objects; i < host.objects.size(); ++i)
            actual.madeReferences += host.objects[i]->references;
        for (std::size_t i = blocks; i < host.blocks.size(); ++i) {
            actual.madeReferences += host.blocks[i]->object.references;
        }
        return actual;
    }

    void EndFaults() {
        host.faults.clear();
        host.messageFaults.clear();
        host.nilReplies.clear();
    }

  private:
    void TestBody() override {}

    // The words of host objects that differ from their originals.
    std::map<std::string, std::string> WrittenWords() const {
        std::map<std::string, std::string> written;
        for (const auto& [object, original] : originals) {
            const bool isMade = object != &self_ && object != stage_.wrapper;
            const std::string name = (isMade ? "made " : "") + std::string(original.className) + " ";
            const bool keepsHeader =
                std::memcmp(object->restOfHeader, original.restOfHeader, sizeof original.restOfHeader) == 0;
            if (!keepsHeader) written[name + "header"] = "changed";
            for (std::size_t i = 0; i < std::size(original.fields); ++i) {
                const ZEVAword word = object->fields[i];
                if (word == original.fields[i]) continue;
                const bool isKey = i == 1 && std::strcmp(original.className, "CIAttributeQOR") == 0;
                written[name + std::to_string(i)] = isKey ? TextOfKey(word) : TextOf(word);
            }
        }
        return written;
    }

    std::string TextOf(ZEVAword word) const {
        if (word == 0) return "nil";
        for (const RecordingObject* object : known_) {
            if (word == reinterpret_cast<ZEVAword>(object)) return object->name;
        }
        return "an unknown value";
    }

    static std::string TextOfKey(ZEVAword word) {
        return [reinterpret_cast<id>(word) isEqual:@"inputRadius"] ? "key" : "another key";
    }

    const Target& target_;
    std::vector<const RecordingObject*> known_;
    ZEVAobjectStruct self_;
    Stage stage_;
    CapturedLog captured_;
    ReplacedMethod numberWithFloat_ {
        [NSNumber class], @selector(numberWithFloat:), reinterpret_cast<IMP>(&NumberWithFloat)
    };
    ReplacedMethod allocData_ { [NSData class], @selector(alloc), reinterpret_cast<IMP>(&AllocData) };
    ReplacedMethod dictionaryClass_ { [NSDictionary class], @selector(class), reinterpret_cast<IMP>(&DictionaryClass) };
    ReplacedMethod filterWithName_ {
        [CIFilter class], @selector(filterWithName:), reinterpret_cast<IMP>(&FilterWithName)
    };
};

// A fault, and its name in failure messages.
struct NamedFault {
    std::string name;
    std::string place;  // the service or the message
    Faults faults;
};

Faults Together(const Faults& one, const Faults& other) {
    Faults both = one;
    both.services.insert(other.services.begin(), other.services.end());
    both.messages.insert(other.messages.begin(), other.messages.end());
    both.nilReplies.insert(other.nilReplies.begin(), other.nilReplies.end());
    return both;
}

// Adds every fault of the service or message that a log line names.
void AddFaultsAt(const std::string& line, bool isAsked, std::map<std::string, NamedFault>& known) {
    constexpr int kAlways = RecordingHost::kAlways;
    const auto add = [&](const std::string& place, const char* how, const Faults& faults) {
        const std::string name = place + " " + how;
        known.insert({name, {name, place, faults}});
    };
    if (line[0] == '[') {
        add(line, "raises an NSException", {{}, {{line, Raise::kNSException}}, {}});
        add(line, "raises another object", {{}, {{line, Raise::kOtherObject}}, {}});
        add(line, "raises a foreign exception", {{}, {{line, Raise::kForeign}}, {}});
        add(line, "raises and handles an NSException", {{}, {{line, Raise::kHandled}}, {}});
        if (isAsked) add(line, "replies nil", {{}, {}, {line}});
    } else if (line.rfind("resolve ", 0) == 0) {
        const std::string service = line.substr(8);
        add(service, "is missing", {{{service, {.missingLookups = kAlways}}}, {}, {}});
        add(service, "is missing once", {{{service, {.missingLookups = 1}}}, {}, {}});
        add(service, "fails always", {{{service, {.failingCall = kAlways}}}, {}, {}});
        add(service, "fails at call 1", {{{service, {.failingCall = 1}}}, {}, {}});
        add(service, "fails at call 2", {{{service, {.failingCall = 2}}}, {}, {}});
        add(service, "fails at call 3", {{{service, {.failingCall = 3}}}, {}, {}});
        add(service, "throws a foreign exception", {{{service, {.throwingCall = 1}}}, {}, {}});
    }
}

// All faults that the scenario can meet, including those that another fault leads to.
std::vector<NamedFault> FaultsOf(const Scenario& scenario) {
    std::map<std::string, NamedFault> known;
    const auto addFaultsUnder = [&](const Faults& faults) {
        std::set<std::string> asked;
        for (const std::string& line : Expect(scenario, faults, &asked).log) {
            AddFaultsAt(line, asked.count(line) != 0, known);
        }
    };
    std::size_t before = 0;
    addFaultsUnder({});
    while (known.size() != before) {
        before = known.size();
        const auto found = known;
        for (const auto& [name, fault] : found) addFaultsUnder(fault.faults);
    }
    std::vector<NamedFault> faults;
    for (const auto& [name, fault] : known) faults.push_back(fault);
    return faults;
}

// Whether both faults throw foreign exceptions. The second may leave a destructor that the first one runs, which ends
// the process.
bool AreBothForeign(const Faults& one, const Faults& other) {
    const auto isForeign = [](const Faults& faults) {
        for (const auto& [line, what] : faults.messages) {
            if (what == Raise::kForeign) return true;
        }
        for (const auto& [service, fault] : faults.services) {
            if (fault.throwingCall != 0) return true;
        }
        return false;
    };
    return isForeign(one) && isForeign(other);
}

class ConversationTest : public testing::TestWithParam<Scenario> {
  protected:
    // Runs the scenario under the faults and compares it with its model; then again without them on the same object.
    void Check(const Faults& faults, const std::string& name) {
        NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];
        Performance performance(TargetOf(GetParam()), faults);
        const Expected expected = Expect(GetParam(), faults);
        const Expected actual = performance.Call();
        EXPECT_EQ(actual.log, expected.log) << name;
        EXPECT_EQ(actual.written, expected.written) << name;
        EXPECT_EQ(actual.thrown, expected.thrown) << name;
        EXPECT_EQ(OpenScopes(), 0) << name;
        EXPECT_EQ(actual.returnsValue, expected.returnsValue) << name;
        EXPECT_EQ(actual.valueReferences, expected.valueReferences) << name;
        EXPECT_EQ(actual.blockReferences, expected.blockReferences) << name;
        EXPECT_EQ(actual.madeReferences, expected.madeReferences) << name;
        performance.EndFaults();
        const Expected again = performance.Call();
        EXPECT_EQ(again.returnsValue, Expect(GetParam(), {}).returnsValue) << "afterward: " << name;
        EXPECT_EQ(again.thrown, Raise::kNothing) << "afterward: " << name;
        [pool drain];
    }
};

TEST_P(ConversationTest, MatchesTheModelWithoutFaults) { Check({}, "no fault"); }

TEST_P(ConversationTest, MatchesTheModelUnderEachFault) {
    for (const NamedFault& fault : FaultsOf(GetParam())) Check(fault.faults, fault.name);
}

TEST_P(ConversationTest, MatchesTheModelUnderEachPairOfFaults) {
    const std::vector<NamedFault> faults = FaultsOf(GetParam());
    for (std::size_t i = 0; i < faults.size(); ++i) {
        for (std::size_t k = i + 1; k < faults.size(); ++k) {
            if (faults[i].place == faults[k].place || AreBothForeign(faults[i].faults, faults[k].faults)) continue;
            Check(Together(faults[i].faults, faults[k].faults), faults[i].name + " and " + faults[k].name);
            if (HasFailure()) return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, ConversationTest, testing::ValuesIn(Scenarios()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
