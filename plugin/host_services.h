// host_services.h - the functions the host lends us, found by name on first use.
//
// Nothing of the host is linked against: each service is asked for by name through the resolver that ZEVAPluginMain was
// given. Each has one slot: a name that was found is never asked for again, a missing one is asked for at every call.
//
// Failure:  a service that the host lacks does nothing and answers null or 0; nobody is told. Callers treat that as failure
//           in their own way.
// Lifetime: the host owns every entry; a slot keeps it for the life of the process.
// Threads:  the host's thread only; the slots are plain words.
// Adding one: a line in the list below, in the order result, wrapper, slot, entry name, parameters, arguments.

#pragma once

#include "plugin/zeva.h"

// How the slot of a service is filled. Answers the entry, or null.
template <typename Entry>
Entry* Bound(Entry*& slot, const char* entryName);

// clang-format off
//      result                  wrapper                     slot                 entry name                 parameters                                                   arguments
#define ZEVA_SERVICES(SERVICE) \
SERVICE(void,                   ZEVARegisterClass,          pRegisterClass,      "PluginRegisterClass",     (ZEVAclassDefinition* record),                               (record)) \
SERVICE(ZEVAstringStruct*,      originalZEVABuildString,    pBuildString,        "ZEVABuildString",         (const char* bytes, std::int32_t length),                    (bytes, length)) \
SERVICE(void,                   ZEVASetStringEncoding,      pSetStringEncoding,  "ZEVASetStringEncoding",   (ZEVAstringStruct* string, std::uint32_t encoding),          (string, encoding)) \
SERVICE(ZEVAobjectStruct*,      ZEVAnewInstance,            pNewInstance,        "PluginNewInstance",       (const char* className),                                     (className)) \
SERVICE(void,                   ZEVASetPropValueString,     pSetPropValue,       "ZEVASetPropValueString",  (ZEVAobjectStruct* object, const char* property, ZEVAstringStruct* value), (object, property, value)) \
SERVICE(void,                   ZEVASetPropValueInt32,      pSetPropValue,       "ZEVASetPropValueInt",     (ZEVAobjectStruct* object, const char* property, std::int32_t value), (object, property, value)) \
SERVICE(void,                   ZEVARaiseException,         pRaiseException,     "RuntimeRaiseException",   (ZEVAobjectStruct* exception),                               (exception)) \
SERVICE(void,                   ZEVALockObject,             pLockObject,         "ZEVALockObject",          (ZEVAobjectStruct* object),                                  (object)) \
SERVICE(void,                   ZEVAUnlockObject,           pUnlockObject,       "ZEVAUnlockObject",        (ZEVAobjectStruct* object),                                  (object)) \
SERVICE(void,                   ZEVAUnlockString,           pUnlockString,       "ZEVAUnlockString",        (ZEVAstringStruct* string),                                  (string)) \
SERVICE(ZEVAmemoryBlockStruct*, ZEVANewMemoryBlockOriginal, pNewMemoryBlock,     "newMemoryBlock",          (std::int32_t size),                                         (size)) \
SERVICE(void*,                  ZEVAMemoryBlockGetPtr,      pMemoryBlockGetPtr,  "memoryBlockGetPtr",       (ZEVAmemoryBlockStruct* block),                              (block)) \
SERVICE(std::int32_t,           ZEVAMemoryBlockGetSize,     pMemoryBlockGetSize, "memoryBlockGetSize",      (ZEVAmemoryBlockStruct* block),                              (block))
// clang-format on
