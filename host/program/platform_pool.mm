// platform_pool.mm - the pool behind the scope.

#include "host/program/platform_pool.h"

#import <Foundation/Foundation.h>

namespace {

void* OpenPool() { return [[NSAutoreleasePool alloc] init]; }

void ClosePool(void* pool) { [static_cast<NSAutoreleasePool*>(pool) release]; }

}  // namespace

host::CallScope PlatformPool() { return {OpenPool, ClosePool}; }
