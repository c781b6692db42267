// host_services.cpp - each host service with its entry name, once.

#include "plugin/host_services.h"

#include <cstdlib>

#include "plugin/service_slot.h"

void ZEVARegisterClass(ZEVAclassDefinition* record) {
    static constinit ServiceSlot<decltype(ZEVARegisterClass)> pRegisterClass("PluginRegisterClass");
    pRegisterClass(record);
}

ZEVAstringStruct* originalZEVABuildString(const char* bytes, std::int32_t length) {
    static constinit ServiceSlot<decltype(originalZEVABuildString)> pBuildString("ZEVABuildString");
    return pBuildString(bytes, length);
}

void ZEVASetStringEncoding(ZEVAstringStruct* string, std::uint32_t encoding) {
    static constinit ServiceSlot<decltype(ZEVASetStringEncoding)> pSetStringEncoding("ZEVASetStringEncoding");
    pSetStringEncoding(string, encoding);
}

static constinit ServiceSlot<decltype(ZEVAnewInstance)> pNewInstance("PluginNewInstance");

ZEVAobjectStruct* ZEVAnewInstance(const char* className) { return pNewInstance(className); }

bool ZEVACanCreateInstances() { return pNewInstance.IsBound(); }

void ZEVASetPropValueString(ZEVAobjectStruct* object, const char* property, ZEVAstringStruct* value) {
    static constinit ServiceSlot<decltype(ZEVASetPropValueString)> pSetPropValue("ZEVASetPropValueString");
    pSetPropValue(object, property, value);
}

void ZEVASetPropValueInt32(ZEVAobjectStruct* object, const char* property, std::int32_t value) {
    static constinit ServiceSlot<decltype(ZEVASetPropValueInt32)> pSetPropValue("ZEVASetPropValueInt");
    pSetPropValue(object, property, value);
}

void ZEVARaiseException(ZEVAobjectStruct* exception) {
    static constinit ServiceSlot<decltype(ZEVARaiseException)> pRaiseException("RuntimeRaiseException");
    pRaiseException(exception);
}

void ZEVALockObject(ZEVAobjectStruct* object) {
    static constinit ServiceSlot<decltype(ZEVALockObject)> pLockObject("ZEVALockObject");
    pLockObject(object);
}

void ZEVAUnlockObject(ZEVAobjectStruct* object) {
    static constinit ServiceSlot<decltype(ZEVAUnlockObject)> pUnlockObject("ZEVAUnlockObject");
    pUnlockObject(object);
}

void ZEVAUnlockString(ZEVAstringStruct* string) {
    static constinit ServiceSlot<decltype(ZEVAUnlockString)> pUnlockString("ZEVAUnlockString");
    pUnlockString(string);
}

void ZEVADisposeStringData(ZEVAstringData* data) {
    static constinit ServiceSlot<decltype(ZEVADisposeStringData)> pDisposeStringData("PluginDisposeStringData");
    if (pDisposeStringData.IsBound()) {
        pDisposeStringData(data);
    } else {
        std::free(data->bytes);
    }
}

ZEVAmemoryBlockStruct* ZEVANewMemoryBlockOriginal(std::int32_t size) {
    static constinit ServiceSlot<decltype(ZEVANewMemoryBlockOriginal)> pNewMemoryBlock("newMemoryBlock");
    return pNewMemoryBlock(size);
}

void* ZEVAMemoryBlockGetPtr(ZEVAmemoryBlockStruct* block) {
    static constinit ServiceSlot<decltype(ZEVAMemoryBlockGetPtr)> pMemoryBlockGetPtr("memoryBlockGetPtr");
    return pMemoryBlockGetPtr(block);
}

std::int32_t ZEVAMemoryBlockGetSize(ZEVAmemoryBlockStruct* block) {
    static constinit ServiceSlot<decltype(ZEVAMemoryBlockGetSize)> pMemoryBlockGetSize("memoryBlockGetSize");
    return pMemoryBlockGetSize(block);
}
