// macos_frames.h - exception frames in the layout of code compiled for 32-bit macOS.
//
// Such a frame begins with a jump buffer of 18 words, smaller than the native one, which macos_setjmp fills. macOS
// frames and native frames may nest in any order on a thread, because both are links of one chain.
// objc_exception_throw and objc_exception_match serve both kinds.
//
// Lifetime: a frame lives on the caller's stack. It is registered from try_enter until try_exit or the jump.
// Threads:  each thread has its own chain of frames.

#pragma once

#include <objc/objc.h>

extern "C" {

// Saves the calling context in the buffer and returns 0. Returns again with 1 when an object is thrown to the frame.
int macos_setjmp(int* buffer) __attribute__((returns_twice));

// Registers a frame as the thread's innermost. The caller fills its jump buffer next.
void macos_exception_try_enter(void* frame);

// Removes a frame and all frames registered inside it.
void macos_exception_try_exit(void* frame);

// Returns the object that was thrown to a frame; not retained.
id macos_exception_extract(void* frame);
}
