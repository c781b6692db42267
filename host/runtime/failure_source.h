// failure_source.h - why a call has returned no object.
//
// A module's getter returns nil when the platform gives it nothing, whatever the reason. The runtime does not depend on
// a platform, so the program that makes the Host says whom to ask.

#pragma once

namespace host {

// A function that forgets older reasons, and one that returns the reason since then, empty for none. Either both are
// given or neither. They must not throw.
struct FailureSource {
    void (*forget)() = nullptr;
    const char* (*reason)() = nullptr;
};

}  // namespace host
