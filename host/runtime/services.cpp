// services.cpp - the functions behind the services, each under the name by which modules ask for it.

#include "host/runtime/services.h"

#include <cstddef>
#include <cstdint>
#include <exception>
#include <new>
#include <string>
#include <string_view>

#include "host/runtime/errors.h"
#include "host/runtime/host.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/object.h"
#include "host/runtime/string.h"
#include "host/runtime/traced_service.h"

namespace host {

namespace {

// Runs work for a module and lets no exception out: a host exception becomes the pending one, any other is reported.
template <typename Listed, typename Work>
void Contained(Listed, Work work) {
    Host& host = Host::Current();
    try {
        work(host);
    } catch (const HostException& exception) {
        host.Raise(exception.Object());
    } catch (const OutOfMemory& error) {
        host.RaiseOutOfMemory(error.Subject().c_str(), error.Bytes());
    } catch (const std::bad_alloc&) {
        host.RaiseOutOfMemory(Listed::kName, 0);
    } catch (const std::exception& error) {
        host.Report(std::string(Listed::kName) + ": " + error.what());
    }
}

// Sets a property of an object to a value of the property's type.
template <typename Listed>
void SetProperty(Listed listed, ZEVAobjectStruct* object, const char* property, const Value& value) {
    Contained(listed, [&](Host& host) { host.Set(object, property != nullptr ? property : "", value); });
}

// The contract of each function is in its row of interface/services.def.
namespace entries {

void RegisterPluginVersion(std::int32_t recordVersion) { Host::Current().NoteAnnouncedVersion(recordVersion); }

double ZEVAGetZVVersion() { return Host::Current().Version(); }

void PluginRegisterClass(ZEVAclassDefinition* definition) {
    Contained(service::PluginRegisterClass(),
              [&](Host& host) { host.Classes().Register(definition != nullptr ? &definition->record : nullptr); });
}

// Fails for a negative length, and for null bytes with a positive length.
ZEVAstringStruct* ZEVABuildString(const char* bytes, std::int32_t length) {
    ZEVAstringStruct* string = nullptr;
    if (length < 0 || (bytes == nullptr && length > 0)) return nullptr;
    Contained(service::ZEVABuildString(), [&](Host&) {
        string = NewString({bytes, static_cast<std::size_t>(length)}).Leak();
    });
    return string;
}

void ZEVASetStringEncoding(ZEVAstringStruct* string, std::uint32_t encoding) {
    if (string != nullptr) string->encoding = encoding;
}

// Lends a copy, so the string may end before the bytes are given back.
std::int32_t PluginGetStringData(ZEVAstringStruct* string, ZEVAstringData* data) {
    if (string == nullptr || data == nullptr) return 0;
    if (LendBytes(*string, data)) return 1;
    Host::Current().RaiseOutOfMemory(service::PluginGetStringData::kName, string->bytes.size());
    return 0;
}

void PluginDisposeStringData(ZEVAstringData* data) {
    if (data != nullptr) TakeBackBytes(data);
}

void ZEVAUnlockString(ZEVAstringStruct* string) { Unlock(string); }

// An unknown class is not reported: modules ask for classes that a host may lack, and use another one instead.
ZEVAobjectStruct* PluginNewInstance(const char* className) {
    ZEVAobjectStruct* object = nullptr;
    if (className == nullptr || Host::Current().Classes().Find(className) == nullptr) return nullptr;
    Contained(service::PluginNewInstance(), [&](Host& host) { object = host.NewInstance(className).Leak(); });
    return object;
}

void ZEVASetPropValueString(ZEVAobjectStruct* object, const char* property, ZEVAstringStruct* value) {
    Value text;
    if (value != nullptr) text = StringReference::Retain(value);
    SetProperty(service::ZEVASetPropValueString(), object, property, text);
}

void ZEVASetPropValueInt(ZEVAobjectStruct* object, const char* property, std::int32_t value) {
    SetProperty(service::ZEVASetPropValueInt(), object, property, value);
}

// The exception stays pending until the module has returned.
void RuntimeRaiseException(ZEVAobjectStruct* exception) {
    Contained(service::RuntimeRaiseException(), [&](Host& host) { host.Raise(ObjectReference::Retain(exception)); });
}

void ZEVALockObject(ZEVAobjectStruct* object) { Lock(object); }

void ZEVAUnlockObject(ZEVAobjectStruct* object) { Unlock(object); }

ZEVAmemoryBlockStruct* newMemoryBlock(std::int32_t size) {
    ZEVAobjectStruct* block = nullptr;
    Contained(service::newMemoryBlock(), [&](Host&) { block = NewMemoryBlock(size).Leak(); });
    return reinterpret_cast<ZEVAmemoryBlockStruct*>(block);
}

void* memoryBlockGetPtr(ZEVAmemoryBlockStruct* block) { return block != nullptr ? block->bytes : nullptr; }

std::int32_t memoryBlockGetSize(ZEVAmemoryBlockStruct* block) { return block != nullptr ? block->size : 0; }

}  // namespace entries

// The row of a service. A function of another signature than the list's is a compile error.
template <typename Listed, typename Listed::Signature* function>
Service Row() {
    return {Listed::kName, Listed::kMissing, Listed::kFailure, reinterpret_cast<ZEVAentry>(function),
            reinterpret_cast<ZEVAentry>(&TracedService<Listed, function>::Call)};
}

const Service services[] = {
#define SERVICE(name, ...) Row<service::name, &entries::name>(),
#include "interface/services.def"
};

// Null for an unknown name, and for null.
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
