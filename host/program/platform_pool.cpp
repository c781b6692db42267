// platform_pool.cpp - opens and closes the pool, and asks Core Image.
//
// Why classes and functions are looked up by name: Foundation and Core Image take longer to load than most commands
// take to run, so the program does not link them. The first module that needs them loads them, and before that there is
// nothing to autorelease and nothing that fails.

#include "host/program/platform_pool.h"

#include <dlfcn.h>
#include <objc/message.h>
#include <objc/runtime.h>

#include <cstdint>

namespace {

id Send(id receiver, const char* message) {
    const SEL selector = sel_registerName(message);
    const auto method = reinterpret_cast<id (*)(id, SEL)>(objc_msg_lookup(receiver, selector));
    return method(receiver, selector);
}

// Returns null while no module has loaded Foundation.
void* OpenPool() {
    static Class poolClass = nullptr;
    if (poolClass == nullptr) poolClass = objc_lookUpClass("NSAutoreleasePool");
    if (poolClass == nullptr) return nullptr;
    return Send(Send(reinterpret_cast<id>(poolClass), "alloc"), "init");
}

void ClosePool(void* pool) {
    if (pool != nullptr) Send(static_cast<id>(pool), "release");
}

// A function of Core Image or another library; null while no module has loaded the library, or when it is another
// engine's.
template <typename Function>
Function EngineFunction(const char* name, const char* library = "libCoreImage.so") {
    void* loaded = dlopen(library, RTLD_NOW | RTLD_NOLOAD);
    if (loaded == nullptr) return nullptr;
    const auto function = reinterpret_cast<Function>(dlsym(loaded, name));
    dlclose(loaded);
    return function;
}

void ForgetFailure() {
    static void (*forget)() = nullptr;
    if (forget == nullptr) forget = EngineFunction<void (*)()>("CIEngineForgetFailure");
    if (forget != nullptr) forget();
}

const char* FailureReason() {
    static const char* (*reason)() = nullptr;
    if (reason == nullptr) reason = EngineFunction<const char* (*)()>("CIEngineFailure");
    return reason != nullptr ? reason() : "";
}

}  // namespace

host::CallScope PlatformPool() { return {OpenPool, ClosePool}; }

host::FailureSource PlatformFailures() { return {ForgetFailure, FailureReason}; }

std::uint64_t PlatformMemoryLimit() {
    const auto limit = EngineFunction<std::uint64_t (*)()>("CIEngineMemoryLimit");
    return limit != nullptr ? limit() : UINT64_MAX;
}

void LimitPlatformMemory(std::uint64_t bytes, std::size_t processes) {
    const auto setLimit = EngineFunction<void (*)(std::uint64_t)>("CIEngineSetMemoryLimit");
    if (setLimit == nullptr || (bytes == 0 && processes == 1)) return;
    setLimit((bytes != 0 ? bytes : PlatformMemoryLimit()) / processes);
}

void LimitPlatformThreads(unsigned threads) {
    if (const auto limit = EngineFunction<void (*)(int)>("CIEngineSetThreads")) limit(static_cast<int>(threads));
}

bool PinInstructionSet(const std::string& name) {
    const auto pin = EngineFunction<int (*)(const char*)>("CIEngineSetInstructionSet");
    return pin != nullptr && pin(name.c_str()) != 0;
}

void SyncPictures() {
    const auto sync = EngineFunction<void (*)(bool)>("CGImageDestinationSetSynced", "libImageIO.so");
    if (sync != nullptr) sync(true);
}

void (*UnfinishedPicturesRemover())() {
    return EngineFunction<void (*)()>("CGImageDestinationDiscardUnfinished", "libImageIO.so");
}

std::string InstructionSet() {
    const auto name = EngineFunction<const char* (*)()>("CIEngineInstructionSet");
    return name != nullptr ? name() : "";
}
