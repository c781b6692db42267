// call_scope.h - something to have around every call into a module, an autorelease pool say.
//
// The runtime itself knows no platform: whoever makes the Host says what is opened before a call and closed after it.

#pragma once

namespace host {

// What to open and how to close it; both or neither are given. Scopes nest. Neither function may throw.
struct CallScope {
    void* (*open)() = nullptr;
    void (*close)(void* opened) = nullptr;
};

// One scope, open for as long as this lives.
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
