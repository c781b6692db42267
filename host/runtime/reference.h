// reference.h - one counted reference to a host object or a host string, given back when it goes out of scope.
//
// Adopt takes over a reference that somebody hands us; Retain takes one of our own.
// Lifetime: all references are gone before the Host is.
// Threads:  the host's thread only; the counts are plain numbers.

#pragma once

#include <utility>

#include "interface/handles.h"

namespace host {

// Takes one reference more; null is allowed.
void Lock(ZEVAobjectStruct* object);
void Lock(ZEVAstringStruct* string);

// Gives one reference back; the last one ends the object or the string. Null is allowed. Never throws.
void Unlock(ZEVAobjectStruct* object);
void Unlock(ZEVAstringStruct* string);

template <typename Handle>
class Reference {
  public:
    Reference() = default;
    Reference(const Reference& other) : handle_(other.handle_) { Lock(handle_); }
    Reference(Reference&& other) noexcept : handle_(std::exchange(other.handle_, nullptr)) {}
    ~Reference() { Unlock(handle_); }

    Reference& operator=(Reference other) noexcept {
        std::swap(handle_, other.handle_);
        return *this;
    }

    // Takes over the caller's reference.
    static Reference Adopt(Handle* handle) {
        Reference reference;
        reference.handle_ = handle;
        return reference;
    }

    // Takes a reference of its own; the caller's stays the caller's.
    static Reference Retain(Handle* handle) {
        Lock(handle);
        return Adopt(handle);
    }

    // The handle, lent for as long as this reference lives; null when there is none.
    Handle* Get() const { return handle_; }
    Handle* operator->() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

    // Whether both refer to the same thing, or both to nothing.
    friend bool operator==(const Reference& first, const Reference& second) = default;

    // Hands the reference to the caller, who now gives it back.
    Handle* Leak() { return std::exchange(handle_, nullptr); }

  private:
    Handle* handle_ = nullptr;
};

using ObjectReference = Reference<ZEVAobjectStruct>;
using StringReference = Reference<ZEVAstringStruct>;

}  // namespace host
