// host_text.mm - converts strings, and creates and raises exceptions.

#include "companion/host_text.h"

#include <cstdint>
#include <cstring>

#include "interface/string_data.h"
#include "interface/text_encoding.h"
#include "plugin/host_services.h"

NSString* TextOf(ZEVAstringStruct* string) {
    ZEVAstringData data = {};
    if (string == nullptr || ZEVAGetStringData(string, &data) != 1) return nil;
    const auto length = static_cast<NSUInteger>(data.hostWords[kStringDataLength]);
    NSString* text = [[NSString alloc] initWithBytes:data.bytes length:length encoding:NSUTF8StringEncoding];
    if (text == nil) {
        text = [[NSString alloc] initWithBytes:data.bytes length:length encoding:NSISOLatin1StringEncoding];
    }
    ZEVADisposeStringData(&data);
    return [text autorelease];
}

ZEVAstringStruct* NewHostString(NSString* text) {
    const char* bytes = [text UTF8String];
    if (bytes == nullptr) return nullptr;
    ZEVAstringStruct* string = originalZEVABuildString(bytes, static_cast<std::int32_t>(std::strlen(bytes)));
    if (string != nullptr) ZEVASetStringEncoding(string, kEncodingUtf8);
    return string;
}

ZEVAobjectStruct* NewHostException(const char* className, NSString* message) {
    ZEVAobjectStruct* exception = ZEVAnewInstance(className);
    if (exception == nullptr) return nullptr;
    ZEVAstringStruct* text = NewHostString(message);
    ZEVASetPropValueString(exception, "Message", text);
    if (text != nullptr) ZEVAUnlockString(text);
    return exception;
}

void RaiseWithMessage(NSString* message) { RaiseNew("RuntimeException", message); }

void RaiseNew(const char* className, NSString* message) {
    ZEVAobjectStruct* exception = NewHostException(className, message);
    if (exception == nullptr) return;
    ZEVARaiseException(exception);
    ZEVAUnlockObject(exception);
}

void RaiseAbout(NSString* place, NSString* reason, NSString* consequence) {
    RaiseWithMessage([NSString stringWithFormat:@"%@: %@; %@", place, reason, consequence]);
}
