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
    Say([[NSString stringWithFormat:@"[NSNumber numberWithFloat:%g]", number] UTF8String]);
    return value;
}

id AllocData(id, SEL) {
    Say("[NSData alloc]");
    return data;
}

id DictionaryClass(id self, SEL) {
    Say(std::string("[") + class_getName(self) + " class]");
    return self;
}

id FilterWithName(id, SEL, NSString* name) {
    Say(std::string("[CIFilter filterWithName:") + [name UTF8String] + "]");
    return value;
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

bool ConstructFresh(const ZEVAmethodDownLevel& method, const Stage& stage) {
    stage.self->fields[0] = 0;
    reinterpret_cast<void (*)(ZEVAobjectStruct*)>(method.function)(stage.self);
    return false;
}

bool ConstructAgain(const ZEVAmethodDownLevel& method, const Stage& stage) {
    reinterpret_cast<void (*)(ZEVAobjectStruct*)>(method.function)(stage.self);
    return false;
}

// The method of each scenario, and how to call it.
struct Target {
    std::string scenario;
    const char* filterClass;
    const char* declaration;
    Caller call;
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
    {"ReadAttribute",    "CIFilterGaussianBlurQOR",             "AttributeinputRadius as CIAttributeQOR", ReadPointer},
    {"Construct",        "CIFilterGaussianBlurQOR",             "Constructor",                          ConstructFresh},
    {"ConstructTwice",   "CIFilterGaussianBlurQOR",             "Constructor",                          ConstructAgain},
};
// clang-format on

const Target& TargetOf(const Scenario& scenario) {
    return *std::find_if(std::begin(kTargets), std::end(kTargets),
                         [&](const Target& target) { return target.scenario == scenario.name; });
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
        data = [RecordingObject named:"data"];
        RecordingObject* attributes = [RecordingObject named:"attributes"];
        RecordingObject* filter = [RecordingObject named:"filter"];
        attributes->reply = value;
        const bool readsAttribute = std::strncmp(target.declaration, "Attribute", 9) == 0;
        filter->reply = readsAttribute ? attributes : value;
        self_ = MakeFilterObject(filter);
        stage_ = {&self_, host.NewObject("CIImageQOR"), host.NewBlock(4)};
        stage_.wrapper->fields[0] = reinterpret_cast<ZEVAword>(value);
        std::memcpy(stage_.block->bytes, "abcd", 4);
        host.faults = faults.services;
        host.messageFaults = faults.messages;
        conversion = Conversion::kWorks;
        Enter();
    }

    // Calls once and returns the actual outcome.
    Expected Call() {
        Expected actual;
        const ZEVAmethodDownLevel& method = Method(target_.filterClass, target_.declaration);
        const std::size_t objects = host.objects.size(), blocks = host.blocks.size();
        id thrown = ThrownBy([&] {
            const bool foreign = ThrowsForeign([&] { actual.returnsValue = target_.call(method, stage_); });
            if (foreign) actual.thrown = Raise::kForeign;
        });
        if (thrown == TheException()) actual.thrown = Raise::kNSException;
        if (thrown == TheOtherObject()) actual.thrown = Raise::kOtherObject;
        actual.log = host.TakeLog();
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
    }

  private:
    void TestBody() override {}

    const Target& target_;
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
    return both;
}

// Adds every fault of the service or message that a log line names.
void AddFaultsAt(const std::string& line, std::map<std::string, NamedFault>& known) {
    constexpr int kAlways = RecordingHost::kAlways;
    const auto add = [&](const std::string& place, const char* how, const Faults& faults) {
        const std::string name = place + " " + how;
        known.insert({name, {name, place, faults}});
    };
    if (line[0] == '[') {
        add(line, "raises an NSException", {{}, {{line, Raise::kNSException}}});
        add(line, "raises another object", {{}, {{line, Raise::kOtherObject}}});
        add(line, "raises a foreign exception", {{}, {{line, Raise::kForeign}}});
    } else if (line.rfind("resolve ", 0) == 0) {
        const std::string service = line.substr(8);
        add(service, "is missing", {{{service, {kAlways, 0}}}, {}});
        add(service, "is missing once", {{{service, {1, 0}}}, {}});
        add(service, "fails always", {{{service, {0, kAlways}}}, {}});
        add(service, "fails at call 1", {{{service, {0, 1}}}, {}});
        add(service, "fails at call 2", {{{service, {0, 2}}}, {}});
        add(service, "fails at call 3", {{{service, {0, 3}}}, {}});
    }
}

// All faults that the scenario can meet, including those that another fault leads to.
std::vector<NamedFault> FaultsOf(const Scenario& scenario) {
    std::map<std::string, NamedFault> known;
    std::size_t before = 0;
    for (const std::string& line : Expect(scenario, {}).log) AddFaultsAt(line, known);
    while (known.size() != before) {
        before = known.size();
        const auto found = known;
        for (const auto& [name, fault] : found) {
            for (const std::string& line : Expect(scenario, fault.faults).log) AddFaultsAt(line, known);
        }
    }
    std::vector<NamedFault> faults;
    for (const auto& [name, fault] : known) faults.push_back(fault);
    return faults;
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
        EXPECT_EQ(actual.thrown, expected.thrown) << name;
        EXPECT_EQ(actual.returnsValue, expected.returnsValue) << name;
        EXPECT_EQ(actual.valueReferences, expected.valueReferences) << name;
        EXPECT_EQ(actual.blockReferences, expected.blockReferences) << name;
        EXPECT_EQ(actual.madeReferences, expected.madeReferences) << name;
        performance.EndFaults();
        const Expected again = performance.Call();
        EXPECT_EQ(again.returnsValue, Expect(GetParam(), {}).returnsValue) << "afterwards: " << name;
        EXPECT_EQ(again.thrown, Raise::kNothing) << "afterwards: " << name;
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
            if (faults[i].place == faults[k].place) continue;
            Check(Together(faults[i].faults, faults[k].faults), faults[i].name + " and " + faults[k].name);
            if (HasFailure()) return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Calls, ConversationTest, testing::ValuesIn(Scenarios()),
                         [](const auto& test) { return test.param.name; });

}  // namespace
