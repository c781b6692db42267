// block_faults.cpp - hosts whose MemoryBlocks are not what a module asks for.

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <set>

#include "host/runtime/class.h"
#include "host/runtime/memory_block.h"
#include "tests/probe/faults.h"
#include "tests/probe/faulty_host.h"

namespace faulty {

namespace {

bool IsBlock(const ZEVAobjectStruct* object) { return object->isa->Name() == "MemoryBlock"; }

template <typename Work>
void ChangeAddress(Work work) {
    Replace<service::memoryBlockGetPtr>([=](ZEVAmemoryBlockStruct* block) -> void* {
        void* bytes = Real<service::memoryBlockGetPtr>(block);
        return work(block, bytes);
    });
}

std::set<ZEVAobjectStruct*> pretended;

const Fault faults[] = {
    {"blocks.size",
     [] {
         Replace<service::memoryBlockGetSize>(
             [](ZEVAmemoryBlockStruct* block) { return (Real<service::memoryBlockGetSize>(block) + 3) & ~3; });
     }},
    {"blocks.bytes",
     [] {
         ChangeAddress([](auto*, void* bytes) { return bytes != nullptr ? reinterpret_cast<void*>(16) : nullptr; });
     }},
    {"blocks.zero",
     [] {
         Replace<service::newMemoryBlock>([](std::int32_t size) {
             ZEVAmemoryBlockStruct* block = Real<service::newMemoryBlock>(size);
             if (block != nullptr && size > 0) block->bytes[size / 2] = 0xCD;
             return block;
         });
     }},
    {"blocks.apart",
     [] {
         ChangeAddress([](auto* block, void* bytes) -> void* {
             static char shared[33];
             return block->size == sizeof shared ? shared : bytes;
         });
     }},
    {"blocks.stays",
     [] {
         ChangeAddress([](auto* block, void* bytes) -> void* {
             if (block->size != 99) return bytes;
             return std::memcpy(std::malloc(99), bytes, 99);
         });
     }},
    {"blocks.empty",
     [] {
         ChangeAddress([](auto*, void* bytes) -> void* {
             static char nothing;
             return bytes != nullptr ? bytes : &nothing;
         });
     }},
    {"blocks.huge",
     [] {
         Replace<service::newMemoryBlock>(
             [](std::int32_t size) { return Real<service::newMemoryBlock>(size < INT32_MAX ? size : 16); });
     }},
    {"blocks.references",
     [] {
         Replace<service::ZEVALockObject>([](ZEVAobjectStruct* object) {
             if (IsBlock(object)) pretended.insert(object);
             if (!IsBlock(object)) Real<service::ZEVALockObject>(object);
         });
         Replace<service::ZEVAUnlockObject>([](ZEVAobjectStruct* object) {
             if (pretended.erase(object) == 0) return Real<service::ZEVAUnlockObject>(object);
             reinterpret_cast<ZEVAmemoryBlockStruct*>(object)->bytes[0] = 0;  // as if it had ended
         });
     }},
};

}  // namespace

const std::span<const Fault> kBlockFaults = faults;

}  // namespace faulty
