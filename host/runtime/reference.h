// reference.h - owns one counted reference to a host object or a host string, and releases it at the end of its scope.
//
// Adopt takes over a reference that the caller owns; Retain adds a new one.
// Lifetime: all references must be released before the Host ends.
// Threads:  the host's thread only; the counts are not atomic.

#pragma once

#include <utility>

#include "interface/handles.h"

namespace host {

// Adds a reference; null is allowed.
void Lock(ZEVAobjectStruct* object);
void Lock(ZEVAstringStruct* string);

// Releases a reference; releasing the last one destroys the object or string. Null is allowed. Never throws.
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

    // Takes over a reference that the caller owns.
    [[nodiscard]] static Reference Adopt(Handle* handle) {
        Reference reference;
        reference.handle_ = handle;
        return reference;
    }

    // Adds a reference; the caller keeps its own.
    [[nodiscard]] static Reference Retain(Handle* handle) {
        Lock(handle);
        return Adopt(handle);
    }

    // The handle, valid while this reference holds it; null if there is none.
    Handle* Get() const { return handle_; }
    Handle* operator->() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

    // Whether both refer to the same handle, or both to null.
    friend bool operator==(const Reference& first, const Reference& second) = default;

    // Passes the reference to the caller, who must release it.
    Handle* Leak() { return std::exchange(handle_, nullptr); }

  private:
    Handle* handle_ = nullptr;
};

using ObjectReference = Reference<ZEVAobjectStruct>;
using StringReference = Reference<ZEVAstringStruct>;

}  // namespace host
