// services.cpp - the services and the one list that names them.

#include "host/runtime/services.h"

#include <exception>
#include <string_view>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/object.h"
#include "host/runtime/string.h"
#include "host/runtime/traced_service.h"

namespace host {

namespace {

// Runs work for a module. What it throws ends here: a host exception stays pending, anything else is reported.
template <typename Work>
void Contained(const char* service, Work work) {
    Host& host = Host::Current();
    try {
        work(host);
    } catch (const HostException& exception) {
        host.Raise(exception.Object());
    } catch (const std::exception& error) {
        host.Report(std::string(service) + ": " + error.what());
    }
}

// Announces the record version that the module being loaded has chosen.
void RegisterPluginVersion(std::int32_t version) { Host::Current().NoteAnnouncedVersion(version); }

// The version of this host.
double GetVersion() { return Host::Current().Version(); }

// Registers a class; what cannot be taken is reported.
void RegisterClass(const ZEVAclassDefinition* definition) {
    Contained("PluginRegisterClass",
              [&](Host& host) { host.Classes().Register(definition != nullptr ? &definition->record : nullptr); });
}

// A new string; null for a negative length and for null bytes.
ZEVAstringStruct* BuildString(const void* bytes, std::int32_t length) {
    ZEVAstringStruct* string = nullptr;
    if (length < 0 || (bytes == nullptr && length > 0)) return nullptr;
    Contained("ZEVABuildString", [&](Host&) {
        string = NewString({static_cast<const char*>(bytes), static_cast<std::size_t>(length)}).Leak();
    });
    return string;
}

// Tags a string with an encoding.
void SetStringEncoding(ZEVAstringStruct* string, std::uint32_t encoding) {
    if (string != nullptr) string->encoding = encoding;
}

// Lends a copy of a string's bytes; 1 when data was filled. The copy is given back with PluginDisposeStringData.
std::int32_t GetStringData(const ZEVAstringStruct* string, ZEVAstringData* data) {
    return string != nullptr && data != nullptr && LendBytes(*string, data) ? 1 : 0;
}

// Takes back lent bytes.
void DisposeStringData(ZEVAstringData* data) {
    if (data != nullptr) TakeBackBytes(data);
}

// A new object of a class, not yet constructed; null for a class that is not registered, without a word: modules ask
// for classes that a host may lack and have another in reserve.
ZEVAobjectStruct* NewInstance(const char* className) {
    ZEVAobjectStruct* object = nullptr;
    if (className == nullptr || Host::Current().Classes().Find(className) == nullptr) return nullptr;
    Contained("PluginNewInstance", [&](Host& host) { object = host.NewInstance(className).Leak(); });
    return object;
}

// Sets a property of an object to a value of the property's type.
void SetProperty(const char* service, ZEVAobjectStruct* object, const char* property, const Value& value) {
    Contained(service, [&](Host& host) { host.Set(object, property != nullptr ? property : "", value); });
}

// Sets a string property; the value may be null.
void SetStringProperty(ZEVAobjectStruct* object, const char* property, ZEVAstringStruct* value) {
    Value text;
    if (value != nullptr) text = StringReference::Retain(value);
    SetProperty("ZEVASetPropValueString", object, property, text);
}

// Sets a property that takes an integer.
void SetIntegerProperty(ZEVAobjectStruct* object, const char* property, std::int32_t value) {
    SetProperty("ZEVASetPropValueInt", object, property, value);
}

// Notes an exception to be raised when the module has returned.
void RaiseException(ZEVAobjectStruct* exception) {
    Contained("RuntimeRaiseException", [&](Host& host) { host.Raise(ObjectReference::Retain(exception)); });
}

// Takes and gives back a reference to an object.
void LockObject(ZEVAobjectStruct* object) { Lock(object); }
void UnlockObject(ZEVAobjectStruct* object) { Unlock(object); }

// Gives back a reference to a string.
void UnlockString(ZEVAstringStruct* string) { Unlock(string); }

// A new block of zero bytes; null when it cannot be had.
ZEVAmemoryBlockStruct* CreateMemoryBlock(std::int32_t size) {
    ZEVAobjectStruct* block = nullptr;
    Contained("newMemoryBlock", [&](Host&) { block = NewMemoryBlock(size).Leak(); });
    return reinterpret_cast<ZEVAmemoryBlockStruct*>(block);
}

// Where a block's bytes are, and how many; null and 0 for null.
void* MemoryBlockBytes(const ZEVAmemoryBlockStruct* block) { return block != nullptr ? block->bytes : nullptr; }
std::int32_t MemoryBlockSize(const ZEVAmemoryBlockStruct* block) { return block != nullptr ? block->size : 0; }

#define SERVICE(name, function)                                               \
    {                                                                         \
        name, reinterpret_cast<ZEVAentry>(&(function)),                       \
            reinterpret_cast<ZEVAentry>(&TracedService<name, function>::Call) \
    }
const Service services[] = {
    SERVICE("RegisterPluginVersion", RegisterPluginVersion),
    SERVICE("ZEVAGetZVVersion", GetVersion),
    SERVICE("PluginRegisterClass", RegisterClass),
    SERVICE("ZEVABuildString", BuildString),
    SERVICE("ZEVASetStringEncoding", SetStringEncoding),
    SERVICE("PluginGetStringData", GetStringData),
    SERVICE("PluginDisposeStringData", DisposeStringData),
    SERVICE("ZEVAUnlockString", UnlockString),
    SERVICE("PluginNewInstance", NewInstance),
    SERVICE("ZEVASetPropValueString", SetStringProperty),
    SERVICE("ZEVASetPropValueInt", SetIntegerProperty),
    SERVICE("RuntimeRaiseException", RaiseException),
    SERVICE("ZEVALockObject", LockObject),
    SERVICE("ZEVAUnlockObject", UnlockObject),
    SERVICE("newMemoryBlock", CreateMemoryBlock),
    SERVICE("memoryBlockGetPtr", MemoryBlockBytes),
    SERVICE("memoryBlockGetSize", MemoryBlockSize),
};
#undef SERVICE

// A service by its name; null for a name that is none, and for null.
const Service* FindService(const char* name) {
    for (const Service& service : services) {
        if (name != nullptr && std::string_view(service.name) == name) return &service;
    }
    return nullptr;
}

}  // namespace

std::span<const Service> Services() { return services; }

ZEVAentry ResolveService(const char* name) {
    const Service* service = FindService(name);
    return service != nullptr ? service->entry : nullptr;
}

ZEVAentry ResolveTracedService(const char* name) {
    const Service* service = FindService(name);
    return service != nullptr ? service->tracedEntry : nullptr;
}

}  // namespace host
