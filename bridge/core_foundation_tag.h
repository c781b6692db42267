// core_foundation_tag.h - the tag that marks an object of the Core Foundation wrapper family.

#pragma once

#include <cstdint>

// "ZVCF", with the first character in the most significant byte. The constructors of "CFObjectQOR" and its subclasses
// set it.
inline constexpr std::uint32_t kCoreFoundationTag = 0x5A564346;
