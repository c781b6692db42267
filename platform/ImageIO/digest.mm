// digest.mm - asks the class of data.

#import <Foundation/Foundation.h>
#import <GNUstepBase/NSData+GNUstepBase.h>

#include <cstdint>
#include <new>
#include <span>

#include "digest.h"

namespace image_io {

std::string DigestOf(std::string_view bytes) {
    NSData* data = [[NSData alloc] initWithBytesNoCopy:const_cast<char*>(bytes.data())
                                                length:bytes.size()
                                          freeWhenDone:NO];
    NSData* digest = [data md5Digest];
    [data release];
    if (digest == nil) throw std::bad_alloc();
    constexpr const char* kDigits = "0123456789ABCDEF";
    std::string text;
    for (const std::uint8_t byte : std::span(static_cast<const std::uint8_t*>([digest bytes]), [digest length])) {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 15];
    }
    return text;
}

}  // namespace image_io
