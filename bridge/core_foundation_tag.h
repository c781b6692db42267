// core_foundation_tag.h - how an object of the Core Foundation wrapper family is known.

#pragma once

#include <cstdint>

// "ZVCF", the first character in the most significant byte. The constructor of "CFObjectQOR" sets it, and so that of
// every class below.
inline constexpr std::uint32_t kCoreFoundationTag = 0x5A564346;
