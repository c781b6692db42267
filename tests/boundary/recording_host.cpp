// recording_host.cpp - the services of the test host, expanded from the list.

#include "tests/boundary/recording_host.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "bridge/core_foundation_tag.h"
#include "interface/record_version.h"
#include "interface/services.h"
#include "interface/string_data.h"
#include "tests/boundary/foreign_exception.h"

namespace {

RecordingHost* current = nullptr;

// A MemoryBlock as the object that it also is.
ZEVAobjectStruct* ObjectOf(ZEVAmemoryBlockStruct* block) { return block != nullptr ? &block->object : nullptr; }

// Keeps the pointers to a class's tables for the life of the process, as hosts do.
void KeepTables(const ZEVAclassDefinitionDownLevel& record) {
    static auto& tables = *new std::vector<const void*>;  // outlives every static, for the leak checker
    tables.insert(tables.end(), {record.properties, record.methods, record.pairs, record.triples,
                                 record.sharedProperties, record.sharedMethods});
}

// The methods of a record, read in the layout of the record's version.
std::vector<ZEVAmethodDownLevel> MethodsOf(const ZEVAclassDefinitionDownLevel& record) {
    std::vector<ZEVAmethodDownLevel> methods;
    const auto* shortEntries = reinterpret_cast<const ZEVAmethodDownLevel*>(record.methods);
    for (ZEVAword i = 0; i < record.methodCount; ++i) {
        methods.push_back(record.version == kDownLevelRecordVersion ? shortEntries[i] : record.methods[i].entry);
    }
    return methods;
}

// An argument as the log shows it. There is one overload for each type that a service takes.
std::string TextOf(std::int32_t number) { return std::to_string(number); }
std::string TextOf(std::uint32_t number) { return std::to_string(number); }
std::string TextOf(const char* text) { return text; }
std::string TextOf(ZEVAobjectStruct* object) { return NameOf(object); }
std::string TextOf(ZEVAstringStruct* string) { return NameOf(string); }
std::string TextOf(ZEVAmemoryBlockStruct* block) { return NameOf(ObjectOf(block)); }
std::string TextOf(ZEVAclassDefinition* definition) { return definition->record.className; }
std::string TextOf(ZEVAstringData*) { return ""; }

}  // namespace

// What a service does beside recording the call; a service without an effect returns null or 0. Do must have the
// service's signature. Log, where it exists, replaces the logged arguments.
template <typename Listed>
struct ServiceEffect {};

template <>
struct ServiceEffect<service::RegisterPluginVersion> {
    static void Do(std::int32_t recordVersion) { current->announcedVersions.push_back(recordVersion); }
};

template <>
struct ServiceEffect<service::ZEVAGetZVVersion> {
    static double Do() { return *current->version; }
};

template <>
struct ServiceEffect<service::PluginRegisterClass> {
    static void Do(ZEVAclassDefinition* definition) {
        const ZEVAclassDefinitionDownLevel& record = definition->record;
        KeepTables(record);
        current->classes.push_back({definition, static_cast<std::int32_t>(record.version), record.className,
                                    record.superclassName != nullptr ? record.superclassName : "", MethodsOf(record)});
    }
};

template <>
struct ServiceEffect<service::ZEVABuildString> {
    static std::string Log(const char* bytes, std::int32_t length) {
        return std::string(bytes, static_cast<std::size_t>(length));
    }
    static ZEVAstringStruct* Do(const char* bytes, std::int32_t length) {
        current->strings.push_back(std::make_unique<ZEVAstringStruct>(ZEVAstringStruct{Log(bytes, length)}));
        return current->strings.back().get();
    }
};

template <>
struct ServiceEffect<service::ZEVASetStringEncoding> {
    static void Do(ZEVAstringStruct* string, std::uint32_t encoding) { string->encoding = encoding; }
};

template <>
struct ServiceEffect<service::PluginGetStringData> {
    static std::int32_t Do(ZEVAstringStruct* string, ZEVAstringData* data) {
        const std::size_t length = string->bytes.size();
        data->bytes = std::memcpy(std::malloc(length + 1), string->bytes.data(), length);
        data->hostWords[kStringDataLength] = current->stringLength.value_or(static_cast<ZEVAword>(length));
        data->hostWords[kStringDataEncoding] = static_cast<ZEVAword>(string->encoding);
        ++current->lentStrings;
        return 1;
    }
};

template <>
struct ServiceEffect<service::PluginDisposeStringData> {
    static void Do(ZEVAstringData* data) {
        std::free(data->bytes);
        --current->lentStrings;
    }
};

