// data.mm - copies raw bytes between a filter and the host, once each way.

#import <CoreImage/CoreImage.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>

#include "bridge/guard.h"
#include "bridge/host_objects.h"
#include "bridge/value_bridge.h"
#include "interface/handles.h"
#include "plugin/host_exception.h"
#include "plugin/host_services.h"
#include "plugin/zvdata.h"

namespace {

// Returns a new MemoryBlock; null when the host cannot make one, and for the largest 32-bit size.
ZEVAmemoryBlockStruct* NewMemoryBlock(std::int32_t size) {
    return size < std::numeric_limits<std::int32_t>::max() ? ZEVANewMemoryBlockOriginal(size) : nullptr;
}

// Raises an exception in the host about a block that could not be allocated.
void RaiseOutOfMemory(std::int32_t size) {
    char message[200] = {};
    std::snprintf(message, sizeof message, "Failed to allocate a memoryblock with %lld bytes in size.",
                  static_cast<long long>(size));
    RaiseException("OutOfMemoryException", message, 0);
}

// Locks the block into the holder and records its bytes. The length stays 0 when the block has no bytes.
void HoldBytes(zvData& holder, ZEVAmemoryBlockStruct* block) {
    holder.objectRef = reinterpret_cast<ZEVAobjectStruct*>(block);
    ZEVALockObject(holder.objectRef);
    const std::int32_t size = ZEVAMemoryBlockGetSize(block);
    const void* bytes = ZEVAMemoryBlockGetPtr(block);
    if (bytes == nullptr) return;
    holder.dataPtr = bytes;
    holder.dataLength = size;
}

}  // namespace

ZEVAmemoryBlockStruct* getvalueNSData(ZEVAobjectStruct* self, NSString* key) {
    ZEVAmemoryBlockStruct* result = nullptr;
    Guarded([&] {
        CIFilter* filter = FilterOf(self);
        if (key == nil || filter == nil) return;
        id value = [filter valueForKey:key];
        if (value == nil) return;
        const void* bytes = [value bytes];
        const NSUInteger length = [value length];
        if (bytes == nullptr || length == 0 || length > std::numeric_limits<std::int32_t>::max()) return;
        const auto size = static_cast<std::int32_t>(length);
        ZEVAmemoryBlockStruct* block = NewMemoryBlock(size);
        if (block == nullptr) return RaiseOutOfMemory(size);
        void* destination = ZEVAMemoryBlockGetPtr(block);
        // A block without bytes is not reported, unlike one that could not be made: the host made it and knows why.
        if (destination == nullptr) return;
        std::memcpy(destination, bytes, static_cast<std::size_t>(size));
        result = block;
    });
    return result;
}

void setvalueNSData(ZEVAobjectStruct* self, NSString* key, ZEVAmemoryBlockStruct* value) {
    // Outside the guarded work, so that a foreign exception unlocks the block when it unwinds the call.
    zvData holder;
    const auto write = [&] {
        CIFilter* filter = FilterOf(self);
        if (key == nil || filter == nil) return;
        if (value != nullptr) HoldBytes(holder, value);
        NSData* data = nil;
        if (holder.dataLength > 0) {
            data = [[NSData alloc] initWithBytes:holder.dataPtr length:static_cast<NSUInteger>(holder.dataLength)];
        }
        holder.Release();
        if (data == nil) return;
        [filter setValue:data forKey:key];
        [data release];
    };
    // A block that is in use when the guard takes over stays locked, however the call then ends.
    Guarded(write, [&] { holder.Abandon(); });
}
