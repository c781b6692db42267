// platform_functions.mm - the addresses.

#include "host/macho/platform_functions.h"

#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#import <Foundation/Foundation.h>

#include "host/macho/constant_string.h"

const host::macho::PlatformFunctions* MacPlatformFunctions() {
    static const host::macho::PlatformFunctions functions = {
        .retain = reinterpret_cast<void (*)()>(CFRetain),
        .retainImage = reinterpret_cast<void (*)()>(CGImageRetain),
        .log = reinterpret_cast<void (*)()>(NSLog),
        .constantStringClass = host::macho::ConstantStringClass(),
    };
    return &functions;
}
