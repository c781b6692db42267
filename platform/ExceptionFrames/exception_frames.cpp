// exception_frames.cpp - the setjmp-based exception frames of 32-bit Objective-C, over the GNU runtime.
//
// A guard registers a frame with objc_exception_try_enter and fills its jump buffer with _setjmp. Throwing an object
// then jumps to the innermost frame of the thread, after the native cleanups on the way to it. When a native handler is
// nearer, or when the thread has no frame, the runtime throws by unwinding as usual (native_handlers.h). There are two
// kinds of frames with different jump buffers: native ones, and those of code compiled for macOS (macos_frames.h). Each
// frame remembers how to jump to it.
//
// Interposition: this library exports objc_exception_throw like the runtime, and must precede libobjc in the search
//                order. Foundation calls the function through its linkage table and therefore reaches this one.
// Lifetime:      a frame lives on the caller's stack. It is registered from try_enter until try_exit or the jump.
// Threads:       each thread has its own chain of frames.

#include <dlfcn.h>
#include <objc/runtime.h>

#include <csetjmp>
#include <cstdlib>

#include "platform/ExceptionFrames/macos_frames.h"
#include "platform/ExceptionFrames/macos_jump.h"
#include "platform/ExceptionFrames/native_handlers.h"

namespace {

// The four words that follow a frame's jump buffer and that only the runtime uses. They link the frame into the chain
// of its thread.
struct Link {
    id exception;
    Link* enclosing;
    void (*jump)(Link*);  // jumps to the frame's buffer; does not return
    void* unused;
};

static_assert(sizeof(Link) == 4 * sizeof(void*));

// Found without a call, which otherwise takes a third of the time of a guard. The C library has room for the few bytes
// that libraries loaded later need so.
[[gnu::tls_model("initial-exec")]] thread_local Link* innermost = nullptr;

// Removes a frame and jumps to it; does not return.
void JumpTo(void* frameLink) {
    auto* link = static_cast<Link*>(frameLink);
    innermost = link->enclosing;
    link->jump(link);
}

// A frame in the layout that callers use.
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

using NativeFrame = Frame<std::jmp_buf, [](std::jmp_buf& buffer) { std::longjmp(buffer, 1); }>;
using MacFrame = Frame<MacJumpBuffer, [](MacJumpBuffer& buffer) { macos_longjmp(buffer); }>;

using Throw = void (*)(id);

// Returns the runtime's own objc_exception_throw, which follows this library in the search order.
Throw RuntimeThrow() {
    static const auto runtimeThrow = reinterpret_cast<Throw>(dlsym(RTLD_NEXT, "objc_exception_throw"));
    return runtimeThrow;
}

}  // namespace

#define FRAMES_EXPORT extern "C" __attribute__((visibility("default")))

// Registers a frame as the thread's innermost. The caller fills its jump buffer next.
FRAMES_EXPORT void objc_exception_try_enter(void* frame) { NativeFrame::Enter(frame); }
FRAMES_EXPORT void macos_exception_try_enter(void* frame) { MacFrame::Enter(frame); }

// Removes a frame and all frames registered inside it.
FRAMES_EXPORT void objc_exception_try_exit(void* frame) { NativeFrame::Exit(frame); }
FRAMES_EXPORT void macos_exception_try_exit(void* frame) { MacFrame::Exit(frame); }

// Returns the object that was thrown to a frame; not retained.
FRAMES_EXPORT id objc_exception_extract(void* frame) { return NativeFrame::Extract(frame); }
FRAMES_EXPORT id macos_exception_extract(void* frame) { return MacFrame::Extract(frame); }

// Returns whether an object is an instance of the class or of a subclass. Sends no message.
FRAMES_EXPORT int objc_exception_match(Class exceptionClass, id exception) {
    for (Class its = object_getClass(exception); its != nullptr; its = class_getSuperclass(its)) {
        if (its == exceptionClass) return 1;
    }
    return 0;
}

// Throws an object to the nearest handler: a native one, or the thread's innermost frame, which is removed. Does not
// return.
FRAMES_EXPORT void objc_exception_throw(id exception) {
    if (Link* link = innermost; link != nullptr) {
        const NativeSearch search = SearchNativeHandlers(exception, link);
        if (!search.isHandled) {
            link->exception = exception;
            if (search.holder != 0) RunNativeCleanups(search.holder, JumpTo, link);
            JumpTo(link);
        }
    }
    RuntimeThrow()(exception);
    std::abort();  // the runtime's function does not return either
}
