// version.cpp - collects the version and the properties of this build.

#include "host/program/version.h"

#include <dlfcn.h>

namespace {

constexpr const char* kAbi = sizeof(void*) == 4 ? "i386" : "x86_64";

// The instruction set that Core Image chose. Why not linked: the program starts without Core Image (platform_pool.cpp).
std::string InstructionSet() {
    void* coreImage = dlopen("libCoreImage.so", RTLD_NOW | RTLD_NOLOAD);
    if (coreImage == nullptr) return "unknown, the filter module does not use this engine";
    const auto name = reinterpret_cast<const char* (*)()>(dlsym(coreImage, "CIEngineInstructionSet"));
    const std::string text = name != nullptr ? name() : "unknown to this engine";
    dlclose(coreImage);
    return text;
}

}  // namespace

std::string VersionText(const ProgramOptions& options) {
    const auto host = MakeHost(options);
    return std::string("zeva ") + ZEVA_VERSION + "\nhost version " + host::NumberText(host->Version()) + "\nABI " +
           kAbi + "\ninstruction set " + InstructionSet();
}
