// imports.h - what modules may import: the libraries of the platform, and the functions and classes of each.
//
// The one list, for the linker (tools/link_bundle), which writes the library of each import into a bundle, and for the
// loader (binding.cpp), which has the address in this process. Names begin with an underscore, as on macOS.
//
// Adding a function: a row with its name and the function of this process that does its work.

#pragma once

#include <cstdint>
#include <string_view>

namespace host::macho {

// A version as load commands have it.
constexpr std::uint32_t PackedVersion(std::uint32_t major, std::uint32_t minor) { return major << 16 | minor << 8; }

// The oldest system that bundles are for.
inline constexpr std::uint32_t kOldestSystem = PackedVersion(10, 6);

// The names by which the libraries are installed, in every system from the oldest to the last one that runs such code.
// Core Graphics and Core Image have moved from one umbrella to another in between. Application Services and Quartz Core
// have contained or re-exported them all the time. The versions are those of the oldest system.
//
// LIBRARY(name here, name by which it is installed, compatibility version, version)
// clang-format off
#define ZEVA_MACOS_LIBRARIES(LIBRARY)                                                                                  \
    LIBRARY(kSystem,         "/usr/lib/libSystem.B.dylib",   PackedVersion(1, 0),   PackedVersion(125, 0))             \
    LIBRARY(kObjectiveC,     "/usr/lib/libobjc.A.dylib",     PackedVersion(1, 0),   PackedVersion(227, 0))             \
    LIBRARY(kStandard,       "/usr/lib/libstdc++.6.dylib",   PackedVersion(7, 0),   PackedVersion(7, 9))               \
    LIBRARY(kCoreFoundation, "/System/Library/Frameworks/CoreFoundation.framework/Versions/A/CoreFoundation",          \
                                                             PackedVersion(150, 0), PackedVersion(550, 0))             \
    LIBRARY(kFoundation,     "/System/Library/Frameworks/Foundation.framework/Versions/C/Foundation",                  \
                                                             PackedVersion(300, 0), PackedVersion(751, 0))             \
    LIBRARY(kApplication,    "/System/Library/Frameworks/ApplicationServices.framework/Versions/A/ApplicationServices",\
                                                             PackedVersion(1, 0),   PackedVersion(38, 0))              \
    LIBRARY(kQuartzCore,     "/System/Library/Frameworks/QuartzCore.framework/Versions/A/QuartzCore",                  \
                                                             PackedVersion(1, 2),   PackedVersion(1, 6))

// The function that stubs of a bundle call to have their function looked up. Every bundle imports it.
#define ZEVA_STUB_BINDER "dyld_stub_binder"

// IMPORT(library, name, address here)
//
// The addresses are expressions of binding.cpp, which declares what they need.
#define ZEVA_MACOS_IMPORTS(IMPORT)                                                                                     \
    IMPORT(kSystem,         "___bzero",                          bzero)                                                \
    IMPORT(kSystem,         "_calloc",                           std::calloc)                                          \
    IMPORT(kSystem,         "_close",                            close)                                                \
    IMPORT(kSystem,         "_creat",                            creat)                                                \
    IMPORT(kSystem,         "_free",                             std::free)                                            \
    IMPORT(kSystem,         "_getenv",                           std::getenv)                                          \
    IMPORT(kSystem,         "_memcmp",                           std::memcmp)                                          \
    IMPORT(kSystem,         "_memcpy",                           std::memcpy)                                          \
    IMPORT(kSystem,         "_memset",                           std::memset)                                          \
    IMPORT(kSystem,         "_pipe",                             pipe)                                                 \
    IMPORT(kSystem,         "_pthread_self",                     pthread_self)                                         \
    IMPORT(kSystem,         "_read",                             read)                                                 \
    IMPORT(kSystem,         "_snprintf",                         std::snprintf)                                        \
    IMPORT(kSystem,         "_strlen",                           static_cast<size_t (*)(const char*)>(std::strlen))    \
    IMPORT(kSystem,         "_vsnprintf",                        std::vsnprintf)                                       \
    IMPORT(kSystem,         "_write",                            write)                                                \
    IMPORT(kSystem,         ZEVA_STUB_BINDER,                    macos_stub_binder)                                    \
    /* The frames of such code are smaller than those of this machine; these functions handle both. */                \
    IMPORT(kSystem,         "__setjmp",                          macos_setjmp)                                         \
    IMPORT(kObjectiveC,     "_objc_exception_try_enter",         macos_exception_try_enter)                            \
    IMPORT(kObjectiveC,     "_objc_exception_try_exit",          macos_exception_try_exit)                             \
    IMPORT(kObjectiveC,     "_objc_exception_extract",           macos_exception_extract)                              \
    IMPORT(kObjectiveC,     "_objc_exception_match",             objc_exception_match)                                 \
    IMPORT(kObjectiveC,     "_objc_exception_throw",             objc_exception_throw)                                 \
    IMPORT(kObjectiveC,     "_objc_msgSend",                     macos_objc_msgSend)                                   \
    IMPORT(kObjectiveC,     "_objc_msgSend_fpret",               macos_objc_msgSend_fpret)                             \
    /* For C++ exceptions of other code that pass through: they run the cleanups and continue unwinding. */           \
    IMPORT(kStandard,       "___gxx_personality_v0",             __gxx_personality_v0)                                 \
    IMPORT(kSystem,         "__Unwind_Resume",                   _Unwind_Resume)                                       \
    IMPORT(kCoreFoundation, "_CFRetain",                         Platform().retain)                                    \
    IMPORT(kCoreFoundation, "___CFConstantStringClassReference", Platform().constantStringClass)                       \
    IMPORT(kFoundation,     "_NSLog",                            Platform().log)                                       \
    IMPORT(kApplication,    "_CGImageRetain",                    Platform().retainImage)

// The symbol that stands for a class. An object has an undefined one for each class that it uses, so a missing class is
// found when the object is linked or loaded.
#define ZEVA_CLASS_SYMBOL(name) ".objc_class_name_" name

// CLASS(library, name)
#define ZEVA_MACOS_CLASSES(CLASS)                                                                                      \
    CLASS(kFoundation, "NSData")                                                                                       \
    CLASS(kFoundation, "NSDictionary")                                                                                 \
    CLASS(kFoundation, "NSException")                                                                                  \
    CLASS(kFoundation, "NSNumber")                                                                                     \
    CLASS(kQuartzCore, "CIFilter")
// clang-format on

struct Library {
    std::string_view installName;
    std::uint32_t compatibilityVersion;
    std::uint32_t version;
};

// Each library under its name here.
namespace libraries {

#define ZEVA_LIBRARY(here, name, compatibility, version) inline constexpr Library here = {name, compatibility, version};
ZEVA_MACOS_LIBRARIES(ZEVA_LIBRARY)
#undef ZEVA_LIBRARY

}  // namespace libraries

// In the order in which bundles load them.
inline constexpr const Library* kLibraries[] = {
#define ZEVA_LIBRARY(here, name, compatibility, version) &libraries::here,
    ZEVA_MACOS_LIBRARIES(ZEVA_LIBRARY)
#undef ZEVA_LIBRARY
};

// A symbol and the library that exports it.
struct Import {
    std::string_view name;
    const Library* library;
};

inline constexpr Import kImports[] = {
#define ZEVA_IMPORT(library, name, address) {name, &libraries::library},
#define ZEVA_CLASS(library, name) {ZEVA_CLASS_SYMBOL(name), &libraries::library},
    ZEVA_MACOS_IMPORTS(ZEVA_IMPORT) ZEVA_MACOS_CLASSES(ZEVA_CLASS)
#undef ZEVA_IMPORT
#undef ZEVA_CLASS
};

// The library that exports a symbol; null for a symbol that is not on the list.
constexpr const Library* LibraryOf(std::string_view symbol) {
    for (const Import& import : kImports) {
        if (import.name == symbol) return import.library;
    }
    return nullptr;
}

}  // namespace host::macho
