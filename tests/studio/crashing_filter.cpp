// crashing_filter.cpp - the filter module, except that one filter ends the process when its output image is asked for.
//
// ZEVA_CRASH_MODULE names the module that does the work, ZEVA_CRASH_CLASS the class of the filter.

#include <dlfcn.h>

#include <cstdlib>
#include <string_view>

#include "interface/class_definition.h"
#include "interface/entry_point.h"

namespace {

ZEVAresolver hostResolver = nullptr;
void (*hostRegister)(ZEVAclassDefinition*) = nullptr;

void Register(ZEVAclassDefinition* definition) {
    const char* crashing = std::getenv("ZEVA_CRASH_CLASS");
    ZEVAclassDefinitionDownLevel& record = definition->record;
    if (crashing != nullptr && std::string_view(record.className) == crashing) {
        for (ZEVAword i = 0; i < record.methodCount; ++i) {
            ZEVAmethodDownLevel& property = record.methods[i].entry;
            const bool isOutput = std::string_view(property.declaration).starts_with("outputImage ");
            if (isOutput) property.function = reinterpret_cast<ZEVAentry>(std::abort);
        }
    }
    hostRegister(definition);
}

ZEVAentry Resolver(const char* name) {
    const ZEVAentry service = hostResolver(name);
    if (std::string_view(name) != "PluginRegisterClass") return service;
    hostRegister = reinterpret_cast<void (*)(ZEVAclassDefinition*)>(service);
    return reinterpret_cast<ZEVAentry>(Register);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void ZEVAPluginMain(ZEVAresolver resolver) {
    hostResolver = resolver;
    void* module = dlopen(std::getenv("ZEVA_CRASH_MODULE"), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr) return;
    const auto entry = reinterpret_cast<ZEVAmain*>(dlsym(module, kZEVAentryPoint));
    if (entry != nullptr) entry(Resolver);
}
