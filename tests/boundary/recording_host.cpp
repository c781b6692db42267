// recording_host.cpp - the services of the test host.

#include "tests/boundary/recording_host.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "bridge/core_foundation_tag.h"

namespace {

RecordingHost* current = nullptr;

// The object that a MemoryBlock is.
ZEVAobjectStruct* ObjectOf(ZEVAmemoryBlockStruct* block) { return block != nullptr ? &block->object : nullptr; }

// Keeps the pointers to a class's tables for the life of the process, as hosts do.
void KeepTables(const ZEVAclassDefinitionDownLevel& record) {
    static auto& tables = *new std::vector<const void*>;  // outlives every static, for the leak checker
    tables.insert(tables.end(), {record.properties, record.methods, record.pairs, record.triples,
                                 record.sharedProperties, record.sharedMethods});
}

// The methods of a record, in the layout that its version names.
std::vector<ZEVAmethodDownLevel> MethodsOf(const ZEVAclassDefinitionDownLevel& record) {
    std::vector<ZEVAmethodDownLevel> methods;
    const auto* shortEntries = reinterpret_cast<const ZEVAmethodDownLevel*>(record.methods);
    for (ZEVAword i = 0; i < record.methodCount; ++i) {
        methods.push_back(record.version == 9 ? shortEntries[i] : record.methods[i].entry);
    }
    return methods;
}

}  // namespace

// The services themselves, each under its entry name in kServices below.
struct Services {
    static void RegisterPluginVersion(std::int32_t version) {
        if (current->Enter("RegisterPluginVersion", std::to_string(version))) {
            current->announcedVersions.push_back(version);
        }
    }

    static double GetZVVersion() { return current->Enter("ZEVAGetZVVersion", "") ? *current->version : 0.0; }

    static void RegisterClass(ZEVAclassDefinition* definition) {
        const ZEVAclassDefinitionDownLevel& record = definition->record;
        if (!current->Enter("PluginRegisterClass", record.className)) return;
        KeepTables(record);
        current->classes.push_back({definition, static_cast<std::int32_t>(record.version), record.className,
                                    record.superclassName, MethodsOf(record)});
    }

    static ZEVAstringStruct* BuildString(const char* bytes, std::int32_t length) {
        std::string text(bytes, static_cast<std::size_t>(length));
        if (!current->Enter("ZEVABuildString", text)) return nullptr;
        current->strings.push_back(std::make_unique<ZEVAstringStruct>(ZEVAstringStruct{text}));
        return current->strings.back().get();
    }

    static void SetStringEncoding(ZEVAstringStruct* string, std::uint32_t encoding) {
        if (current->Enter("ZEVASetStringEncoding", NameOf(string) + " " + std::to_string(encoding))) {
            string->encoding = encoding;
        }
    }

    static ZEVAobjectStruct* NewInstance(const char* className) {
        const auto& unknown = current->unknownClasses;
        if (!current->Enter("PluginNewInstance", className)) return nullptr;
        if (std::find(unknown.begin(), unknown.end(), className) != unknown.end()) return nullptr;
        return current->NewObject(className);
    }

    static void SetPropValueString(ZEVAobjectStruct* object, const char* property, ZEVAstringStruct* value) {
        if (!current->Enter("ZEVASetPropValueString", NameOf(object) + " " + property + " " + NameOf(value))) return;
        RaisedException& exception = current->exceptions_[object];
        if (value == nullptr) return;
        exception.message = value->bytes;
        exception.encoding = value->encoding;
    }

    static void SetPropValueInt(ZEVAobjectStruct* object, const char* property, std::int32_t value) {
        if (!current->Enter("ZEVASetPropValueInt", NameOf(object) + " " + property + " " + std::to_string(value)))
            return;
        current->exceptions_[object].errorNumber = value;
    }

    static void RaiseException(ZEVAobjectStruct* object) {
        if (!current->Enter("RuntimeRaiseException", NameOf(object))) return;
        RaisedException exception = current->exceptions_[object];
        exception.className = object->className;
        current->raised.push_back(exception);
        if (current->onRaise != nullptr) current->onRaise(*current);
    }

    static void LockObject(ZEVAobjectStruct* object) {
        if (current->Enter("ZEVALockObject", NameOf(object))) ++object->references;
    }

    static void UnlockObject(ZEVAobjectStruct* object) {
        if (current->Enter("ZEVAUnlockObject", NameOf(object))) --object->references;
    }

    static void UnlockString(ZEVAstringStruct* string) {
        if (current->Enter("ZEVAUnlockString", NameOf(string))) --string->references;
    }

    static void DisposeStringData(ZEVAstringData*) { current->Enter("PluginDisposeStringData", ""); }

    static ZEVAmemoryBlockStruct* NewMemoryBlock(std::int32_t size) {
        return current->Enter("newMemoryBlock", std::to_string(size)) ? current->NewBlock(size) : nullptr;
    }

