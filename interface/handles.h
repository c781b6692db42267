// handles.h - the host's objects as a module sees them: opaque pointers.
//
// Only the host knows what the structures contain. A module counts references through the services, and reads and
// writes the instance data of an object in place, directly behind the object's header.

#pragma once

#include <cstddef>

struct ZEVAobjectStruct;       // a host object
struct ZEVAstringStruct;       // a host string
struct ZEVAmemoryBlockStruct;  // a host block of raw bytes; a block is also an object

// The offset of the instance data in an object, in bytes. The data of a superclass comes first.
inline constexpr std::size_t kZEVAobjectHeaderSize = 24;
