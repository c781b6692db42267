// exception_frames.cpp - the setjmp-based exception frames of 32-bit Objective-C, over the GNU runtime.
//
// A guard registers a frame with objc_exception_try_enter and fills its jump buffer with _setjmp. A thrown object then
// goes to the innermost frame of the thread by longjmp; with no frame registered it goes the runtime's own way, by
// unwinding.
//
// How it gets in the way: this library exports objc_exception_throw as the runtime does and must stand before libobjc
// in the search order. Foundation calls the function through its linkage table and so reaches this one.
// Limit:    a native @try deeper than the innermost frame is jumped over. Code that runs inside a frame must not rely
//           on one.
// Lifetime: a frame belongs to the caller's stack, registered from try_enter until try_exit or the jump.
// Threads:  a chain of frames per thread.

#include <dlfcn.h>
#include <objc/runtime.h>

#include <csetjmp>
#include <cstdlib>

namespace {

// A frame as callers lay it out: the jump buffer, then words for the runtime's own use.
struct Frame {
    std::jmp_buf buffer;
    id exception;
    Frame* enclosing;
    void* unused[2];
};

thread_local Frame* innermost = nullptr;

using Throw = void (*)(id);

// The runtime's own objc_exception_throw, behind this library in the search order.
Throw RuntimeThrow() {
    static const auto runtimeThrow = reinterpret_cast<Throw>(dlsym(RTLD_NEXT, "objc_exception_throw"));
    return runtimeThrow;
}

}  // namespace

#define FRAMES_EXPORT extern "C" __attribute__((visibility("default")))

// Registers a frame as the thread's innermost. The caller fills its jump buffer next.
FRAMES_EXPORT void objc_exception_try_enter(void* frame) {
    auto* entered = static_cast<Frame*>(frame);
    entered->exception = nullptr;
    entered->enclosing = innermost;
    innermost = entered;
}

// Removes a frame, and any registered inside it.
FRAMES_EXPORT void objc_exception_try_exit(void* frame) { innermost = static_cast<Frame*>(frame)->enclosing; }

// The object that was thrown to a frame; not retained.
FRAMES_EXPORT id objc_exception_extract(void* frame) { return static_cast<Frame*>(frame)->exception; }

// Whether an object is an instance of the class or of one below it. Sends no message.
FRAMES_EXPORT int objc_exception_match(Class exceptionClass, id exception) {
    for (Class its = object_getClass(exception); its != nullptr; its = class_getSuperclass(its)) {
        if (its == exceptionClass) return 1;
    }
    return 0;
}

// Throws an object to the thread's innermost frame, which is removed first; does not return.
FRAMES_EXPORT void objc_exception_throw(id exception) {
    if (Frame* frame = innermost; frame != nullptr) {
        innermost = frame->enclosing;
        frame->exception = exception;
        std::longjmp(frame->buffer, 1);
    }
    RuntimeThrow()(exception);
    std::abort();  // the runtime's function does not return either
}
