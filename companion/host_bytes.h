// host_bytes.h - raw bytes between Foundation and the host.
//
// Bytes are copied, either way. Threads: the host's thread.

#pragma once

#import <Foundation/Foundation.h>

#include "interface/handles.h"

// A copy of a block's bytes, autoreleased; nil for null and for a block of no bytes.
NSData* DataOf(ZEVAmemoryBlockStruct* block);

// A block of the data's bytes, with one reference for the caller; null for nil and empty data, and when the host has
// none to give.
ZEVAmemoryBlockStruct* NewHostBlock(NSData* data);
