// platform_functions.h - what object code uses of Foundation, Core Foundation and Core Graphics.
//
// It is in a shared library of its own, libmacos_platform.so, because those libraries take longer to load than most
// programs take to run: the program loads it with the first object and otherwise starts without them.
//
// Lifetime: constant; the library is never unloaded.
// Threads:  any.

#pragma once

#include <objc/objc.h>

namespace host::macho {

// Only the addresses of the functions are used, so their types are not exact.
struct PlatformFunctions {
    void (*retain)();
    void (*retainImage)();
    void (*log)();
    Class constantStringClass;
};

}  // namespace host::macho

// The function that the library exports.
extern "C" const host::macho::PlatformFunctions* MacPlatformFunctions();
