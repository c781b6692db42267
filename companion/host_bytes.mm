// host_bytes.mm - copies bytes between NSData and MemoryBlocks.

#include "companion/host_bytes.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "companion/host_text.h"
#include "plugin/host_services.h"

// The bytes of a block, which it keeps.
@interface ZEVABlockData : NSData {
    ZEVAmemoryBlockStruct* _block;
}
@end

@implementation ZEVABlockData

// NSData is a class cluster: its own initializers would make bytes of another kind.
- (ZEVABlockData*)initOverBlock:(ZEVAmemoryBlockStruct*)block {
    ZEVALockObject(reinterpret_cast<ZEVAobjectStruct*>(block));
    _block = block;
    return self;
}

- (const void*)bytes {
    return ZEVAMemoryBlockGetPtr(_block);
}

- (NSUInteger)length {
    return static_cast<NSUInteger>(ZEVAMemoryBlockGetSize(_block));
}

- (void)dealloc {
    ZEVAUnlockObject(reinterpret_cast<ZEVAobjectStruct*>(_block));
    [super dealloc];
}

@end

NSData* DataOf(ZEVAmemoryBlockStruct* block) {
    const void* bytes = block != nullptr ? ZEVAMemoryBlockGetPtr(block) : nullptr;
    const std::int32_t size = bytes != nullptr ? ZEVAMemoryBlockGetSize(block) : 0;
    return size > 0 ? [NSData dataWithBytes:bytes length:static_cast<NSUInteger>(size)] : nil;
}

NSData* DataOver(ZEVAmemoryBlockStruct* block) {
    if (!ZEVACanLockObjects()) return DataOf(block);
    const bool hasBytes = block != nullptr && ZEVAMemoryBlockGetPtr(block) != nullptr;
    if (!hasBytes || ZEVAMemoryBlockGetSize(block) <= 0) return nil;
    return [[[ZEVABlockData alloc] initOverBlock:block] autorelease];
}

ZEVAmemoryBlockStruct* NewHostBlockOfSize(NSUInteger size, void** bytes) {
    constexpr NSUInteger kMaximumBytes = INT32_MAX;
    ZEVAmemoryBlockStruct* block =
        size <= kMaximumBytes ? ZEVANewMemoryBlockOriginal(static_cast<std::int32_t>(size)) : nullptr;
    *bytes = block != nullptr ? ZEVAMemoryBlockGetPtr(block) : nullptr;
    if (*bytes != nullptr) return block;
    if (block != nullptr) ZEVAUnlockObject(reinterpret_cast<ZEVAobjectStruct*>(block));
    RaiseNew("OutOfMemoryException", [NSString stringWithFormat:@"a MemoryBlock of %llu bytes cannot be created",
                                                                static_cast<unsigned long long>(size)]);
    return nullptr;
}

ZEVAmemoryBlockStruct* NewHostBlock(NSData* data) {
    if ([data length] == 0) return nullptr;
    void* bytes = nullptr;
    ZEVAmemoryBlockStruct* block = NewHostBlockOfSize([data length], &bytes);
    if (block != nullptr) std::memcpy(bytes, [data bytes], [data length]);
    return block;
}
