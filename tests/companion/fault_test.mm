// fault_test.mm - every member of the companion, called while a service is missing or fails, and on objects of another
// class.
//
// The members come from the class records. Argument() says what a parameter of each type gets.

#import <CoreImage/CoreImage.h>
#include <ffi.h>

#include <cstring>
#include <limits>
#include <set>

#include "bridge/host_objects.h"
#include "host/runtime/declaration.h"
#include "tests/boundary/boundary_test.h"
#include "tests/boundary/thrown_object.h"
#include "tests/support/path_from_environment.h"

namespace {

using host::Declaration;
using host::TypeKind;

// A member of a class: a method or a property.
struct Member {
    std::string className;
    Declaration declaration;
    ZEVAentry function;
    bool isShared;

    std::string Name() const { return className + "." + declaration.name; }
};

// What a member returned.
union Result {
    double number;
    ffi_arg integer;
    void* pointer;
};

class CompanionFaultTest : public testing::Test {
  protected:
    CompanionFaultTest() {
        _NSLog_printf_handler = [](NSString*) {};
        host.users = service::Users::kCompanion;
        companion.Enter();
        host.TakeLog();
    }

    ~CompanionFaultTest() override {
        for (const auto& object : host.objects) Finalize(object.get());
        [pool drain];
    }

    std::vector<Member> Members() const {
        std::vector<Member> members;
        for (const RegisteredClass& registered : host.classes) {
            const ZEVAclassDefinitionDownLevel& record = registered.record->record;
            const auto add = [&](const ZEVAmethod* table, ZEVAword count, bool isShared) {
                for (ZEVAword i = 0; i < count; ++i) {
                    const ZEVAmethodDownLevel& entry = table[i].entry;
                    members.push_back(
                        {registered.name, host::ParseDeclaration(entry.declaration), entry.function, isShared});
                }
            };
            add(record.methods, record.methodCount, false);
            add(record.sharedMethods, record.sharedMethodCount, true);
        }
        return members;
    }

    // A host object around a platform object, which it retains.
    ZEVAobjectStruct* Around(const char* className, id wrapped) {
        ZEVAobjectStruct* object = host.NewObject(className);
        object->fields[0] = reinterpret_cast<ZEVAword>([wrapped retain]);
        return object;
    }

    // A receiver or argument of the class.
    ZEVAobjectStruct* ObjectOf(const std::string& className) {
        CIColor* red = [CIColor colorWithRed:1 green:0 blue:0];
        if (className == "CIColorQOR") return Around("CIColorQOR", red);
        if (className == "CIVectorQOR") return Around("CIVectorQOR", [CIVector vectorWithX:0 Y:0 Z:2 W:2]);
        if (className == "NSAffineTransformQOR") return Around("NSAffineTransformQOR", [NSAffineTransform transform]);
        if (className == "CFObjectQOR" || className == "CGColorSpaceQOR") {
            return Around("CGColorSpaceQOR", [(id)CGColorSpaceCreateWithName(kCGColorSpaceSRGB) autorelease]);
        }
        CIFilter* filter = [CIFilter filterWithName:@"CIGaussianBlur"];
        if (className == "CIFilterQOR") return Around("CIFilterQOR", filter);
        if (className == "CIAttributeQOR") {
            return Around("CIAttributeQOR", [[filter attributes] objectForKey:@"inputRadius"]);
        }
        CIImage* image = [[CIImage imageWithColor:red] imageByCroppingToRect:CGRectMake(0, 0, 2, 2)];
        return Around("CIImageQOR", image);
    }

    // An object of the class that wraps an object of another class, which knows none of the messages.
    ZEVAobjectStruct* ImpostorOf(const std::string& className) {
        static auto& names = *new std::set<std::string>;  // the objects keep the pointer; for the leak checker
        return Around(names.insert(className).first->c_str(), [[[NSObject alloc] init] autorelease]);
    }

    Result Argument(const host::Type& type) {
        Result argument = {};
        if (type.kind == TypeKind::kDouble) argument.number = 0.5;
        if (type.kind == TypeKind::kInteger) argument.integer = 1;
        if (type.kind == TypeKind::kString) {
            host.strings.push_back(std::make_unique<ZEVAstringStruct>(ZEVAstringStruct{"/no such folder/a.png"}));
            argument.pointer = host.strings.back().get();
        }
        if (type.kind == TypeKind::kObject) {
            const bool isBlock = type.word == "memoryblock";
            argument.pointer = isBlock ? static_cast<void*>(host.NewBlock(4)) : ObjectOf(type.className);
        }
        return argument;
    }

