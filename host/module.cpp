// module.cpp - opening a module's file.

#include "host/module.h"

#include <dlfcn.h>

#include "host/errors.h"

namespace host {

void (*LoadEntryPoint(const std::filesystem::path& path))(ZEVAresolver) {
    const std::string subject = "module " + path.string();
    std::error_code error;
    const std::filesystem::path file = std::filesystem::absolute(path, error);
    if (!std::filesystem::exists(file, error)) throw HostError(subject, "no such file, nothing is loaded");
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
    void* entry = dlsym(handle, "ZEVAPluginMain");
    if (entry == nullptr) {
        dlclose(handle);
        throw HostError(subject, "it has no entry point ZEVAPluginMain, so it is no module");
    }
    return reinterpret_cast<void (*)(ZEVAresolver)>(entry);
}

}  // namespace host
