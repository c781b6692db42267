// module.cpp - opening a module's file.

#include "host/runtime/module.h"

#include <dlfcn.h>

#include <set>

#include "host/runtime/errors.h"
#include "host/macho/load_object.h"

namespace host {

namespace {

// The entry point of object code for macOS. That is in no list of the system's loader, so this keeps one.
void* LoadObjectCode(const std::filesystem::path& file, const std::string& subject) {
    static std::set<std::filesystem::path> loaded;
    const std::filesystem::path canonical = std::filesystem::canonical(file);
    if (loaded.contains(canonical)) throw HostError(subject, "it is loaded already, one process loads a module once");
    try {
        const macho::LoadedObject object = macho::LoadObject(file);
        loaded.insert(canonical);
        const auto entry = object.exports.find(kZEVAentryPoint);
        return entry != object.exports.end() ? entry->second : nullptr;
    } catch (const macho::ObjectError& error) {
        throw HostError(subject, std::string("it cannot be loaded (") + error.what() + ")");
    }
}

// The entry point of a shared library of this machine.
void* LoadLibrary(const std::filesystem::path& file, const std::string& subject) {
    if (dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD) != nullptr) {
        throw HostError(subject, "it is loaded already, one process loads a module once");
    }
    void* handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) {
        std::string reason = dlerror();
        const std::string prefix = file.string() + ": ";
        if (reason.starts_with(prefix)) reason.erase(0, prefix.size());
        throw HostError(subject, "it cannot be loaded (" + reason + ")");
    }
    void* entry = dlsym(handle, kZEVAentryPoint);
    if (entry == nullptr) dlclose(handle);
    return entry;
}

}  // namespace

void (*LoadEntryPoint(const std::filesystem::path& path))(ZEVAresolver) {
    const std::string subject = "module " + path.string();
    std::error_code error;
    const std::filesystem::path file = std::filesystem::absolute(path, error);
    if (!std::filesystem::exists(file, error)) throw HostError(subject, "no such file, nothing is loaded");
    void* entry = macho::IsMachO(file) ? LoadObjectCode(file, subject) : LoadLibrary(file, subject);
    if (entry == nullptr) throw HostError(subject, "it has no entry point ZEVAPluginMain, so it is no module");
    return reinterpret_cast<void (*)(ZEVAresolver)>(entry);
}

}  // namespace host