    static void* MemoryBlockGetPtr(ZEVAmemoryBlockStruct* block) {
        return current->Enter("memoryBlockGetPtr", NameOf(ObjectOf(block))) ? block->bytes : nullptr;
    }

    static std::int32_t MemoryBlockGetSize(ZEVAmemoryBlockStruct* block) {
        return current->Enter("memoryBlockGetSize", NameOf(ObjectOf(block))) ? block->size : 0;
    }
};

namespace {

struct NamedService {
    const char* name;
    ZEVAentry entry;
};

#define SERVICE(name, function) \
    { name, reinterpret_cast<ZEVAentry>(&Services::function) }
const NamedService kServices[] = {
    SERVICE("RegisterPluginVersion", RegisterPluginVersion),
    SERVICE("ZEVAGetZVVersion", GetZVVersion),
    SERVICE("PluginRegisterClass", RegisterClass),
    SERVICE("ZEVABuildString", BuildString),
    SERVICE("ZEVASetStringEncoding", SetStringEncoding),
    SERVICE("PluginNewInstance", NewInstance),
    SERVICE("ZEVASetPropValueString", SetPropValueString),
    SERVICE("ZEVASetPropValueInt", SetPropValueInt),
    SERVICE("RuntimeRaiseException", RaiseException),
    SERVICE("ZEVALockObject", LockObject),
    SERVICE("ZEVAUnlockObject", UnlockObject),
    SERVICE("ZEVAUnlockString", UnlockString),
    SERVICE("PluginDisposeStringData", DisposeStringData),
    SERVICE("newMemoryBlock", NewMemoryBlock),
    SERVICE("memoryBlockGetPtr", MemoryBlockGetPtr),
    SERVICE("memoryBlockGetSize", MemoryBlockGetSize),
};
#undef SERVICE

}  // namespace

RecordingHost::RecordingHost() : enclosing_(std::exchange(current, this)) {}

RecordingHost::~RecordingHost() { current = enclosing_; }

RecordingHost& RecordingHost::Current() { return *current; }

ZEVAentry RecordingHost::Resolve(const char* name) {
    const int lookup = ++current->lookups_[name];
    current->Log(std::string("resolve ") + name);
    const Fault fault = current->faults[name];
    if (fault.missingLookups == kAlways || lookup <= fault.missingLookups) return nullptr;
    if (!current->version && std::strcmp(name, "ZEVAGetZVVersion") == 0) return nullptr;
    for (const NamedService& service : kServices) {
        if (std::strcmp(service.name, name) == 0) return service.entry;
    }
    return nullptr;
}

std::vector<std::string> RecordingHost::TakeLog() { return std::exchange(log_, {}); }

void RecordingHost::Log(std::string line) { log_.push_back(std::move(line)); }

int RecordingHost::LookupsOf(const std::string& name) const {
    const auto found = lookups_.find(name);
    return found != lookups_.end() ? found->second : 0;
}

int RecordingHost::CallsOf(const std::string& name) const {
    const auto found = calls_.find(name);
    return found != calls_.end() ? found->second : 0;
}

ZEVAobjectStruct* RecordingHost::NewObject(const char* className) {
    objects.push_back(std::make_unique<ZEVAobjectStruct>());
    ZEVAobjectStruct* object = objects.back().get();
    object->className = className;
    object->references = 1;
    const bool isWrapper = std::strcmp(className, "CGColorSpaceQOR") == 0 || std::strcmp(className, "CFObjectQOR") == 0;
    if (isWrapper && setsCoreFoundationTag)
        std::memcpy(&object->fields[2], &kCoreFoundationTag, sizeof kCoreFoundationTag);
    if (onNewObject != nullptr) onNewObject(object);
    return object;
}

ZEVAmemoryBlockStruct* RecordingHost::NewBlock(std::int32_t size) {
    blockBytes_.push_back(std::make_unique<std::vector<unsigned char>>(size > 0 ? static_cast<std::size_t>(size) : 0));
    blocks.push_back(std::make_unique<ZEVAmemoryBlockStruct>());
    ZEVAmemoryBlockStruct* block = blocks.back().get();
    block->object.className = "MemoryBlock";
    block->object.references = 1;
    block->size = size;
    block->bytes = blocksHaveBytes ? blockBytes_.back()->data() : nullptr;
    return block;
}

bool RecordingHost::Enter(const std::string& name, const std::string& arguments) {
    const int call = ++calls_[name];
    Log(arguments.empty() ? name : name + " " + arguments);
    const int failing = faults[name].failingCall;
    return failing != kAlways && failing != call;
}

std::string NameOf(const ZEVAobjectStruct* object) {
    if (object == nullptr) return "null";
    int number = 0;
    for (const auto& known : current->objects) {
        number += std::strcmp(known->className, object->className) == 0;
        if (known.get() == object) return object->className + ("#" + std::to_string(number));
    }
    return object->className;
}

std::string NameOf(const ZEVAstringStruct* string) { return string != nullptr ? "\"" + string->bytes + "\"" : "null"; }
