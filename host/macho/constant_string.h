// constant_string.h - the class of the constant strings in code for macOS.
//
// The compiler lays each out as class, flags, bytes and length; the class's address is bound like a function's. They
// are never freed, and they are strings like any other: equal to those of the same text, usable as keys.

#pragma once

#include <cstdint>

#if defined(__OBJC__)
#import <Foundation/Foundation.h>
#else
#include <objc/objc.h>
#endif

namespace host::macho {

// A constant string as the compiler lays it out.
struct ConstantString {
    std::uint32_t isa;
    std::uint32_t flags;
    std::uint32_t bytes;
    std::uint32_t length;
};

// The flags of a string of 8-bit characters, the only ones that this class knows.
inline constexpr std::uint32_t kEightBitCharacters = 0x7C8;

// The class, ready to use.
Class ConstantStringClass();

}  // namespace host::macho
