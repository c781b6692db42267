// module.cpp - loads a module's file.

#include "host/runtime/module.h"

#include <dlfcn.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <sstream>
#include <string>
#include <system_error>

#include "host/macho/load_object.h"
#include "host/runtime/errors.h"

namespace host {

namespace {

constexpr const char* kAlreadyLoaded = "it is already loaded; a process can load a module only once";

// The file with the code of a module.
std::filesystem::path CodeFile(const std::filesystem::path& file, const std::string& subject) {
    try {
        return macho::CodeFile(file);
    } catch (const macho::ObjectError& error) {
        throw HostError(subject, std::string("it cannot be loaded (") + error.what() + ")");
    }
}

// The entry point of code for macOS. The system's loader does not know such files, so this keeps its own list of those
// that are loaded.
void* LoadObjectCode(const std::filesystem::path& file, const std::string& subject) {
    static std::set<std::filesystem::path> loaded;
    const std::filesystem::path canonical = std::filesystem::canonical(file);
    if (loaded.contains(canonical)) throw HostError(subject, kAlreadyLoaded);
    try {
        const macho::LoadedObject object = macho::LoadObject(file);
        loaded.insert(canonical);
        const auto entry = object.exports.find(kZEVAentryPoint);
        return entry != object.exports.end() ? entry->second : nullptr;
    } catch (const macho::ObjectError& error) {
        throw HostError(subject, std::string("it cannot be loaded (") + error.what() + ")");
    }
}

// The entry point of a shared library for this machine.
void* LoadLibrary(const std::filesystem::path& file, const std::string& subject) {
    if (dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD) != nullptr) {
        throw HostError(subject, kAlreadyLoaded);
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

std::filesystem::path ModuleFile(const std::filesystem::path& path) {
    try {
        return macho::CodeFile(path);
    } catch (const macho::ObjectError&) {
        return path;
    }
}

std::vector<std::filesystem::path> ModulesOfEnvironment() {
    std::vector<std::filesystem::path> modules;
    const char* list = std::getenv("ZEVA_MODULES");
    std::istringstream stream(list != nullptr ? list : "");
    for (std::string module; std::getline(stream, module, ':');) {
        if (!module.empty()) modules.emplace_back(module);
    }
    return modules;
}

void AddModules(std::vector<std::filesystem::path>& modules, std::span<const std::filesystem::path> added) {
    for (const std::filesystem::path& module : added) {
        const auto isSame = [&](const std::filesystem::path& other) {
            std::error_code error;
            return other == module || std::filesystem::equivalent(ModuleFile(other), ModuleFile(module), error);
        };
        if (std::none_of(modules.begin(), modules.end(), isSame)) modules.push_back(module);
    }
}

EntryPoint LoadEntryPoint(const std::filesystem::path& path) {
    const std::string subject = "module " + path.string();
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    if (!std::filesystem::exists(absolute, error)) throw HostError(subject, "no such file; nothing is loaded");
    const std::filesystem::path file = CodeFile(absolute, subject);
    void* entry = macho::IsMachO(file) ? LoadObjectCode(file, subject) : LoadLibrary(file, subject);
    if (entry == nullptr) throw HostError(subject, "it has no entry point ZEVAPluginMain, so it is not a module");
    return reinterpret_cast<EntryPoint>(entry);
}

}  // namespace host
