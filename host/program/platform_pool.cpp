// platform_pool.cpp - opens and closes the pool, and asks Core Image.
//
// Why classes and functions are looked up by name: Foundation and Core Image take longer to load than most commands
// take to run, so the program does not link them. The first module that needs them loads them, and before that there is
// nothing to autorelease and nothing that fails.

#include "host/program/platform_pool.h"

#include <dlfcn.h>
#include <objc/message.h>
#include <objc/runtime.h>

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

// A function of Core Image; null while no module has loaded Core Image, or when it is another engine's.
template <typename Function>
Function EngineFunction(const char* name) {
    void* coreImage = dlopen("libCoreImage.so", RTLD_NOW | RTLD_NOLOAD);
    if (coreImage == nullptr) return nullptr;
    const auto function = reinterpret_cast<Function>(dlsym(coreImage, name));
    dlclose(coreImage);
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

void LimitPlatformMemory(std::uint64_t bytes, std::size_t processes) {
    const auto limit = EngineFunction<std::uint64_t (*)()>("CIEngineMemoryLimit");
    const auto setLimit = EngineFunction<void (*)(std::uint64_t)>("CIEngineSetMemoryLimit");
    if (limit == nullptr || setLimit == nullptr || (bytes == 0 && processes == 1)) return;
    setLimit((bytes != 0 ? bytes : limit()) / processes);
}
