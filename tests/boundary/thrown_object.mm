// thrown_object.mm - an exception frame around the work at 32 bits, a native handler at 64 bits.

#include "tests/boundary/thrown_object.h"

#import <Foundation/Foundation.h>

#include <csetjmp>
#include <cstdint>

#if UINTPTR_MAX == UINT32_MAX

extern "C" {
void objc_exception_try_enter(void* frame);
void objc_exception_try_exit(void* frame);
id objc_exception_extract(void* frame);
}

id ThrownBy(void (*work)(void* context), void* context) {
    struct {
        std::jmp_buf buffer;
        void* runtimeWords[4];
    } frame;
    objc_exception_try_enter(&frame);
    if (_setjmp(frame.buffer) != 0) return objc_exception_extract(&frame);
    work(context);
    // This reaches the frame above only if that is the innermost one again.
    NSObject* probe = [[[NSObject alloc] init] autorelease];
    if (_setjmp(frame.buffer) != 0) return objc_exception_extract(&frame) == probe ? nil : probe;
    @throw probe;
}

#else

id ThrownBy(void (*work)(void* context), void* context) {
    @try {
        work(context);
    } @catch (id thrown) {
        return thrown;
    }
    return nil;
}

#endif
