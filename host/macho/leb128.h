// leb128.h - numbers of any length, seven bits in each byte, the lowest first; the last byte has no highest bit.

#pragma once

#include <cstdint>

namespace host::macho {

// Reads a number whose bytes a function returns one by one. Bits beyond 32 are dropped.
template <typename NextByte>
std::uint32_t ReadNumber(const NextByte& nextByte) {
    std::uint32_t number = 0;
    for (unsigned shift = 0;; shift += 7) {
        const unsigned byte = nextByte();
        if (shift < 32) number |= (byte & 0x7F) << shift;
        if ((byte & 0x80) == 0) return number;
    }
}

}  // namespace host::macho
