// host_exception.cpp - builds the exception object and hands it to the host.

#include "plugin/host_exception.h"

#include <cstdint>
#include <cstring>

#include "interface/handles.h"
#include "interface/text_encoding.h"
#include "plugin/host_services.h"

namespace {

// The message as a host string with one reference for the caller; null for a null or empty message. Every message of
// this module is plain ASCII, so the string is tagged so.
ZEVAstringStruct* NewMessageString(const char* message) {
    const auto length = message != nullptr ? static_cast<std::int32_t>(std::strlen(message)) : 0;
    if (length <= 0) return nullptr;
    ZEVAstringStruct* string = originalZEVABuildString(message, length);
    if (string != nullptr) ZEVASetStringEncoding(string, kEncodingAscii);
    return string;
}

}  // namespace

void RaiseException(const char* exceptionClass, const char* message, unsigned long errorNumber) {
    ZEVAstringStruct* messageString = NewMessageString(message);
    ZEVAobjectStruct* exception = ZEVAnewInstance(exceptionClass);
    if (exception == nullptr) exception = ZEVAnewInstance("RuntimeException");
    if (exception != nullptr) {
        ZEVASetPropValueString(exception, "Message", messageString);
        ZEVASetPropValueInt32(exception, "ErrorNumber", static_cast<std::int32_t>(errorNumber));
        ZEVARaiseException(exception);
        ZEVAUnlockObject(exception);
    }
    if (messageString != nullptr) ZEVAUnlockString(messageString);
}
