// host_bytes.mm - copies bytes between NSData and MemoryBlocks.

#include "companion/host_bytes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "companion/host_text.h"
#include "plugin/host_services.h"

namespace {

// Returns a block with a copy of the bytes; null when the host cannot create one, or creates one without bytes.
ZEVAmemoryBlockStruct* NewBlockOf(const void* bytes, std::int32_t size) {
    ZEVAmemoryBlockStruct* block = ZEVANewMemoryBlockOriginal(size);
    if (block == nullptr) return nullptr;
    if (void* destination = ZEVAMemoryBlockGetPtr(block)) {
        std::memcpy(destination, bytes, static_cast<std::size_t>(size));
        return block;
    }
    ZEVAUnlockObject(reinterpret_cast<ZEVAobjectStruct*>(block));
    return nullptr;
}

}  // namespace

NSData* DataOf(ZEVAmemoryBlockStruct* block) {
    const void* bytes = block != nullptr ? ZEVAMemoryBlockGetPtr(block) : nullptr;
    const std::int32_t size = bytes != nullptr ? ZEVAMemoryBlockGetSize(block) : 0;
    return size > 0 ? [NSData dataWithBytes:bytes length:static_cast<NSUInteger>(size)] : nil;
}

ZEVAmemoryBlockStruct* NewHostBlock(NSData* data) {
    constexpr NSUInteger kMaximumBytes = INT32_MAX;
    const NSUInteger length = [data length];
    if (length == 0) return nullptr;
    ZEVAmemoryBlockStruct* block =
        length <= kMaximumBytes ? NewBlockOf([data bytes], static_cast<std::int32_t>(length)) : nullptr;
    if (block == nullptr) {
        RaiseNew("OutOfMemoryException", [NSString stringWithFormat:@"a MemoryBlock of %llu bytes cannot be created",
                                                                    static_cast<unsigned long long>(length)]);
    }
    return block;
}
