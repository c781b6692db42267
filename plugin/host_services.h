// host_services.h - the functions the host lends us.
//
// Nothing of the host is linked against: each wrapper finds its service by name when it is first called
// (service_slot.h).
//
// Failure:  a service that the host lacks does nothing and answers null or 0; nobody is told. Callers treat that as a
//           failure in their own way.
// Threads:  the host's thread only.
// Adding one: a declaration here, and its slot with the entry name in host_services.cpp.

#pragma once

#include "plugin/zeva.h"

// Registers a class. The host keeps pointers into the record and its tables.
void ZEVARegisterClass(ZEVAclassDefinition* record);

// A new string of the given bytes, with one reference for the caller; null when it cannot be made.
ZEVAstringStruct* originalZEVABuildString(const char* bytes, std::int32_t length);

// Tags a string with the text encoding of its bytes.
void ZEVASetStringEncoding(ZEVAstringStruct* string, std::uint32_t encoding);

// A new object of a registered class, with one reference for the caller; null when there is no such class.
ZEVAobjectStruct* ZEVAnewInstance(const char* className);

// Whether the host has the service behind ZEVAnewInstance at all.
bool ZEVACanCreateInstances();

// Sets an object's string property; the host takes its own reference to the value, which may be null.
void ZEVASetPropValueString(ZEVAobjectStruct* object, const char* property, ZEVAstringStruct* value);

// Sets an object's integer property.
void ZEVASetPropValueInt32(ZEVAobjectStruct* object, const char* property, std::int32_t value);

// Hands the host an exception to raise and returns; the caller must then return to the host. Takes no reference from
// us.
void ZEVARaiseException(ZEVAobjectStruct* exception);

// Adds a reference to an object, or to a MemoryBlock.
void ZEVALockObject(ZEVAobjectStruct* object);

// Drops a reference to an object, or to a MemoryBlock.
void ZEVAUnlockObject(ZEVAobjectStruct* object);

// Drops a reference to a string.
void ZEVAUnlockString(ZEVAstringStruct* string);

// Gives back bytes that the host lent. Where the host cannot take them back, they are ours to free.
void ZEVADisposeStringData(ZEVAstringData* data);

// A new MemoryBlock, with one reference for the caller; null when there is no room.
ZEVAmemoryBlockStruct* ZEVANewMemoryBlockOriginal(std::int32_t size);

// Where a MemoryBlock's bytes begin; null when it has none. Valid while the caller holds a reference.
void* ZEVAMemoryBlockGetPtr(ZEVAmemoryBlockStruct* block);

// How many bytes a MemoryBlock has.
std::int32_t ZEVAMemoryBlockGetSize(ZEVAmemoryBlockStruct* block);
