// exception_frames.cpp - the setjmp-based exception frames of 32-bit Objective-C, over the GNU runtime.
//
// A guard registers a frame with objc_exception_try_enter and fills its jump buffer with _setjmp. A thrown object then
// goes to the innermost frame of the thread by a jump; with no frame registered it goes the runtime's own way, by
// unwinding. There are two kinds of frames, whose jump buffers differ: this machine's, and those of code for macOS
// (macos_frames.h). Each frame remembers how to jump to it.
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

#include "platform/ExceptionFrames/macos_frames.h"
#include "platform/ExceptionFrames/macos_jump.h"

namespace {

// The four words behind a frame's jump buffer, which are the runtime's own: the frame as a link of its thread's chain.
struct Link {
    id exception;
    Link* enclosing;
    void (*jump)(Link*);  // to the frame's jump buffer; does not return
    void* unused;
};

static_assert(sizeof(Link) == 4 * sizeof(void*));

thread_local Link* innermost = nullptr;

// A frame as callers lay it out.
template <typename Buffer, void (*kJump)(Buffer&)>
struct Frame {
    Buffer buffer;
    Link link;

    static void Enter(void* frame) {
        Link& entered = static_cast<Frame*>(frame)->link;
        entered = {nullptr, innermost, Jump, nullptr};
        innermost = &entered;
    }

    static void Exit(void* frame) { innermost = static_cast<Frame*>(frame)->link.enclosing; }

    static id Extract(void* frame) { return static_cast<Frame*>(frame)->link.exception; }

  private:
    static void Jump(Link* link) {
        auto* bytes = reinterpret_cast<unsigned char*>(link) - sizeof(Buffer);
        kJump(reinterpret_cast<Frame*>(bytes)->buffer);
    }
};

using MachineFrame = Frame<std::jmp_buf, [](std::jmp_buf& buffer) { std::longjmp(buffer, 1); }>;
using MacFrame = Frame<MacJumpBuffer, [](MacJumpBuffer& buffer) { macos_longjmp(buffer); }>;

using Throw = void (*)(id);

// The runtime's own objc_exception_throw, behind this library in the search order.
Throw RuntimeThrow() {
    static const auto runtimeThrow = reinterpret_cast<Throw>(dlsym(RTLD_NEXT, "objc_exception_throw"));
    return runtimeThrow;
}

}  // namespace

#define FRAMES_EXPORT extern "C" __attribute__((visibility("default")))

// Registers a frame as the thread's innermost. The caller fills its jump buffer next.
FRAMES_EXPORT void objc_exception_try_enter(void* frame) { MachineFrame::Enter(frame); }
FRAMES_EXPORT void macos_exception_try_enter(void* frame) { MacFrame::Enter(frame); }

// Removes a frame, and any registered inside it.
FRAMES_EXPORT void objc_exception_try_exit(void* frame) { MachineFrame::Exit(frame); }
FRAMES_EXPORT void macos_exception_try_exit(void* frame) { MacFrame::Exit(frame); }

// The object that was thrown to a frame; not retained.
FRAMES_EXPORT id objc_exception_extract(void* frame) { return MachineFrame::Extract(frame); }
FRAMES_EXPORT id macos_exception_extract(void* frame) { return MacFrame::Extract(frame); }

// Whether an object is an instance of the class or of one below it. Sends no message.
FRAMES_EXPORT int objc_exception_match(Class exceptionClass, id exception) {
    for (Class its = object_getClass(exception); its != nullptr; its = class_getSuperclass(its)) {
        if (its == exceptionClass) return 1;
    }
    return 0;
}

// Throws an object to the thread's innermost frame, which is removed first; does not return.
FRAMES_EXPORT void objc_exception_throw(id exception) {
    if (Link* link = innermost; link != nullptr) {
        innermost = link->enclosing;
        link->exception = exception;
        link->jump(link);
    }
    RuntimeThrow()(exception);
    std::abort();  // the runtime's function does not return either
}
