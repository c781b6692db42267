// faulty_module.cpp - a module that keeps every rule of the host interface, or breaks exactly one of them.
//
// The environment variable ZEVA_FAULT names the rule to break, by the name of the check that must notice it
// ("registration.data-size"). Without it the module has no fault.
//
// The classes: Jug has a property of each type, an attribute of each property, and methods. JugAttribute is the
// class of the attributes. JugException is raised. Pitcher needs a sibling's class. A class with a fault in its
// record is registered beside them.
//
// The module uses interface/ but nothing of plugin/: it breaks what the functions of plugin/ do right.
// Adding a fault: Broken("<group>.<check>") where the rule is broken, placed so that no other check can notice it.
// A new service that can fail needs a call here; its other faults come with the list.

#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

#include "interface/class_definition.h"
#include "interface/host_version.h"
#include "interface/text_encoding.h"
#include "tests/checker/faulty_jug.h"

namespace {

// ---- Exceptions

void Raise(const char* message) {
    ZEVAnewInstance.mayFail = true;
    ZEVAobjectStruct* exception = ZEVAnewInstance("JugException");
    if (exception == nullptr && !Broken("faults.fallback-exception")) exception = ZEVAnewInstance("RuntimeException");
    ZEVAnewInstance.mayFail = false;
    if (exception == nullptr) return;
    if (Broken("errors.encodings")) message = "caf\xE9";
    ZEVAstringStruct* text = originalZEVABuildString(message, static_cast<std::int32_t>(std::strlen(message)));
    if (text != nullptr) ZEVASetStringEncoding(text, kEncodingAscii);
    ZEVASetPropValueString(exception, "Message", Broken("errors.messages") ? nullptr : text);
    ZEVASetPropValueInt32(exception, Broken("errors.services-used-rightly") ? "Nothing" : "ErrorNumber", 7);
    ZEVARaiseException(exception);
    if (Broken("errors.raises-once")) ZEVARaiseException(exception);
    if (Broken("errors.returns-after-raise")) ZEVAUnlockString(originalZEVABuildString("more", 4));
    if (!Broken("ownership.exceptions")) ZEVAUnlockObject(exception);
    if (text != nullptr) ZEVAUnlockString(text);
}

// ---- Jug

void Keep(char*& bytes, std::int32_t& size, const void* from, std::int32_t count) {
    std::free(bytes);
    bytes = static_cast<char*>(std::malloc(static_cast<std::size_t>(count) + 1));
    std::memcpy(bytes, from, static_cast<std::size_t>(count));
    size = count;
}

void Begin(ZEVAobjectStruct* self) {
    Jug& jug = JugAt(self);
    if (!jug.isConstructed) ++liveJugs;
    jug.isConstructed = true;
    FindAllServices();
    jug.number = jug.other = kDefaultNumber;
    jug.count = kDefaultCount;
    jug.flag = true;
    if (jug.text == nullptr) Keep(jug.text, jug.textSize, "water", 5);
    wasUsed = true;
}

double sharedNumber = kDefaultNumber;  // for a fault only
extern ZEVAclassDefinition jugClass;

void Construct(ZEVAobjectStruct* self) {
    Jug& jug = JugAt(self);
    if (jug.isConstructed) {
        if (Broken("errors.second-constructor")) jug.number = kDefaultNumber;
        return Raise("a jug is constructed once");
    }
    constexpr int kFewJugs = 500;
    if (liveJugs >= kFewJugs && Broken("sequences.many-objects")) return Raise("there are too many jugs");
    if (Broken("ownership.construction")) ZEVAnewInstance("JugAttribute");
    if (Broken("registration.records-stay")) jugClass.record.flags = 5;
    Begin(self);
    NoteConstruction(self);
    sharedNumber = kDefaultNumber;
}

ZEVAobjectStruct* ObjectOf(ZEVAmemoryBlockStruct* block) { return reinterpret_cast<ZEVAobjectStruct*>(block); }

void Finalize(ZEVAobjectStruct* self) {
    Jug& jug = JugAt(self);
    if (!jug.isConstructed && Broken("ownership.end-unconstructed")) Crash();
    const bool isFirstOfThree =
        last.kind == LastCall::kConstruct && last.constructions >= 3 && last.constructed[0] == self;
    if (isFirstOfThree && Broken("sequences.ending-orders")) Crash();
    last = {};
    if (jug.isConstructed) --liveJugs;
    anyHasEnded = true;
    if (jug.gives) giverHasEnded = true;
    if (!Broken("ownership.memory-flat")) std::free(jug.text);
    if (!Broken("binary-data.copied-in")) std::free(jug.data);
    const bool keepsPartner = Broken("ownership.endings") || Broken("ownership.owners-outlive-values");
    if (jug.partner != nullptr && !keepsPartner) ZEVAUnlockObject(jug.partner);
    if (jug.lockedBlock != nullptr) ZEVAUnlockObject(ObjectOf(jug.lockedBlock));
    if (jug.keptBlock != nullptr) ZEVAUnlockObject(ObjectOf(jug.keptBlock));
}

void RoundUpwards() {
    std::uint32_t state = 0;
    asm volatile("stmxcsr %0" : "=m"(state));
    state |= 0x4000;
    asm volatile("ldmxcsr %0" : : "m"(state));
}

double GetNumber(ZEVAobjectStruct* self) {
    NoteRead(self, "Number");
    if (Broken("properties.floating-point-stays")) RoundUpwards();
    if (Broken("properties.independent")) return sharedNumber;
    if (JugAt(self).isGift && giverHasEnded && Broken("ownership.values-outlive-owners")) return 99;
    return JugAt(self).number;
}

// Uses what no check is about, and the sandbox refuses.
void LeaveTheSandbox() {
    if (Broken("sandbox.file")) close(open("/var/tmp/faulty", O_CREAT | O_WRONLY, 0600));
    if (Broken("sandbox.socket")) close(socket(AF_INET, SOCK_STREAM, 0));
    if (Broken("sandbox.program")) {
        const pid_t process = fork();
        if (process == 0) _exit(0);
        if (process > 0) waitpid(process, nullptr, 0);
    }
}

void SetNumber(ZEVAobjectStruct* self, double value) {
    NoteWrite(self, "Number");
    Jug& jug = JugAt(self);
    if (std::isnan(value) && Broken("properties.extremes")) Crash();
    LeaveTheSandbox();
    if (value != kDefaultNumber && Broken("properties.numbers-arrive")) return;
    if (value == jug.number && Broken("properties.write-back")) value += 1;
    if (Broken("properties.others-stay")) jug.other = value;
    jug.number = sharedNumber = value;
}

double GetOther(ZEVAobjectStruct* self) {
    NoteRead(self, "Other");
    if (!JugAt(self).isConstructed && Broken("errors.unconstructed")) Crash();
    return JugAt(self).other;
}

void SetOther(ZEVAobjectStruct* self, double value) {
    NoteWrite(self, "Other");
    JugAt(self).other = value;
}

std::int32_t GetCount(ZEVAobjectStruct* self) {
    NoteRead(self, "Count");
    if (Broken("ownership.objects-given-back")) ZEVAUnlockObject(self);
    return JugAt(self).count;
}

void SetCount(ZEVAobjectStruct* self, std::int32_t value) {
    NoteWrite(self, "Count");
    if (!Broken("properties.integers-arrive")) JugAt(self).count = value;
}

std::int32_t GetFlag(ZEVAobjectStruct* self) {
    NoteRead(self, "Flag");
    if (Broken("ownership.known-handles")) ZEVAMemoryBlockGetSize(reinterpret_cast<ZEVAmemoryBlockStruct*>(self));
    return JugAt(self).flag ? 1 : 0;
}

void SetFlag(ZEVAobjectStruct* self, std::int32_t value) {
    NoteWrite(self, "Flag");
    if (!Broken("properties.booleans-arrive")) JugAt(self).flag = value != 0;
}

std::int32_t GetTicks(ZEVAobjectStruct* self) {
    NoteRead(self, "Ticks");
    if (Broken("properties.readable")) Raise("the clock stands still");
    if (Broken("sequences.replay")) return getpid();
    return Broken("properties.reads-agree") ? ++JugAt(self).ticks : 0;
}

ZEVAstringStruct* GetText(ZEVAobjectStruct* self) {
    NoteRead(self, "Text");
    const Jug& jug = JugAt(self);
    return jug.text != nullptr ? originalZEVABuildString(jug.text, jug.textSize) : nullptr;
}

void SetText(ZEVAobjectStruct* self, ZEVAstringStruct* value) {
    NoteWrite(self, "Text");
    Jug& jug = JugAt(self);
    ZEVAstringData data = {};
    if (value == nullptr || ZEVAGetStringData(value, &data) != 1) return;
    const auto* bytes = static_cast<const char*>(data.bytes);
    auto size = static_cast<std::int32_t>(data.hostWords[kStringDataLength]);
    if (Broken("properties.strings-whole")) size = static_cast<std::int32_t>(std::strlen(bytes));
    const bool isIgnored = std::strncmp(bytes, "text ", 5) == 0 && Broken("properties.strings-arrive");
    if (!isIgnored) Keep(jug.text, jug.textSize, bytes, size);
    ZEVAstringData copy = data;
    ZEVADisposeStringData(&data);
    if (Broken("ownership.string-bytes")) ZEVADisposeStringData(&copy);
    if (Broken("ownership.strings-given-back")) ZEVAUnlockString(value);
}

ZEVAobjectStruct* GetPartner(ZEVAobjectStruct* self) {
    NoteRead(self, "Partner");
    ZEVAobjectStruct* partner = JugAt(self).partner;
    if (partner != nullptr) ZEVALockObject(partner);
    return partner;
}

void SetPartner(ZEVAobjectStruct* self, ZEVAobjectStruct* value) {
    NoteWrite(self, "Partner");
    Jug& jug = JugAt(self);
    if (value == nullptr && Broken("errors.nil-values")) Crash();
    const bool takesNone = Broken("ownership.owners-outlive-values");
    if (value != nullptr && !takesNone) ZEVALockObject(value);
    if (jug.partner != nullptr && !takesNone && !Broken("ownership.writes")) ZEVAUnlockObject(jug.partner);
    jug.partner = value;
}

ZEVAobjectStruct* GetItself(ZEVAobjectStruct* self) {
    NoteRead(self, "Itself");
    if (!Broken("ownership.results")) ZEVALockObject(self);
    return self;
}

ZEVAobjectStruct* GetGift(ZEVAobjectStruct* self) {
    NoteRead(self, "Gift");
    if (Broken("properties.declared-class")) return ZEVAnewInstance("JugAttribute");
    ZEVAobjectStruct* gift = ZEVAnewInstance("Jug");
    if (gift == nullptr) return nullptr;
    Begin(gift);
    JugAt(gift).isGift = true;
    JugAt(self).gives = true;
    if (Broken("ownership.reads")) ZEVALockObject(gift);
    return gift;
}

unsigned char* BytesOf(ZEVAmemoryBlockStruct* block) {
    return static_cast<unsigned char*>(ZEVAMemoryBlockGetPtr(block));
}

ZEVAmemoryBlockStruct* GetData(ZEVAobjectStruct* self) {
    NoteRead(self, "Data");
    Jug& jug = JugAt(self);
    if (jug.dataSize == 0) return nullptr;
    const auto size = static_cast<std::size_t>(jug.dataSize);
    if (jug.sharedBytes != nullptr) std::memcpy(jug.data, jug.sharedBytes, size);
    const bool fits = jug.keptBlock != nullptr && ZEVAMemoryBlockGetSize(jug.keptBlock) == jug.dataSize;
    if (fits && std::memcmp(BytesOf(jug.keptBlock), jug.data, size) == 0) {
        ZEVALockObject(ObjectOf(jug.keptBlock));
        return jug.keptBlock;
    }
    ZEVAmemoryBlockStruct* block = ZEVANewMemoryBlockOriginal(jug.dataSize);
    unsigned char* bytes = block != nullptr ? BytesOf(block) : nullptr;
    if (bytes == nullptr) {
        if (block != nullptr) ZEVAUnlockObject(ObjectOf(block));
        return nullptr;
    }
    std::memcpy(bytes, jug.data, size);
    if (Broken("binary-data.copied-out")) jug.sharedBytes = bytes;
    if (Broken("binary-data.new-block")) {
        if (jug.keptBlock != nullptr) ZEVAUnlockObject(ObjectOf(jug.keptBlock));
        ZEVALockObject(ObjectOf(block));
        jug.keptBlock = block;
    }
    return block;
}

// Copies byte by byte, so that a read beyond the block really happens.
unsigned char* CopyOf(const unsigned char* bytes, std::int32_t size) {
    const std::int32_t read = size + (Broken("binary-data.bounds") ? 1 : 0);
    auto* copy = static_cast<unsigned char*>(std::malloc(static_cast<std::size_t>(read)));
    for (std::int32_t i = 0; i < read; ++i) copy[i] = static_cast<const volatile unsigned char*>(bytes)[i];
    return copy;
}

void SetData(ZEVAobjectStruct* self, ZEVAmemoryBlockStruct* block) {
    NoteWrite(self, "Data");
    Jug& jug = JugAt(self);
    if (block == nullptr) return;
    ZEVALockObject(ObjectOf(block));
    std::int32_t size = ZEVAMemoryBlockGetSize(block);
    const auto isEmpty = [&] { return size == 0 && resolver(service::memoryBlockGetSize::kName) != nullptr; };
    if (Broken("binary-data.nil-and-empty") && isEmpty()) Crash();
    if (Broken("binary-data.sizes")) size -= size % 8;
    if (size == 64 && Broken("binary-data.arrives")) size = 0;
    unsigned char* bytes = size > 0 ? BytesOf(block) : nullptr;
    if (bytes != nullptr) {
        const bool sharesBytes = Broken("binary-data.copied-in");
        if (!sharesBytes) std::free(jug.data);
        jug.data = sharesBytes ? bytes : CopyOf(bytes, size);
        jug.dataSize = size;
        jug.sharedBytes = nullptr;
    }
    if (!Broken("binary-data.given-back")) return ZEVAUnlockObject(ObjectOf(block));
    if (jug.lockedBlock != nullptr) ZEVAUnlockObject(ObjectOf(jug.lockedBlock));
    jug.lockedBlock = block;
}

ZEVAobjectStruct* GetAttribute(ZEVAobjectStruct* self) {
    if (!JugAt(self).isConstructed) {
        if (Broken("attributes.unconstructed")) Crash();
        return nullptr;
    }
    static std::int32_t made = 0;
    ZEVAobjectStruct* attribute = ZEVAnewInstance("JugAttribute");
    if (attribute != nullptr && Broken("attributes.same-content")) {
        reinterpret_cast<Attribute*>(attribute)->number = ++made;
    }
    return attribute;
}

ZEVAobjectStruct* GetAttributeNumber(ZEVAobjectStruct* self) {
    return Broken("attributes.described") ? nullptr : GetAttribute(self);
}

void SetAttribute(ZEVAobjectStruct*, ZEVAobjectStruct*) {}

// Returns a greeting; raises for nil.
ZEVAstringStruct* Greet(ZEVAobjectStruct* self, ZEVAstringStruct* name) {
    if (name != nullptr) return originalZEVABuildString("hello", 5);
    if (!JugAt(self).isConstructed && Broken("errors.nil-arguments")) Crash();
    ZEVAstringStruct* answer = Broken("errors.no-result") ? originalZEVABuildString("hello", 5) : nullptr;
    Raise("nobody is to be greeted");
    return answer;
}

// Raises for nil.
void Pour(ZEVAobjectStruct*, ZEVAobjectStruct* into) {
    if (into != nullptr) return;
    if (Broken("errors.nothing-leaves")) throw 1;
    if (!Broken("errors.exceptions")) return Raise("there is no jug to pour into");
    ZEVAobjectStruct* notAnException = ZEVAnewInstance("JugAttribute");
    ZEVARaiseException(notAnException);
    ZEVAUnlockObject(notAnException);
}

ZEVAobjectStruct* Make(double number) {
    ZEVAobjectStruct* jug = ZEVAnewInstance("Jug");
    if (jug == nullptr) return nullptr;
    Begin(jug);
    JugAt(jug).number = number;
    return jug;
}

// ---- JugAttribute

ZEVAstringStruct* GetKey(ZEVAobjectStruct* self) {
    const std::string text = "key " + std::to_string(reinterpret_cast<Attribute*>(self)->number);
    return originalZEVABuildString(text.c_str(), static_cast<std::int32_t>(text.size()));
}
double GetDefault(ZEVAobjectStruct*) { return Broken("attributes.defaults") ? 2.5 : kDefaultNumber; }
double GetMin(ZEVAobjectStruct*) { return Broken("attributes.ranges") ? 200 : 0; }
double GetMax(ZEVAobjectStruct*) { return anyHasEnded && Broken("attributes.outlive-owner") ? 5 : 100; }

// ---- Records

// A method or read-only property; with a setter, a writable property.
template <typename Function>
ZEVAmethod Member(const char* declaration, Function* function) {
    return {{reinterpret_cast<ZEVAentry>(function), nullptr, declaration, kHostFlags}, {}};
}
template <typename Getter, typename Setter>
ZEVAmethod Member(const char* declaration, Getter* getter, Setter* setter) {
    return {{reinterpret_cast<ZEVAentry>(getter), reinterpret_cast<ZEVAentry>(setter), declaration, kHostFlags}, {}};
}

ZEVAmethod jugMethods[] = {
    Member("AttributeNumber as JugAttribute", GetAttributeNumber),
    Member("Number as double", GetNumber, SetNumber),
    Member("AttributeOther as JugAttribute", GetAttribute),
    Member("Other as double", GetOther, SetOther),
    Member("AttributeCount as JugAttribute", GetAttribute),
    Member("Count as integer", GetCount, SetCount),
    Member("AttributeFlag as JugAttribute", GetAttribute),
    Member("Flag as boolean", GetFlag, SetFlag),
    Member("AttributeTicks as JugAttribute", GetAttribute),
    Member("Ticks as integer", GetTicks),
    Member("AttributeText as JugAttribute", GetAttribute),
    Member("Text as string", GetText, SetText),
    Member("AttributePartner as JugAttribute", GetAttribute),
    Member("Partner as Jug", GetPartner, SetPartner),
    Member("AttributeItself as JugAttribute", GetAttribute),
    Member("Itself as Jug", GetItself),
    Member("AttributeGift as JugAttribute", GetAttribute),
    Member("Gift as Jug", GetGift),
    Member("AttributeData as JugAttribute", GetAttribute),
    Member("Data as memoryblock", GetData, SetData),
    Member("Greet(name as string) as string", Greet),
    Member("Pour(into as Jug)", Pour),
    Member("Constructor", Construct),
};
ZEVAmethod sharedJugMethods[] = {Member("Make(number as double) as Jug", Make)};

ZEVAmethod attributeMethods[] = {
    Member("Key as string", GetKey),
    Member("Default as double", GetDefault),
    Member("Min as double", GetMin),
    Member("Max as double", GetMax),
};

// The data size of an object, rounded up as records need it.
constexpr ZEVAword DataSize(std::size_t objectSize) {
    const auto size = static_cast<ZEVAword>(objectSize - kZEVAobjectHeaderSize);
    return (size + kDataSizeStep - 1) / kDataSizeStep * kDataSizeStep;
}

ZEVAclassDefinition jugClass = {.record = {.version = kRecordVersion,
                                           .className = "Jug",
                                           .instanceDataSize = DataSize(sizeof(Jug)),
                                           .finalize = Finalize,
                                           .methods = jugMethods,
                                           .methodCount = std::size(jugMethods),
                                           .flags = kHostFlags,
                                           .sharedMethods = sharedJugMethods,
                                           .sharedMethodCount = std::size(sharedJugMethods)}};
ZEVAclassDefinition attributeClass = {.record = {.version = kRecordVersion,
                                                 .className = "JugAttribute",
                                                 .instanceDataSize = DataSize(sizeof(Attribute)),
                                                 .methods = attributeMethods,
                                                 .methodCount = std::size(attributeMethods),
                                                 .flags = kHostFlags}};
ZEVAclassDefinition exceptionClass = {.record = {.version = kRecordVersion,
                                                 .className = "JugException",
                                                 .superclassName = "RuntimeException",
                                                 .flags = kHostFlags}};
ZEVAclassDefinition pitcherClass = {
    .record = {.version = kRecordVersion, .className = "Pitcher", .superclassName = "Vessel", .flags = kHostFlags}};

// The class with a fault in its record.
void Nothing(ZEVAobjectStruct*) {}
double GetOneAndAHalf(ZEVAobjectStruct*) { return kDefaultNumber; }
ZEVAobjectStruct* GetNil(ZEVAobjectStruct*) { return nullptr; }
ZEVAproperty unreadProperty = {};
ZEVAmethod faultyMethods[3] = {};
ZEVAclassDefinition faultyClass = {.record = {.version = kRecordVersion,
                                              .className = "Faulty",
                                              .instanceDataSize = DataSize(sizeof(Jug)),
                                              .flags = kHostFlags}};

// Puts the fault into the class; false when the fault is not in a record.
bool MakeFaulty() {
    ZEVAclassDefinitionDownLevel& record = faultyClass.record;
    const auto hasMethods = [&](std::initializer_list<ZEVAmethod> methods) {
        std::copy(methods.begin(), methods.end(), faultyMethods);
        record.methods = faultyMethods;
        record.methodCount = static_cast<ZEVAword>(methods.size());
        return true;
    };
    if (Broken("registration.readable") && announced > kDownLevelRecordVersion) {
        record.methods = reinterpret_cast<ZEVAmethod*>(16);
        record.methodCount = 1;
        return true;
    }
    if (Broken("registration.record-version")) return (record.version = 11) != 0;
    if (Broken("registration.data-size")) return (record.instanceDataSize = 20) != 0;
    if (Broken("registration.class-names")) return (record.className = "a jug") != nullptr;
    if (Broken("registration.unique-names")) return (record.className = "JugAttribute") != nullptr;
    if (Broken("registration.superclasses")) return (record.superclassName = "Nowhere") != nullptr;
    if (Broken("registration.no-circles")) return (record.superclassName = "Faulty") != nullptr;
    if (Broken("registration.counts")) return (record.methodCount = 3) != 0;
    if (Broken("registration.declarations")) return hasMethods({Member("Number like double", GetOneAndAHalf)});
    if (Broken("registration.unique-members")) {
        return hasMethods({Member("Number as double", GetOneAndAHalf), Member("Number as integer", GetNil)});
    }
    if (Broken("registration.functions")) return hasMethods({Member<void()>("Number as double", nullptr)});
    if (Broken("registration.setters")) return hasMethods({Member("Do()", Nothing, Nothing)});
    if (Broken("registration.shared-constructors")) {
        faultyMethods[0] = Member("Constructor", Nothing);
        record.sharedMethods = faultyMethods;
        return (record.sharedMethodCount = 1) != 0;
    }
    if (Broken("registration.known-types")) return hasMethods({Member("Thing as Nowhere", GetNil)});
    if (Broken("registration.property-tables")) {
        record.properties = &unreadProperty;
        return (record.propertyCount = 1) != 0;
    }
    if (Broken("registration.spare-words")) return (record.hostWords13[1] = 7) != 0;
    if (Broken("attributes.belong")) return hasMethods({Member("AttributeNothing as JugAttribute", GetNil)});
    if (Broken("attributes.complete")) {
        return hasMethods({Member("Number as double", GetOneAndAHalf),
                           Member("AttributeNumber as JugAttribute", GetNil),
                           Member("Other as double", GetOneAndAHalf)});
    }
    return false;
}

// ---- Entry

// A copy of a method table with down-level entries.
ZEVAmethod* Shortened(const ZEVAmethod* methods, ZEVAword count) {
    if (count == 0) return nullptr;
    auto* shortened = new ZEVAmethodDownLevel[static_cast<std::size_t>(count)];
    for (ZEVAword i = 0; i < count; ++i) shortened[i] = methods[i].entry;
    return reinterpret_cast<ZEVAmethod*>(shortened);
}

void Register(ZEVAclassDefinition* definition) {
    ZEVAclassDefinitionDownLevel& record = definition->record;
    if (record.version == kRecordVersion) record.version = announced;
    const bool staysLong =
        Broken("negotiation.same-interface") || record.methodCount != 0 == (record.methods == nullptr);
    if (announced == kDownLevelRecordVersion && !staysLong) {
        record.methods = Shortened(record.methods, record.methodCount);
        record.sharedMethods = Shortened(record.sharedMethods, record.sharedMethodCount);
    }
    if (announced == kDownLevelRecordVersion && Broken("registration.down-level-words")) record.hostWords16[0] = 7;
    ZEVARegisterClass(definition);
}

// Whether the fault's name is the check's followed by the host version.
bool BrokenFor(const std::string& check, double version) {
    const char* fault = std::getenv("ZEVA_FAULT");
    if (fault == nullptr || std::strncmp(fault, check.c_str(), check.size()) != 0) return false;
    char* end = nullptr;
    const double named = std::strtod(fault + check.size(), &end);
    return *end == '\0' && named == version;
}

std::int32_t RecordVersionFor(bool hasVersion, double version) {
    const bool isWrong = (!hasVersion && Broken("negotiation.version-unknown")) ||
                         (std::isnan(version) && Broken("negotiation.version-nan")) ||
                         BrokenFor("negotiation.version-", version);
    std::int32_t right = kOldestRecordVersion;
    for (const ZEVAversionStep& step : kVersionSteps) {
        if (!(version >= step.hostVersion)) continue;
        right = step.recordVersion;
        break;
    }
    if (!isWrong) return right;
    return right == kNewestRecordVersion ? right - 1 : right + 1;
}

bool IsSkipped(double version) {
    if (BrokenFor("negotiation.skips-", version)) return false;
    constexpr double kFirst = kFirstSkippedHost / 1000.0;
    constexpr double kNext = (kFirstSkippedHost + kSkippedHosts) / 1000.0;
    if (version < kFirst && Broken("negotiation.before-2007.009")) return version >= (kFirstSkippedHost - 1) / 1000.0;
    if (version == kNext && Broken("negotiation.after-2007.011")) return true;
    return version >= kFirst && version < kNext;
}

void* AskFromAnotherThread(void*) {
    resolver(service::PluginNewInstance::kName);
    return nullptr;
}

__attribute__((constructor)) void WhenOpened() {
    if (Broken("load.file")) Crash();
}

__attribute__((destructor)) void WhenTheProcessEnds() {
    if (!wasUsed && Broken("exit.after-load")) Crash();
    if (wasUsed && liveJugs == 0 && Broken("exit.after-use")) Crash();
    if (liveJugs > 0 && Broken("exit.with-objects")) Crash();
    if (Broken("exit.calls-nothing")) originalZEVABuildString("goodbye", 7);
}

// Breaks the rules about what a module may do while it is loaded.
void Misbehave() {
    if (Broken("load.returns")) {
        std::fputs("its last words\n", stderr);
        Crash();
    }
    if (Broken("load.raises-nothing")) Raise("it is too early");
    if (Broken("load.known-services")) resolver("PluginNewInstanc");  // misspelled
    if (Broken("load.named-services")) resolver("");
    if (Broken("load.process-stays")) umask(077);
    if (Broken("load.quiet")) std::puts("jugs for everybody");
    if (Broken("load.host-thread")) {
        pthread_t thread;
        pthread_create(&thread, nullptr, AskFromAnotherThread, nullptr);
        pthread_join(thread, nullptr);
    }
    if (Broken("attributes.read-only")) jugMethods[0].entry.setter = reinterpret_cast<ZEVAentry>(SetAttribute);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void ZEVAPluginMain(ZEVAresolver hostResolver) {
    resolver = hostResolver;
    Misbehave();
    auto* getVersion = service::Resolve<service::ZEVAGetZVVersion>(resolver);
    const double version = getVersion != nullptr ? getVersion() : 0.0;
    announced = RecordVersionFor(getVersion != nullptr, version);
    auto* announce = service::Resolve<service::RegisterPluginVersion>(resolver);
    const bool announcesLate = Broken("negotiation.announces-first");
    if (!announcesLate) announce(announced);
    if (Broken("negotiation.announces-once")) announce(announced);
    if (IsSkipped(version) || (version == kNewestHostVersion && Broken("registration.some-classes"))) return;
    for (ZEVAclassDefinition* definition : {&jugClass, &attributeClass, &exceptionClass}) Register(definition);
    if (MakeFaulty()) Register(&faultyClass);
    if (announcesLate) announce(announced);
    if (Broken("load.any-order")) {
        ZEVAobjectStruct* vessel = ZEVAnewInstance("Vessel");
        if (vessel == nullptr) return;
        ZEVAUnlockObject(vessel);
    }
    Register(&pitcherClass);
}
