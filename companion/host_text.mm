// host_text.mm - converts strings, and creates and raises exceptions.

#include "companion/host_text.h"

#include <cstdint>
#include <cstring>

#include "plugin/host_services.h"
#include "plugin/service_slot.h"

namespace {

// The platform's value for the text encoding UTF-8.
constexpr std::uint32_t kEncodingUtf8 = 0x08000100;

// Borrows the bytes of a string from the host; hostWords[0] becomes their number. Returns 1 on success.
std::int32_t GetStringData(ZEVAstringStruct* string, ZEVAstringData* data) {
    static constinit ServiceSlot<decltype(GetStringData)> pGetStringData("PluginGetStringData");
    return pGetStringData(string, data);
}

}  // namespace

NSString* TextOf(ZEVAstringStruct* string) {
    ZEVAstringData data = {};
    if (string == nullptr || GetStringData(string, &data) != 1) return nil;
    const auto length = static_cast<NSUInteger>(data.hostWords[0]);
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

void RaiseWithMessage(NSString* message) {
    ZEVAobjectStruct* exception = NewHostException("RuntimeException", message);
    if (exception == nullptr) return;
    ZEVARaiseException(exception);
    ZEVAUnlockObject(exception);
}

void RaiseAbout(NSString* place, NSString* reason, NSString* consequence) {
    RaiseWithMessage([NSString stringWithFormat:@"%@: %@; %@", place, reason, consequence]);
}
