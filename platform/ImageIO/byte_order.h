// byte_order.h - numbers in the bytes of files, in either order.
//
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <cstdint>

namespace image_io {

// Reads a number of up to 8 bytes.
[[nodiscard]] inline std::uint64_t NumberAt(const std::uint8_t* bytes, std::size_t size, bool isLittleEndian) {
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < size; ++i) number = number << 8 | bytes[isLittleEndian ? size - 1 - i : i];
    return number;
}

// Writes the lowest bytes of a number.
inline void StoreNumber(std::uint64_t number, std::size_t size, bool isLittleEndian, std::uint8_t* to) {
    for (std::size_t i = 0; i < size; ++i) {
        to[isLittleEndian ? i : size - 1 - i] = static_cast<std::uint8_t>(number >> 8 * i);
    }
}

}  // namespace image_io
