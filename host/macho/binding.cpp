// binding.cpp - the list of functions that objects may use.

#include "host/macho/binding.h"

#include <dlfcn.h>
#include <objc/objc-exception.h>
#include <objc/runtime.h>
#include <pthread.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

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

struct Binding {
    std::string_view name;
    std::uint32_t address;
};

// clang-format off
const Binding kBindings[] = {
    // name in the object              function here
    {"_calloc",                        Address(std::calloc)},
    {"_free",                          Address(std::free)},
    {"_memcpy",                        Address(std::memcpy)},
    {"_memset",                        Address(std::memset)},
    {"_pthread_self",                  Address(pthread_self)},
    {"_snprintf",                      Address(std::snprintf)},
    {"_strlen",                        Address<size_t(const char*)>(std::strlen)},

    {"_objc_msgSend",                  Address(macos_objc_msgSend)},
    {"_objc_msgSend_fpret",            Address(macos_objc_msgSend_fpret)},

    // The frames of such code are smaller than those of this machine; these functions handle both.
    {"__setjmp",                       Address(macos_setjmp)},
    {"_objc_exception_try_enter",      Address(macos_exception_try_enter)},
    {"_objc_exception_try_exit",       Address(macos_exception_try_exit)},
    {"_objc_exception_extract",        Address(macos_exception_extract)},
    {"_objc_exception_match",          Address(objc_exception_match)},
    {"_objc_exception_throw",          Address(objc_exception_throw)},

    // For C++ exceptions of other code that pass through: they run the cleanups and continue unwinding.
    {"___gxx_personality_v0",          Address(__gxx_personality_v0)},
    {"__Unwind_Resume",                Address(_Unwind_Resume)},
};
// clang-format on

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

// An object has an undefined symbol with this prefix for each class that it uses, so a missing class is found at load.
constexpr std::string_view kClassPrefix = ".objc_class_name_";

}  // namespace

std::uint32_t AddressOf(std::string_view name) {
    for (const Binding& binding : kBindings) {
        if (binding.name == name) return binding.address;
    }
    if (name == "_CFRetain") return Address(Platform().retain);
    if (name == "_CGImageRetain") return Address(Platform().retainImage);
    if (name == "_NSLog") return Address(Platform().log);
    if (name == "___CFConstantStringClassReference") return Address(Platform().constantStringClass);
    if (name.starts_with(kClassPrefix)) return AddressOfClass(std::string(name.substr(kClassPrefix.size())).c_str());
    throw ObjectError("symbol " + std::string(name),
                      "it is undefined, and modules have no access to a function with this name");
}

std::uint32_t AddressOfClass(const char* name) {
    static_cast<void>(Platform());  // which brings the classes
    const Class found = objc_getClass(name);
    if (found == nullptr) throw ObjectError("class " + std::string(name), "no class with this name exists here");
    return Address(found);
}

}  // namespace host::macho
