// host_bytes.h - converts between NSData and the host's MemoryBlock.
//
// Pixels are many megabytes, so they cross without a copy: DataOver and NewHostBlockOfSize. The others copy.
//
// Threads: the host's thread.

#pragma once

#import <Foundation/Foundation.h>

#include "interface/handles.h"

// Returns an autoreleased copy of a block's bytes; nil for null and for an empty block.
[[nodiscard]] NSData* DataOf(ZEVAmemoryBlockStruct* block);

// Returns an autoreleased object over a block's bytes, which holds a reference to the block; nil for null and for an
// empty block. The block must not change. A copy if the host cannot lock objects.
[[nodiscard]] NSData* DataOver(ZEVAmemoryBlockStruct* block);

// Returns a block of zeros, of which the caller owns one reference, and stores where its bytes are. Raises an
// OutOfMemoryException and returns null when it is larger than 2 GB or when the host cannot create a block.
[[nodiscard]] ZEVAmemoryBlockStruct* NewHostBlockOfSize(NSUInteger size, void** bytes);

// Returns a block with a copy of the data; the caller owns one reference. Null when the data is nil or empty. Raises
// an OutOfMemoryException and returns null when it is larger than 2 GB or when the host cannot create a block.
[[nodiscard]] ZEVAmemoryBlockStruct* NewHostBlock(NSData* data);
