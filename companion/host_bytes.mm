// host_bytes.mm - copies bytes between NSData and MemoryBlocks.

#include "companion/host_bytes.h"

#include <cstdint>
#include <cstring>

#include "companion/host_text.h"
#include "plugin/host_services.h"

NSData* DataOf(ZEVAmemoryBlockStruct* block) {
    const void* bytes = block != nullptr ? ZEVAMemoryBlockGetPtr(block) : nullptr;
    if (bytes == nullptr) return nil;
    return [NSData dataWithBytes:bytes length:static_cast<NSUInteger>(ZEVAMemoryBlockGetSize(block))];
}

ZEVAmemoryBlockStruct* NewHostBlock(NSData* data) {
    constexpr NSUInteger kMaximumBytes = INT32_MAX;
    if ([data length] == 0) return nullptr;
    ZEVAmemoryBlockStruct* block = nullptr;
    if ([data length] <= kMaximumBytes) {
        block = ZEVANewMemoryBlockOriginal(static_cast<std::int32_t>([data length]));
    }
    if (block == nullptr) {
        RaiseNew("OutOfMemoryException", [NSString stringWithFormat:@"a MemoryBlock of %llu bytes cannot be created",
                                                                    static_cast<unsigned long long>([data length])]);
    }
    if (block != nullptr) std::memcpy(ZEVAMemoryBlockGetPtr(block), [data bytes], [data length]);
    return block;
}
