// CFURL.mm - converts between the bytes of a path and a file URL.
//
// A URL writes each byte that is not plain as %XX. It can therefore hold every path, also one that is not text, which a
// string object cannot.

#import <Foundation/Foundation.h>
#include <unistd.h>

#include <CoreFoundation/CoreFoundation.h>

#include <cstdlib>
#include <cstring>

namespace {

constexpr char kScheme[] = "file:";

bool IsPlain(unsigned char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
           (c != 0 && std::strchr("/._-~", c) != nullptr);
}

void AppendEscaped(NSMutableString* text, const UInt8* bytes, std::size_t length) {
    for (std::size_t i = 0; i < length; ++i) {
        [text appendFormat:IsPlain(bytes[i]) ? @"%c" : @"%%%02X", static_cast<unsigned>(bytes[i])];
    }
}

// Returns the byte that two hexadecimal digits represent; -1 for other characters.
int ByteOf(const char* digits) {
    char* end = nullptr;
    const char pair[] = {digits[0], digits[0] != '\0' ? digits[1] : '\0', '\0'};
    const long byte = std::strtol(pair, &end, 16);
    return end == pair + 2 && pair[0] != '+' && pair[0] != '-' ? static_cast<int>(byte) : -1;
}

}  // namespace

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef, const UInt8* buffer, CFIndex length, Boolean) {
    if (buffer == nullptr || length <= 0) return nullptr;
    NSMutableString* text = [NSMutableString stringWithString:@"file://"];
    if (buffer[0] != '/') {
        char* folder = getcwd(nullptr, 0);
        if (folder == nullptr) return nullptr;
        AppendEscaped(text, reinterpret_cast<const UInt8*>(folder), std::strlen(folder));
        [text appendString:@"/"];
        std::free(folder);
    }
    AppendEscaped(text, buffer, static_cast<std::size_t>(length));
    return (CFURLRef)[[NSURL alloc] initWithString:text];
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean, UInt8* buffer, CFIndex size) {
    const char* text = [[(NSURL*)url absoluteString] UTF8String];
    if (text == nullptr || std::strncmp(text, kScheme, std::strlen(kScheme)) != 0) return false;
    text += std::strlen(kScheme);
    if (std::strncmp(text, "//", 2) == 0) {
        text = std::strchr(text + 2, '/');  // after the name of the machine, which is empty or this one
        if (text == nullptr) return false;
    }
    for (CFIndex at = 0; at < size; ++at) {
        if (*text == '\0') {
            buffer[at] = 0;
            return true;
        }
        const int byte = *text == '%' ? ByteOf(text + 1) : static_cast<unsigned char>(*text);
        if (byte <= 0) return false;
        buffer[at] = static_cast<UInt8>(byte);
        text += *text == '%' ? 3 : 1;
    }
    return false;
}
