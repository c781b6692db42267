// counter_bridge.h - the bridge between the properties of catalogue.txt and the data of an object: a field for each
// key.
//
// An accessor passes the address of its field, so each type needs one pair of routines, whatever its keys.
// Lifetime: an object owns its blocks, which no one else sees.
// Threads:  the host's thread only.
// Adding a type: a `type` line in catalogue.txt, a pair of routines here, and Drop for a value of the type.

#pragma once

#include <cstring>

#include "plugin/host_services.h"

// The data of an object, behind the host's header. A new object has data of zero.
struct CounterData {
#define KEY(key, typeWord, bridge, Value) Value key;
#include "keys.def"
#undef KEY
};

// How accessors name a key.
#define CLASS_KEY(key) &CounterData::key

inline CounterData& DataOf(ZEVAobjectStruct* object) {
    return *reinterpret_cast<CounterData*>(reinterpret_cast<unsigned char*>(object) + kZEVAobjectHeaderSize);
}

inline double getvalueNumber(ZEVAobjectStruct* self, double CounterData::*key) { return DataOf(self).*key; }
inline void setvalueNumber(ZEVAobjectStruct* self, double CounterData::*key, double value) {
    DataOf(self).*key = value;
}
inline void Drop(double) {}

inline void Drop(ZEVAmemoryBlockStruct* block) {
    if (block != nullptr) ZEVAUnlockObject(reinterpret_cast<ZEVAobjectStruct*>(block));
}

// Returns a new block with the same bytes, which the caller owns; null when there are none, or no memory for them.
inline ZEVAmemoryBlockStruct* CopyOf(ZEVAmemoryBlockStruct* block) {
    const std::int32_t size = block != nullptr ? ZEVAMemoryBlockGetSize(block) : 0;
    const void* bytes = size > 0 ? ZEVAMemoryBlockGetPtr(block) : nullptr;
    if (bytes == nullptr) return nullptr;
    ZEVAmemoryBlockStruct* copy = ZEVANewMemoryBlockOriginal(size);
    if (void* destination = copy != nullptr ? ZEVAMemoryBlockGetPtr(copy) : nullptr) {
        std::memcpy(destination, bytes, static_cast<std::size_t>(size));
        return copy;
    }
    Drop(copy);
    return nullptr;
}

// Blocks are copied both ways: a later change to one changes no other.
inline ZEVAmemoryBlockStruct* getvalueBlock(ZEVAobjectStruct* self, ZEVAmemoryBlockStruct* CounterData::*key) {
    return CopyOf(DataOf(self).*key);
}
inline void setvalueBlock(ZEVAobjectStruct* self, ZEVAmemoryBlockStruct* CounterData::*key,
                          ZEVAmemoryBlockStruct* value) {
    ZEVAmemoryBlockStruct* before = DataOf(self).*key;
    DataOf(self).*key = CopyOf(value);
    Drop(before);
}

// Drops what the object holds. The host calls it before it frees the object.
inline void DropData(ZEVAobjectStruct* self) {
#define KEY(key, typeWord, bridge, Value) Drop(DataOf(self).key);
#include "keys.def"
#undef KEY
}