    // Calls a member as a host does. No exception may leave it.
    Result Call(const Member& member, ZEVAobjectStruct* self, std::vector<Result> arguments) {
        std::vector<ffi_type*> types;
        std::vector<void*> values;
        if (!member.isShared) {
            types.push_back(&ffi_type_pointer);
            values.push_back(&self);
        }
        for (std::size_t i = 0; i < arguments.size(); ++i) {
            types.push_back(FormOf(member.declaration.parameters[i].type));
            values.push_back(&arguments[i]);
        }
        ffi_cif interface;
        const auto count = static_cast<unsigned>(types.size());
        ffi_prep_cif(&interface, FFI_DEFAULT_ABI, count, FormOf(member.declaration.result), types.data());
        Result result = {};
        EXPECT_EQ(ThrownBy([&] { ffi_call(&interface, member.function, &result, values.data()); }), nil)
            << member.Name();
        return result;
    }

    Result Call(const Member& member, ZEVAobjectStruct* self) {
        std::vector<Result> arguments;
        for (const host::Parameter& parameter : member.declaration.parameters) {
            arguments.push_back(Argument(parameter.type));
        }
        return Call(member, self, arguments);
    }

    static bool IsZero(const Member& member, const Result& result) {
        switch (member.declaration.result.kind) {
            case TypeKind::kNone:
                return true;
            case TypeKind::kDouble:
                return result.number == 0;
            case TypeKind::kInteger:
            case TypeKind::kBoolean:
                return static_cast<std::int32_t>(result.integer) == 0;
            default:
                return result.pointer == nullptr;
        }
    }

    static ffi_type* FormOf(const host::Type& type) {
        switch (type.kind) {
            case TypeKind::kNone:
                return &ffi_type_void;
            case TypeKind::kDouble:
                return &ffi_type_double;
            case TypeKind::kInteger:
            case TypeKind::kBoolean:
                return &ffi_type_sint32;
            default:
                return &ffi_type_pointer;
        }
    }

    Member Find(const std::string& name) const {
        for (const Member& member : Members()) {
            if (member.Name() == name) return member;
        }
        throw std::runtime_error("no member " + name);
    }

    RecordingHost host;
    LoadedModule companion{PathFromEnvironment("ZEVA_COMPANION_MODULE", ZEVA_COMPANION_MODULE)};
    NSAutoreleasePool* pool = [[NSAutoreleasePool alloc] init];

  private:
    // Runs the finalize functions of an object's class and superclasses.
    void Finalize(ZEVAobjectStruct* object) {
        std::string name = object->className;
        while (!name.empty()) {
            const auto found = std::find_if(host.classes.begin(), host.classes.end(),
                                            [&](const RegisteredClass& registered) { return registered.name == name; });
            if (found == host.classes.end()) return;
            if (found->record->record.finalize != nullptr) found->record->record.finalize(object);
            name = found->superclassName;
        }
    }
};

TEST_F(CompanionFaultTest, ObjectOfAnotherClassInsideAReceiverRaisesInTheHostAndTheMemberReturnsZero) {
    int properties = 0;
    for (const Member& member : Members()) {
        // Core Foundation functions take any pointer at its word.
        if (member.isShared || member.className == "CGColorSpaceQOR") continue;
        if (member.declaration.name == "ColorSpace" || member.declaration.name == "Key") continue;
        host.raised.clear();
        EXPECT_TRUE(IsZero(member, Call(member, ImpostorOf(member.className)))) << member.Name();
        EXPECT_EQ(host.raised.size(), 1u) << member.Name();
        properties += member.declaration.kind == host::MemberKind::kProperty;
    }
    EXPECT_GE(properties, 19);
}

TEST_F(CompanionFaultTest, ObjectOfAnotherClassInsideAnArgumentRaisesInTheHost) {
    int calls = 0;
    for (const Member& member : Members()) {
        for (std::size_t i = 0; i < member.declaration.parameters.size(); ++i) {
            const std::string& className = member.declaration.parameters[i].type.className;
            const bool isValue = className == "CIVectorQOR" || className == "CIColorQOR" ||
                                 className == "NSAffineTransformQOR" || className == "CIImageQOR";
            if (!isValue) continue;
            std::vector<Result> arguments;
            for (const host::Parameter& parameter : member.declaration.parameters) {
                arguments.push_back(Argument(parameter.type));
            }
            arguments[i].pointer = ImpostorOf(className);
            host.raised.clear();
            EXPECT_TRUE(IsZero(member, Call(member, ObjectOf(member.className), arguments))) << member.Name();
            EXPECT_EQ(host.raised.size(), 1u) << member.Name();
            ++calls;
        }
    }
    EXPECT_GT(calls, 5);
}

// A fault of a service, whose calls are counted from the call of a member.
struct ServiceFault {
    const char* name;
    RecordingHost::Fault fault;
};

class CompanionServiceTest : public CompanionFaultTest, public testing::WithParamInterface<ServiceFault> {
  protected:
    // Loads the module again, so that it has found no service yet.
    void LoadAgain() {
        host.faults.clear();
        host.classes.clear();
        companion = LoadedModule(PathFromEnvironment("ZEVA_COMPANION_MODULE", ZEVA_COMPANION_MODULE));
        companion.Enter();
    }

