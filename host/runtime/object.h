// object.h - a host object: a header, and directly behind it the instance data of its class.
//
// The data of a superclass comes first. A new object's data is zero; then the classes' initialize functions run, the
// outermost superclass's first. When the last reference is given back their finalize functions run the other way round.
//
// Lifetime: counted references; a new object has one. Threads: the host's thread only.

#pragma once

#include <cstdint>

#include "host/runtime/reference.h"

namespace host {
class Class;
}

// The header in front of every object's data. Modules count on its size and on nothing else of it.
struct ZEVAobjectStruct {
    const host::Class* isa;
    std::int32_t references;
    unsigned char unused[kZEVAobjectHeaderSize - sizeof(const host::Class*) - sizeof(std::int32_t)];
};
static_assert(sizeof(ZEVAobjectStruct) == kZEVAobjectHeaderSize);

namespace host {

// A new object of a linked class, its data all zero; throws HostError when there is no memory for it.
ObjectReference NewObject(const Class& isa);

// Runs the initialize functions of a new object.
void Initialize(ZEVAobjectStruct* object);

}  // namespace host
