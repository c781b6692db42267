// binding.cpp - the addresses of what modules may import.

#include "host/macho/binding.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <objc/objc-exception.h>
#include <objc/runtime.h>
#include <pthread.h>
#include <strings.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "host/macho/imports.h"
#include "host/macho/lazy_binding.h"
#include "host/macho/message_send.h"
#include "host/macho/object_error.h"
#include "host/macho/platform_functions.h"
#include "platform/ExceptionFrames/macos_frames.h"

extern "C" {
// Only the addresses are used here, so the declarations need not be exact.
void _Unwind_Resume(void*);
void __gxx_personality_v0();
int objc_exception_match(Class exceptionClass, id exception);
}

namespace host::macho {

namespace {

template <typename Function>
std::uint32_t Address(Function* function) {
    return reinterpret_cast<std::uintptr_t>(function);
}

// The functions and the class that come from Foundation and Core Graphics. The library is loaded when the first object
// needs it.
const PlatformFunctions& Platform() {
    static const PlatformFunctions* const functions = [] {
        void* library = dlopen("libmacos_platform.so", RTLD_NOW | RTLD_LOCAL);
        if (library == nullptr) throw ObjectError("Core Image", std::string("cannot be loaded: ") + dlerror());
        const auto get = reinterpret_cast<const PlatformFunctions* (*)()>(dlsym(library, "MacPlatformFunctions"));
        if (get == nullptr) throw ObjectError("libmacos_platform.so", "it has no function MacPlatformFunctions");
        return get();
    }();
    return *functions;
}

// The addresses are found when they are first needed: those of the frameworks load their library.
struct Binding {
    std::string_view name;
    std::uint32_t (*address)();
};

constexpr Binding kBindings[] = {
#define ZEVA_BINDING(library, name, function) {name, [] { return Address(function); }},
    ZEVA_MACOS_IMPORTS(ZEVA_BINDING)
#undef ZEVA_BINDING
};

constexpr std::string_view kClassPrefix = ZEVA_CLASS_SYMBOL("");

}  // namespace

std::uint32_t AddressOf(std::string_view name) {
    for (const Binding& binding : kBindings) {
        if (binding.name == name) return binding.address();
    }
    if (name.starts_with(kClassPrefix)) return AddressOfClass(std::string(name.substr(kClassPrefix.size())).c_str());
    throw ObjectError("symbol " + std::string(name),
                      "it is undefined, and modules have no access to a function with this name");
}

std::uint32_t AddressOf(std::string_view name, std::string_view library) {
    const Library* expected = LibraryOf(name);
    if (expected == nullptr || expected->installName == library) return AddressOf(name);
    throw ObjectError("symbol " + std::string(name),
                      "it is a symbol of " + std::string(expected->installName) + ", not of " + std::string(library));
}

std::uint32_t AddressOfClass(const char* name) {
    static_cast<void>(Platform());  // which brings the classes
    const Class found = objc_getClass(name);
    if (found == nullptr) throw ObjectError("class " + std::string(name), "no class with this name exists here");
    return Address(found);
}

}  // namespace host::macho
