// memory_block.h - the class "MemoryBlock": an object that holds raw bytes.
//
// The size never changes. The bytes are zero at first and belong to the object; whoever holds a reference may read and
// write them.
//
//   MemoryBlock.FromBytes("...")      Size  Bytes
//
// Programs see the bytes as strings, which are copies.
// Threads: the host's thread.

#pragma once

#include <cstdint>

#include "host/runtime/object.h"
#include "interface/class_definition.h"

struct ZEVAmemoryBlockStruct {
    ZEVAobjectStruct object;
    std::int32_t size;
    unsigned char* bytes;  // null in a block of no bytes
};

namespace host {

// The record of the class.
extern const ZEVAclassDefinition kMemoryBlockClass;

// A new block of zero bytes; none when there is no memory or the size is negative.
ObjectReference NewMemoryBlock(std::int32_t size);

}  // namespace host
