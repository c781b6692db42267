// memory_block.cpp - the class record of MemoryBlock, and creating blocks.

#include "host/runtime/memory_block.h"

#include <algorithm>
#include <cstdlib>
#include <iterator>
#include <limits>
#include <new>

#include "host/runtime/class_registry.h"
#include "host/runtime/environment.h"
#include "host/runtime/errors.h"
#include "host/runtime/string.h"

namespace host {

namespace {

ZEVAmemoryBlockStruct* BlockOf(ZEVAobjectStruct* self) { return reinterpret_cast<ZEVAmemoryBlockStruct*>(self); }

std::int32_t GetSize(ZEVAobjectStruct* self) { return BlockOf(self)->size; }

ZEVAstringStruct* GetBytes(ZEVAobjectStruct* self) {
    const auto* bytes = reinterpret_cast<const char*>(BlockOf(self)->bytes);
    const auto size = static_cast<std::size_t>(BlockOf(self)->size);
    try {
        return NewString({bytes, size}).Leak();
    } catch (const std::bad_alloc&) {
        Environment::Current().RaiseOutOfMemory("MemoryBlock.Bytes", size);
    }
    return nullptr;
}

// A block with a copy of a string's bytes; null for nil. Raises for a string that is too long, and when out of memory.
ZEVAobjectStruct* NewFromBytes(ZEVAstringStruct* string) {
    constexpr const char* kSubject = "MemoryBlock.FromBytes";
    constexpr std::size_t kMaximumSize = std::numeric_limits<std::int32_t>::max();
    if (string == nullptr) return nullptr;
    Environment& environment = Environment::Current();
    const std::string& bytes = string->bytes;
    if (bytes.size() > kMaximumSize) {
        environment.RaiseNew("RuntimeException", std::string(kSubject) + ": a block has at most " +
                                                     std::to_string(kMaximumSize) + " bytes, got " +
                                                     std::to_string(bytes.size()) + "; no block was created");
        return nullptr;
    }
    ObjectReference block = NewMemoryBlockOf(bytes);
    if (!block) environment.RaiseOutOfMemory(kSubject, bytes.size());
    return block.Leak();
}

ZEVAmethod memoryBlockMethods[] = {
    {{reinterpret_cast<ZEVAentry>(GetSize), nullptr, "Size as integer", 0}, {}},
    {{reinterpret_cast<ZEVAentry>(GetBytes), nullptr, "Bytes as string", 0}, {}},
};

ZEVAmethod sharedMemoryBlockMethods[] = {
    {{reinterpret_cast<ZEVAentry>(NewFromBytes), nullptr, "FromBytes(bytes as string) as memoryblock", 0}, {}},
};

void FreeBytes(ZEVAobjectStruct* self) {
    ZEVAmemoryBlockStruct* block = BlockOf(self);
    if (block->forget != nullptr) {
        block->forget(block->context);
    } else {
        std::free(block->bytes);
    }
}

}  // namespace

const ZEVAclassDefinition kMemoryBlockClass = {
    .record = {.version = kNewestRecordVersion,
               .className = "MemoryBlock",
               .instanceDataSize = sizeof(ZEVAmemoryBlockStruct) - kZEVAobjectHeaderSize,
               .finalize = FreeBytes,
               .methods = memoryBlockMethods,
               .methodCount = std::size(memoryBlockMethods),
               .sharedMethods = sharedMemoryBlockMethods,
               .sharedMethodCount = std::size(sharedMemoryBlockMethods)},
};

ObjectReference NewMemoryBlock(std::int32_t size) {
    if (size < 0) return {};
    void* bytes = size > 0 ? std::calloc(1, static_cast<std::size_t>(size)) : nullptr;
    if (bytes == nullptr && size > 0) return {};
    ObjectReference object;
    try {
        object = Environment::Current().NewInstance(kMemoryBlockClass.record.className);
    } catch (const OutOfMemory&) {
        std::free(bytes);
        return {};
    }
    auto* block = reinterpret_cast<ZEVAmemoryBlockStruct*>(object.Get());
    block->size = size;
    block->bytes = static_cast<unsigned char*>(bytes);
    return object;
}

ObjectReference NewMemoryBlockOf(std::string_view bytes) {
    if (bytes.size() > INT32_MAX) return {};
    ObjectReference block = NewMemoryBlock(static_cast<std::int32_t>(bytes.size()));
    if (block) std::copy(bytes.begin(), bytes.end(), reinterpret_cast<ZEVAmemoryBlockStruct*>(block.Get())->bytes);
    return block;
}

ObjectReference NewMemoryBlockOver(void* bytes, std::int32_t size, void (*forget)(void*), void* context) {
    if (size < 0) return {};
    ObjectReference object = NewMemoryBlock(0);
    if (!object) return {};
    auto* block = reinterpret_cast<ZEVAmemoryBlockStruct*>(object.Get());
    block->size = size;
    block->bytes = static_cast<unsigned char*>(bytes);
    block->forget = forget;
    block->context = context;
    return object;
}

}  // namespace host
