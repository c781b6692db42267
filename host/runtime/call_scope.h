// call_scope.h - a scope around each call into a module, for example an autorelease pool.
//
// The runtime does not depend on a platform, so the program that makes the Host decides what to open before a call and
// close after it.

#pragma once

namespace host {

// How to open and close a scope. Either both functions are given or neither. Scopes nest. The functions must not throw.
struct CallScope {
    void* (*open)() = nullptr;
    void (*close)(void* opened) = nullptr;
};

// A scope that is open during the lifetime of this object.
class OpenScope {
  public:
    explicit OpenScope(const CallScope& scope)
        : scope_(scope), opened_(scope.open != nullptr ? scope.open() : nullptr) {}
    ~OpenScope() {
        if (scope_.close != nullptr) scope_.close(opened_);
    }
    OpenScope(const OpenScope&) = delete;
    OpenScope& operator=(const OpenScope&) = delete;

  private:
    const CallScope& scope_;
    void* opened_;
};

}  // namespace host
