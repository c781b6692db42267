// platform_pool.cpp - opens and closes the pool.
//
// Why the class is looked up by name: Foundation takes longer to load than most commands take to run, so the program
// does not link it. The first module that needs Foundation loads it, and before that there is nothing to
// autorelease.

#include "host/program/platform_pool.h"

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

}  // namespace

host::CallScope PlatformPool() { return {OpenPool, ClosePool}; }
