// zvdata.cpp - gives host references back, in a fixed order.

#include "plugin/zvdata.h"

#include "plugin/host_services.h"

namespace {

// Empties a field and returns what it held.
template <typename Field>
Field Take(Field& field) {
    const Field held = field;
    field = Field();
    return held;
}

}  // namespace

// Each field is emptied before the host is called for it, so that what a call gives back is given back once, even when
// an exception leaves the call and the destructor runs this again.
void zvData::Release() noexcept {
    if (ZEVAstringStruct* string = Take(stringRef)) ZEVAUnlockString(string);
    if (ZEVAobjectStruct* object = Take(objectRef)) ZEVAUnlockObject(object);
    if (Take(hasStringData)) ZEVADisposeStringData(&stringData);
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
