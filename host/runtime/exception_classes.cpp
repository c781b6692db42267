// exception_classes.cpp - the records and accessors of the built-in exceptions.

#include "host/runtime/exception_classes.h"

#include <cstdint>
#include <iterator>
#include <utility>

#include "host/runtime/class_registry.h"
#include "host/runtime/object.h"

namespace host {

namespace {

// The data of a RuntimeException, and therefore of every exception.
struct ExceptionObject {
    ZEVAobjectStruct object;
    ZEVAstringStruct* message;  // one counted reference, or null
    std::int32_t errorNumber;
};

ExceptionObject* Exception(ZEVAobjectStruct* self) { return reinterpret_cast<ExceptionObject*>(self); }

ZEVAstringStruct* GetMessage(ZEVAobjectStruct* self) {
    return StringReference::Retain(Exception(self)->message).Leak();
}

void SetMessage(ZEVAobjectStruct* self, ZEVAstringStruct* message) {
    Lock(message);
    Unlock(std::exchange(Exception(self)->message, message));
}

std::int32_t GetErrorNumber(ZEVAobjectStruct* self) { return Exception(self)->errorNumber; }

void SetErrorNumber(ZEVAobjectStruct* self, std::int32_t number) { Exception(self)->errorNumber = number; }

void ReleaseMessage(ZEVAobjectStruct* self) { Unlock(Exception(self)->message); }

ZEVAmethod methods[] = {
    // getter                                     setter                                        declaration
    {{reinterpret_cast<ZEVAentry>(GetMessage), reinterpret_cast<ZEVAentry>(SetMessage), "Message as string", 0}, {}},
    {{reinterpret_cast<ZEVAentry>(GetErrorNumber), reinterpret_cast<ZEVAentry>(SetErrorNumber),
      "ErrorNumber as integer", 0},
     {}},
};

const ZEVAclassDefinition classes[] = {
    {.record = {.version = kNewestRecordVersion,
                .className = "RuntimeException",
                .instanceDataSize = sizeof(ExceptionObject) - kZEVAobjectHeaderSize,
                .finalize = ReleaseMessage,
                .methods = methods,
                .methodCount = std::size(methods)}},
    {.record = {.version = kNewestRecordVersion,
                .className = "UnsupportedOperationException",
                .superclassName = "RuntimeException"}},
    {.record = {.version = kNewestRecordVersion,
                .className = "OutOfMemoryException",
                .superclassName = "RuntimeException"}},
};

}  // namespace

std::span<const ZEVAclassDefinition> ExceptionClasses() { return classes; }

}  // namespace host
