// held.h - references that a check holds, given back at the end of their block.
//
// One that the host has not given is null. Nothing is done with it then: a host need not expect a null handle.

#pragma once

#include <cstddef>
#include <cstdint>

#include "interface/handles.h"
#include "plugin/host_services.h"

namespace probe {

// A block as the object that it also is.
inline ZEVAobjectStruct* ObjectOf(ZEVAmemoryBlockStruct* block) { return reinterpret_cast<ZEVAobjectStruct*>(block); }

inline ZEVAobjectStruct* ObjectOf(ZEVAobjectStruct* object) { return object; }

inline void Drop(ZEVAobjectStruct* object) { ZEVAUnlockObject(object); }
inline void Drop(ZEVAstringStruct* string) { ZEVAUnlockString(string); }
inline void Drop(ZEVAmemoryBlockStruct* block) { ZEVAUnlockObject(ObjectOf(block)); }

template <typename Handle>
class Held {
  public:
    explicit Held(Handle* handle) : handle_(handle) {}
    ~Held() { Release(); }
    Held(const Held&) = delete;
    Held& operator=(const Held&) = delete;

    Handle* Get() const { return handle_; }
    explicit operator bool() const { return handle_ != nullptr; }

    // Gives the reference back now.
    void Release() {
        Handle* handle = Leak();
        if (handle != nullptr) Drop(handle);
    }

    // Adds a reference and drops it, for objects and blocks.
    void Lock() const {
        if (*this) ZEVALockObject(ObjectOf(handle_));
    }
    void Unlock() const {
        if (*this) ZEVAUnlockObject(ObjectOf(handle_));
    }

    // Returns the reference, which the caller owns.
    [[nodiscard]] Handle* Leak() {
        Handle* handle = handle_;
        handle_ = nullptr;
        return handle;
    }

  private:
    Handle* handle_;
};

struct Object : Held<ZEVAobjectStruct> {
    explicit Object(const char* className) : Held(ZEVAnewInstance(className)) {}

    void SetNumber(const char* property, std::int32_t number) const {
        if (*this) ZEVASetPropValueInt32(Get(), property, number);
    }
    // The text may be null.
    void SetText(const char* property, ZEVAstringStruct* text) const {
        if (*this) ZEVASetPropValueString(Get(), property, text);
    }
};

struct String : Held<ZEVAstringStruct> {
    String(const char* bytes, std::size_t length)
        : Held(originalZEVABuildString(bytes, static_cast<std::int32_t>(length))) {}

    void SetEncoding(std::uint32_t encoding) const {
        if (*this) ZEVASetStringEncoding(Get(), encoding);
    }
};

struct Block : Held<ZEVAmemoryBlockStruct> {
    explicit Block(std::int32_t size) : Held(ZEVANewMemoryBlockOriginal(size)) {}
    void* Bytes() const { return *this ? ZEVAMemoryBlockGetPtr(Get()) : nullptr; }
    std::int32_t Size() const { return *this ? ZEVAMemoryBlockGetSize(Get()) : -1; }
};

}  // namespace probe
