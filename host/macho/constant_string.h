// constant_string.h - the class of the constant strings in code for macOS.
//
// The compiler stores each constant string as class, flags, bytes and length. The address of the class is bound like
// that of a function. These strings are never freed. Otherwise they behave like other strings: they are equal to
// strings with the same text and can be used as keys.

#pragma once

#include <cstdint>

#if defined(__OBJC__)
#import <Foundation/Foundation.h>
#else
#include <objc/objc.h>
#endif

namespace host::macho {

// The layout of a constant string.
struct ConstantString {
    std::uint32_t isa;
    std::uint32_t flags;
    std::uint32_t bytes;
    std::uint32_t length;
};

// The flags of a string with 8-bit characters, the only kind that this class supports.
inline constexpr std::uint32_t kEightBitCharacters = 0x7C8;

// The class, ready to use.
Class ConstantStringClass();

}  // namespace host::macho
