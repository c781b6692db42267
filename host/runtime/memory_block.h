// memory_block.h - the class "MemoryBlock": an object that holds raw bytes.
//
// The size never changes. The bytes are initially zero and owned by the object; anyone who holds a reference may read
// and write them. A block can also lie over bytes of somebody else, who is told when they are no longer needed.
//
//   MemoryBlock.FromBytes("...")      Size  Bytes
//
// Programs get the bytes as strings, which are copies.
// Threads: the host's thread.

#pragma once

#include <cstdint>
#include <string_view>

#include "host/runtime/object.h"
#include "interface/class_definition.h"

struct ZEVAmemoryBlockStruct {
    ZEVAobjectStruct object;
    std::int32_t size;
    unsigned char* bytes;   // null if the size is 0
    void (*forget)(void*);  // null if the block owns its bytes
    void* context;          // the argument of that function
};

namespace host {

// The record of the class.
extern const ZEVAclassDefinition kMemoryBlockClass;

// A new block whose bytes are zero. Returns null when out of memory and for a negative size.
[[nodiscard]] ObjectReference NewMemoryBlock(std::int32_t size);

// A new block with a copy of the bytes. Returns null when out of memory and for 2 GB or more.
[[nodiscard]] ObjectReference NewMemoryBlockOf(std::string_view bytes);

// A new block over bytes that somebody else owns and does not change until `forget` is called with the context. Returns
// null when out of memory and for a negative size; then the function is not called.
[[nodiscard]] ObjectReference NewMemoryBlockOver(void* bytes, std::int32_t size, void (*forget)(void*), void* context);

}  // namespace host
