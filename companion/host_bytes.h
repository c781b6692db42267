// host_bytes.h - converts between NSData and the host's MemoryBlock.
//
// Both directions copy the bytes.
//
// Threads: the host's thread.

#pragma once

#import <Foundation/Foundation.h>

#include "interface/handles.h"

// Returns an autoreleased copy of a block's bytes; nil for null and for an empty block.
[[nodiscard]] NSData* DataOf(ZEVAmemoryBlockStruct* block);

// Returns a block with a copy of the data; the caller owns one reference. Null when the data is nil or empty. Raises
// an OutOfMemoryException and returns null when it is larger than 2 GB or when the host cannot create a block.
[[nodiscard]] ZEVAmemoryBlockStruct* NewHostBlock(NSData* data);
