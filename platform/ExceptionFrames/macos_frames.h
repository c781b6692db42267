// macos_frames.h - exception frames as code compiled for 32-bit macOS lays them out.
//
// A frame there begins with a jump buffer of 18 words, smaller than this machine's, and is filled by that system's setjmp. Such
// frames and those of this machine may enclose one another in any order on a thread: both are links of one chain.
// objc_exception_throw and objc_exception_match serve both kinds.
//
// Threads: a chain of frames per thread.

#pragma once

#include <objc/objc.h>

extern "C" {

// Notes in the buffer where to go on: answers 0, and 1 when an object was thrown to the frame.
int macos_setjmp(int* buffer) __attribute__((returns_twice));

// Registers a frame as the thread's innermost. The caller fills its jump buffer next.
void macos_exception_try_enter(void* frame);

// Removes a frame, and any registered inside it.
void macos_exception_try_exit(void* frame);

// The object that was thrown to a frame; not retained.
id macos_exception_extract(void* frame);
}
