// loaded_module.cpp - copies a module to a name of its own, loads it, and removes the copy.

#include "tests/boundary/loaded_module.h"

#include <dlfcn.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "tests/boundary/recording_host.h"

LoadedModule::LoadedModule(const std::string& path) {
    static int number = 0;
    const std::filesystem::path copy = std::filesystem::temp_directory_path() /
                                       ("module-" + std::to_string(getpid()) + "-" + std::to_string(++number) + ".so");
    std::filesystem::copy_file(path, copy);
    handle_ = dlopen(copy.c_str(), RTLD_NOW | RTLD_LOCAL);
    std::filesystem::remove(copy);
    if (handle_ == nullptr) throw std::runtime_error(dlerror());
}

void LoadedModule::Enter() const { Find<void(ZEVAresolver)>("ZEVAPluginMain")(&RecordingHost::Resolve); }

void* LoadedModule::FindAddress(const char* name) const { return dlsym(handle_, name); }
