// object.h - a host object: a header, and directly behind it the instance data of its class.
//
// The data of a superclass comes first. The data of a new object is zero; then the initializers of its classes run,
// starting with the topmost superclass. When the last reference is released, the finalizers run in the opposite order.
//
// Lifetime: counted references; a new object has one. Threads: the host's thread only.

#pragma once

#include <cstdint>

#include "host/runtime/reference.h"

namespace host {
class Class;
}

// The header in front of each object's data. Modules rely on its size and on nothing else.
struct ZEVAobjectStruct {
    const host::Class* isa;
    std::int32_t references;
    unsigned char unused[kZEVAobjectHeaderSize - sizeof(const host::Class*) - sizeof(std::int32_t)];
};
static_assert(sizeof(ZEVAobjectStruct) == kZEVAobjectHeaderSize);

namespace host {

// A new object of a linked class; its data is zero. Throws OutOfMemory.
[[nodiscard]] ObjectReference NewObject(const Class& isa);

// Runs the initializers of a new object.
void Initialize(ZEVAobjectStruct* object);

}  // namespace host
