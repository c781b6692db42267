// text_encoding.h - the platform's values for the text encodings that strings are tagged with.
//
// A tag is never checked against the bytes. Any other value of the platform is a valid tag too; these are the ones that
// the modules and the host use themselves.

#pragma once

#include <cstdint>

inline constexpr std::uint32_t kEncodingAscii = 0x600;  // US-ASCII
inline constexpr std::uint32_t kEncodingUtf8 = 0x08000100;
