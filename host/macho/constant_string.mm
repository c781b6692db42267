// constant_string.mm - a subclass of NSString with the fields of a constant string.

#include "host/macho/constant_string.h"

@interface MacConstantString : NSString {
    unsigned int flags;
    const char* bytes;
    unsigned int length;
}
@end

static_assert(sizeof(host::macho::ConstantString) == 4 * sizeof(void*));

@implementation MacConstantString

- (NSUInteger)length {
    return length;
}

- (unichar)characterAtIndex:(NSUInteger)index {
    if (index >= length) [NSException raise:NSRangeException format:@"index %u is beyond length %u", index, length];
    return static_cast<unsigned char>(bytes[index]);
}

- (const char*)UTF8String {
    return bytes;
}

- (id)copyWithZone:(NSZone*)zone {
    (void)zone;
    return self;
}

- (id)retain {
    return self;
}

- (oneway void)release {
}

- (id)autorelease {
    return self;
}

- (NSUInteger)retainCount {
    return UINT_MAX;
}

@end

namespace host::macho {

Class ConstantStringClass() { return [MacConstantString class]; }

}  // namespace host::macho