template <>
struct ServiceEffect<service::ZEVAUnlockString> {
    static void Do(ZEVAstringStruct* string) { --string->references; }
};

template <>
struct ServiceEffect<service::PluginNewInstance> {
    static ZEVAobjectStruct* Do(const char* className) {
        const auto& unknown = current->unknownClasses;
        if (std::find(unknown.begin(), unknown.end(), className) != unknown.end()) return nullptr;
        return current->NewObject(className);
    }
};

template <>
struct ServiceEffect<service::ZEVASetPropValueString> {
    static void Do(ZEVAobjectStruct* object, const char*, ZEVAstringStruct* value) {
        RaisedException& exception = current->exceptions_[object];
        if (value == nullptr) return;
        exception.message = value->bytes;
        exception.encoding = value->encoding;
    }
};

template <>
struct ServiceEffect<service::ZEVASetPropValueInt> {
    static void Do(ZEVAobjectStruct* object, const char*, std::int32_t value) {
        current->exceptions_[object].errorNumber = value;
    }
};

template <>
struct ServiceEffect<service::RuntimeRaiseException> {
    static void Do(ZEVAobjectStruct* object) {
        RaisedException exception = current->exceptions_[object];
        exception.className = object->className;
        current->raised.push_back(exception);
        if (current->onRaise != nullptr) current->onRaise(*current);
    }
};

template <>
struct ServiceEffect<service::ZEVALockObject> {
    static void Do(ZEVAobjectStruct* object) { ++object->references; }
};

template <>
struct ServiceEffect<service::ZEVAUnlockObject> {
    static void Do(ZEVAobjectStruct* object) { --object->references; }
};

template <>
struct ServiceEffect<service::newMemoryBlock> {
    static ZEVAmemoryBlockStruct* Do(std::int32_t size) { return current->NewBlock(size); }
};

template <>
struct ServiceEffect<service::memoryBlockGetPtr> {
    static void* Do(ZEVAmemoryBlockStruct* block) { return block->bytes; }
};

template <>
struct ServiceEffect<service::memoryBlockGetSize> {
    static std::int32_t Do(ZEVAmemoryBlockStruct* block) { return block->size; }
};

// A service as the module gets it: logs the call, and has its effect unless the call is to fail.
template <typename Listed, typename Result, typename... Arguments>
struct RecordedService<Listed, Result(Arguments...)> {
    static Result Call(Arguments... arguments) {
        if (!current->Enter(Listed::kName, LogOf(arguments...))) return Result();
        if constexpr (requires { &ServiceEffect<Listed>::Do; }) {
            constexpr typename Listed::Signature* effect = &ServiceEffect<Listed>::Do;
            return effect(arguments...);
        } else {
            return Result();
        }
    }

  private:
    static std::string LogOf(Arguments... arguments) {
        if constexpr (requires { &ServiceEffect<Listed>::Log; }) {
            constexpr std::string (*log)(Arguments...) = &ServiceEffect<Listed>::Log;
            return log(arguments...);
        } else {
            std::string text;
            ((text += (text.empty() ? "" : " ") + TextOf(arguments)), ...);
            return text;
        }
    }
};

namespace {

struct NamedService {
    const char* name;
    ZEVAentry entry;
    service::Users users;
};

const NamedService kServices[] = {
#define SERVICE(name, ...)                                                                         \
    {service::name::kName,                                                                         \
     reinterpret_cast<ZEVAentry>(&RecordedService<service::name, service::name::Signature>::Call), \
     service::name::kUsers},
#include "interface/services.def"
};

}  // namespace

RecordingHost::RecordingHost() : enclosing_(std::exchange(current, this)) {}

RecordingHost::~RecordingHost() { current = enclosing_; }

RecordingHost& RecordingHost::Current() { return *current; }

ZEVAentry RecordingHost::Resolve(const char* name) {
    const int lookup = ++current->lookups_[name];
    current->Log(std::string("resolve ") + name);
    const Fault fault = current->faults[name];
    if (fault.missingLookups == kAlways || lookup <= fault.missingLookups) return nullptr;
    if (!current->version && std::strcmp(name, service::ZEVAGetZVVersion::kName) == 0) return nullptr;
    for (const NamedService& service : kServices) {
        if ((static_cast<int>(service.users) & static_cast<int>(current->users)) == 0) continue;
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
    const Fault fault = faults[name];
    if (fault.throwingCall == call) ThrowForeign();
    return fault.failingCall != kAlways && fault.failingCall != call;
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
