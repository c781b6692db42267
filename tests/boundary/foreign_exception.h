// foreign_exception.h - a C++ exception that crosses Objective-C frames, thrown and caught in a file where C++ can.

#pragma once

// Throws the exception that ThrowsForeign looks for.
[[noreturn]] void ThrowForeign();

// Whether work(context) let it out.
bool ThrowsForeign(void (*work)(void* context), void* context);

template <typename Work>
bool ThrowsForeign(Work work) {
    return ThrowsForeign([](void* context) { (*static_cast<Work*>(context))(); }, &work);
}
