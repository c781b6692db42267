// crashing_module.cpp - a module that crashes the second process that loads it, and otherwise passes the call on to the
// module that ZEVA_CRASH_MODULE names.
//
// ZEVA_CRASH_FUSE names a file. The first process that finds it lights it: it renames it. The next one removes it and
// aborts.

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

std::string Variable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr ? value : "";
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void ZEVAPluginMain(void* resolver) {
    const std::string fuse = Variable("ZEVA_CRASH_FUSE");
    const std::string lit = fuse + ".lit";
    if (unlink(lit.c_str()) == 0) std::abort();
    std::rename(fuse.c_str(), lit.c_str());
    void* module = dlopen(Variable("ZEVA_CRASH_MODULE").c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) return;
    const auto entry = reinterpret_cast<void (*)(void*)>(dlsym(module, "ZEVAPluginMain"));
    if (entry != nullptr) entry(resolver);
}