    // Makes the service fail in the call that follows.
    void Fault(const char* service) {
        RecordingHost::Fault fault = GetParam().fault;
        if (fault.failingCall > 0) fault.failingCall += host.CallsOf(service);
        host.faults[service] = fault;
    }

    // Whether the module finds no such service.
    bool IsMissing(const char* service) const {
        const auto fault = host.faults.find(service);
        return fault != host.faults.end() && fault->second.missingLookups != 0;
    }

    int References() const {
        int references = 0;
        for (const auto& object : host.objects) references += object->references;
        for (const auto& block : host.blocks) references += block->object.references;
        for (const auto& string : host.strings) references += string->references;
        return references;
    }
};

TEST_P(CompanionServiceTest, IsSurvivedByEveryMemberWhichGivesBackWhatItHolds) {
    const std::vector<const char*> services = {
#define SERVICE(name, ...) #name,
#define SERVICE_AT_LOAD(...)
#include "interface/services.def"
    };
    for (const char* service : services) {
        // Without these, the references and bytes that they would take back stay.
        const bool takesBack = std::strncmp(service, "ZEVAUnlock", 10) == 0;
        // A reference that the host does not add, although it has the service, is released all the same.
        const bool addsNone = std::strcmp(service, "ZEVALockObject") == 0 && GetParam().fault.missingLookups == 0;
        const bool takesBackBytes = std::strcmp(service, "PluginDisposeStringData") == 0;
        // A host that fails to take its bytes back leaks them itself; where it lacks the service, the module frees
        // them.
        if (takesBackBytes && GetParam().fault.missingLookups == 0) continue;
        LoadAgain();
        for (const Member& member : Members()) {
            const std::string name = member.Name() + ", " + service;
            std::vector<Result> arguments;
            for (const host::Parameter& parameter : member.declaration.parameters) {
                arguments.push_back(Argument(parameter.type));
            }
            ZEVAobjectStruct* self = ObjectOf(member.className);
            const int references = References();
            host.lentStrings = 0;
            Fault(service);
            NSAutoreleasePool* calling = [[NSAutoreleasePool alloc] init];
            const Result result = Call(member, self, arguments);
            [calling drain];
            const TypeKind kind = member.declaration.result.kind;
            const bool isReference = kind == TypeKind::kObject || kind == TypeKind::kString;
            const int returned = isReference && !IsZero(member, result) ? 1 : 0;
            // An image over the bytes of a block keeps the block.
            const bool keeps =
                member.Name() == "CIImageQOR.FromPixels" && returned == 1 && !IsMissing("ZEVALockObject");
            if (!takesBack && !addsNone) EXPECT_EQ(References(), references + returned + (keeps ? 1 : 0)) << name;
            if (!takesBackBytes) EXPECT_EQ(host.lentStrings, 0) << name;
        }
    }
}

constexpr ServiceFault kServiceFaults[] = {
    {"missing", {.missingLookups = RecordingHost::kAlways}},
    {"failing", {.failingCall = RecordingHost::kAlways}},
    {"failingOnce", {.failingCall = 1}},
    {"failingLater", {.failingCall = 2}},
};

INSTANTIATE_TEST_SUITE_P(Faults, CompanionServiceTest, testing::ValuesIn(kServiceFaults),
                         [](const auto& test) { return test.param.name; });

class CompanionSizesTest : public CompanionFaultTest {
  protected:
    // Calls a class member that makes an object of a block; expects it to raise.
    void Refuse(const char* member, ZEVAmemoryBlockStruct* block, std::int32_t width = 1, std::int32_t height = 1) {
        std::vector<Result> arguments(3);
        arguments[0].pointer = block;
        arguments[1].integer = static_cast<ffi_arg>(width);
        arguments[2].integer = static_cast<ffi_arg>(height);
        const Member found = Find(member);
        arguments.resize(found.declaration.parameters.size());
        host.raised.clear();
        EXPECT_EQ(Call(found, nullptr, arguments).pointer, nullptr);
        ASSERT_EQ(host.raised.size(), 1u) << member << " " << width << " " << height;
        // An exception of the platform would be an NSExceptionQOR.
        EXPECT_EQ(host.raised[0].className, "RuntimeException") << member << " " << width << " " << height;
    }
};

TEST_F(CompanionSizesTest, BlockOfNegativeSizeIsEmpty) {
    for (const std::int32_t size : {-1, -4, std::numeric_limits<std::int32_t>::min()}) {
        ZEVAmemoryBlockStruct* block = host.NewBlock(4);
        block->size = size;
        for (const char* member : {"CIImageQOR.FromData", "CIImageQOR.FromPixels", "CGColorSpaceQOR.FromProfile"}) {
            Refuse(member, block);
        }
    }
}

TEST_F(CompanionSizesTest, BlockWithoutBytesIsEmpty) {
    host.blocksHaveBytes = false;
    for (const char* member : {"CIImageQOR.FromData", "CIImageQOR.FromPixels", "CGColorSpaceQOR.FromProfile"}) {
        Refuse(member, host.NewBlock(4));
    }
}

TEST_F(CompanionSizesTest, StringOfNegativeLengthIsEmpty) {
    const std::pair<const char*, const char*> members[] = {
        {"CIImageQOR.Open", "CIImageQOR.Open: the path is empty; no image was opened"},
        {"CGColorSpaceQOR.Named", "CGColorSpaceQOR.Named: no color space is called \"\""},
    };
    for (const ZEVAword length : {ZEVAword{-1}, ZEVAword{-16}, std::numeric_limits<ZEVAword>::min()}) {
        host.stringLength = length;
        for (const auto& [name, message] : members) {
            const Member member = Find(name);
            host.raised.clear();
            EXPECT_EQ(Call(member, nullptr, {Argument(member.declaration.parameters[0].type)}).pointer, nullptr);
            ASSERT_EQ(host.raised.size(), 1u) << name << " " << length;
            EXPECT_EQ(host.raised[0].message, message) << length;
        }
    }
    EXPECT_EQ(host.lentStrings, 0);
}

TEST_F(CompanionSizesTest, NoWidthTimesHeightMatchesABlockThatIsTooSmall) {
    constexpr std::int32_t kLargest = std::numeric_limits<std::int32_t>::max();
    const std::int32_t sizes[] = {std::numeric_limits<std::int32_t>::min(), -1, 0, 2, 46341, 65536, 1 << 30, kLargest};
    for (const std::int32_t width : sizes) {
        for (const std::int32_t height : sizes) Refuse("CIImageQOR.FromPixels", host.NewBlock(4), width, height);
    }
}

TEST_F(CompanionSizesTest, ResultThatTheHostGivesNoBytesForIsNilAndItsBlockIsGivenBack) {
    host.blocksHaveBytes = false;
    EXPECT_EQ(Call(Find("CIImageQOR.ToPNG"), ObjectOf("CIImageQOR")).pointer, nullptr);
    ASSERT_EQ(host.blocks.size(), 1u);
    EXPECT_EQ(host.blocks[0]->object.references, 0);
}

}  // namespace
