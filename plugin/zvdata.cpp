// zvdata.cpp - gives host references back, in a fixed order.

#include "plugin/zvdata.h"

#include "plugin/host_services.h"

void zvData::Release() noexcept {
    if (stringRef != nullptr) ZEVAUnlockString(stringRef);
    if (objectRef != nullptr) ZEVAUnlockObject(objectRef);
    if (hasStringData) ZEVADisposeStringData(&stringData);
    Abandon();
}

void zvData::Abandon() {
    stringRef = nullptr;
    objectRef = nullptr;
    hasStringData = false;
    dataPtr = nullptr;
    dataLength = 0;
    extraWord = 0;
}
