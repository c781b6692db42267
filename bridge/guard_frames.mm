// guard_frames.mm - the guard over the 32-bit runtime's setjmp-based exception frames.

#import <Foundation/Foundation.h>

#include <csetjmp>

#include "bridge/exception_report.h"
#include "bridge/guard.h"

namespace {

// The runtime's record of a guarded call: where to jump, and words for the runtime's own use.
struct ExceptionFrame {
    std::jmp_buf buffer;
    void* runtimeWords[4];
};

}  // namespace

extern "C" {
void objc_exception_try_enter(void* frame);
void objc_exception_try_exit(void* frame) noexcept;
id objc_exception_extract(void* frame);
int objc_exception_match(Class exceptionClass, id exception);
void objc_exception_throw(id exception);
}

namespace {

// Removes a frame at the normal end of the work, and when a foreign exception unwinds it. A longjmp does not run this
// destructor, and need not: the runtime has removed the frame by then.
struct FrameExit {
    ExceptionFrame& frame;
    ~FrameExit() { objc_exception_try_exit(&frame); }
};

}  // namespace

void RunGuarded(void (*work)(void* context), void (*interrupted)(void* context), void* context) {
    ExceptionFrame frame;
    objc_exception_try_enter(&frame);
    if (_setjmp(frame.buffer) == 0) {
        FrameExit leave{frame};
        work(context);
        return;
    }
    interrupted(context);
    id exception = objc_exception_extract(&frame);
    if (!objc_exception_match([NSException class], exception)) objc_exception_throw(objc_exception_extract(&frame));
    ReportException(exception);
}
