// foreign_exception.h - a C++ exception that crosses Objective-C frames. It is thrown and caught in a C++ file, because
// Objective-C++ files cannot catch C++ exceptions with this runtime.

#pragma once

// Throws the exception that ThrowsForeign catches.
[[noreturn]] void ThrowForeign();

// Whether work(context) throws the exception of ThrowForeign.
bool ThrowsForeign(void (*work)(void* context), void* context);

template <typename Work>
bool ThrowsForeign(Work work) {
    return ThrowsForeign([](void* context) { (*static_cast<Work*>(context))(); }, &work);
}
