// memory_block.cpp - the class record of MemoryBlock and how blocks are made.

#include "host/memory_block.h"

#include <cstdlib>

#include "host/class_registry.h"
#include "host/host.h"

namespace host {

namespace {

void FreeBytes(ZEVAobjectStruct* self) { std::free(reinterpret_cast<ZEVAmemoryBlockStruct*>(self)->bytes); }

}  // namespace

const ZEVAclassDefinition kMemoryBlockClass = {
    .record = {.version = kNewestRecordVersion,
               .className = "MemoryBlock",
               .instanceDataSize = sizeof(ZEVAmemoryBlockStruct) - kZEVAobjectHeaderSize,
               .finalize = FreeBytes},
};

ObjectReference NewMemoryBlock(std::int32_t size) {
    if (size < 0) return {};
    void* bytes = size > 0 ? std::calloc(1, static_cast<std::size_t>(size)) : nullptr;
    if (bytes == nullptr && size > 0) return {};
    ObjectReference object = Host::Current().NewInstance(kMemoryBlockClass.record.className);
    auto* block = reinterpret_cast<ZEVAmemoryBlockStruct*>(object.Get());
    block->size = size;
    block->bytes = static_cast<unsigned char*>(bytes);
    return object;
}

}  // namespace host
