// host_text.mm - converts strings, and creates and raises exceptions.

#include "companion/host_text.h"

#include <algorithm>
#include <cstdint>
#include <cstring>

#include "interface/string_data.h"
#include "interface/text_encoding.h"
#include "plugin/host_services.h"

namespace {

// Returns the bytes of a borrowed host string with a zero byte at their end, autoreleased; nil as for TextOf.
NSData* BytesOf(ZEVAstringStruct* string) {
    ZEVAstringData data = {};
    if (string == nullptr || ZEVAGetStringData(string, &data) != 1) return nil;
    const ZEVAword length = std::max<ZEVAword>(data.hostWords[kStringDataLength], 0);
    NSMutableData* bytes = [NSMutableData dataWithBytes:data.bytes length:static_cast<NSUInteger>(length)];
    [bytes appendBytes:"" length:1];
    ZEVADisposeStringData(&data);
    return bytes;
}

// The longest sequence of bytes that encodes one character.
constexpr NSUInteger kLongestCharacter = 4;

// Returns bytes as text, with every byte that is not part of valid UTF-8 as \xNN.
NSString* EscapedText(const char* bytes, NSUInteger length) {
    NSMutableString* text = [NSMutableString string];
    while (length > 0) {
        NSString* character = nil;
        NSUInteger used = 0;
        while (character == nil && used < std::min(length, kLongestCharacter)) {
            character = [[NSString alloc] initWithBytes:bytes length:++used encoding:NSUTF8StringEncoding];
        }
        if (character != nil) {
            [text appendString:character];
        } else {
            used = 1;
            [text appendFormat:@"\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(*bytes))];
        }
        [character release];
        bytes += used;
        length -= used;
    }
    return text;
}

NSString* TextOfBytes(const char* bytes, NSUInteger length) {
    NSString* text = [[NSString alloc] initWithBytes:bytes length:length encoding:NSUTF8StringEncoding];
    return text != nil ? [text autorelease] : EscapedText(bytes, length);
}

}  // namespace

NSString* TextOf(ZEVAstringStruct* string) {
    NSData* bytes = BytesOf(string);
    return bytes != nil ? TextOfBytes(static_cast<const char*>([bytes bytes]), [bytes length] - 1) : nil;
}

NSString* PathOf(ZEVAstringStruct* string, const char** path) {
    NSData* bytes = BytesOf(string);
    *path = static_cast<const char*>([bytes bytes]);
    if ([bytes length] <= 1) return @"the path is empty";
    return std::strlen(*path) != [bytes length] - 1 ? @"the path contains a zero byte" : nil;
}

NSString* TextOfPath(const char* path) { return TextOfBytes(path, std::strlen(path)); }

ZEVAstringStruct* NewHostString(NSString* text) {
    const char* bytes = [text UTF8String];
    if (bytes == nullptr) return nullptr;
    const NSUInteger length = [text lengthOfBytesUsingEncoding:NSUTF8StringEncoding];
    ZEVAstringStruct* string = originalZEVABuildString(bytes, static_cast<std::int32_t>(length));
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

void RaiseNew(const char* className, NSString* message, int errorNumber) {
    ZEVAobjectStruct* exception = NewHostException(className, message);
    if (exception == nullptr) return;
    if (errorNumber != 0) ZEVASetPropValueInt32(exception, "ErrorNumber", errorNumber);
    ZEVARaiseException(exception);
    ZEVAUnlockObject(exception);
}

void RaiseWithMessage(NSString* message) { RaiseNew("RuntimeException", message); }

void RaiseAbout(NSString* place, NSString* reason, NSString* consequence, int errorNumber) {
    RaiseNew("RuntimeException", [NSString stringWithFormat:@"%@: %@; %@", place, reason, consequence], errorNumber);
}

std::nullptr_t Refused(NSString* place, NSString* reason, NSString* consequence) {
    RaiseAbout(place, reason, consequence);
    return nullptr;
}
