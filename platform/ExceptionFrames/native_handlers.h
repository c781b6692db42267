// native_handlers.h - what lies on the stack between a throw and an exception frame: native handlers and cleanups.
//
// Code of this machine handles exceptions natively: the unwinder finds the handler in tables. Where such a handler is
// nearer to a throw than the innermost exception frame, it must get the object, as it does when both are frames. And
// the native cleanups on the way to a frame (@synchronized, @finally, destructors) must run before the jump to it.
//
// Threads: any; a search concerns the calling thread's stack.

#pragma once

#include <objc/objc.h>

#include <cstdint>

// What a search of the stack has found.
struct NativeSearch {
    bool isHandled = false;     // a native handler that is nearer than the exception frame takes the object
    std::uintptr_t holder = 0;  // otherwise: the stack pointer of the function that holds the frame; 0 when unknown
};

// Searches the caller's stack up to the function that holds an exception frame, in the way of the unwinder. Code
// without unwind tables ends the search.
[[nodiscard]] NativeSearch SearchNativeHandlers(id object, const void* frame);

// Runs the native cleanups of the functions inside the holder, then calls arrive(argument), which must not return.
// Returns only when there is no memory or when the stack cannot be unwound.
void RunNativeCleanups(std::uintptr_t holder, void (*arrive)(void* argument), void* argument);
