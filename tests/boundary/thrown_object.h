// thrown_object.h - the Objective-C object that leaves a call.

#pragma once

#include <objc/objc.h>

// The Objective-C object that the work threw, or nil. The test's own exception frame encloses the work, so a frame that
// the module left behind or removed is noticed.
id ThrownBy(void (*work)(void* context), void* context);

template <typename Work>
id ThrownBy(Work work) {
    return ThrownBy([](void* context) { (*static_cast<Work*>(context))(); }, &work);
}
