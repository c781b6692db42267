// sha256.h - SHA-256 of texts and files, as FIPS 180-4 defines it.
//
// Threads: any; nothing is shared.

#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

class Sha256 {
  public:
    void Add(std::string_view bytes);

    // Returns the hash of all that was added, in 64 lower-case hexadecimal digits. Call it once.
    [[nodiscard]] std::string Hex();

  private:
    void Take(const unsigned char* block);

    std::array<std::uint32_t, 8> state_ = {0x6a09e667, 0xbb67ae85, 0x3c6ef372, 0xa54ff53a,
                                           0x510e527f, 0x9b05688c, 0x1f83d9ab, 0x5be0cd19};
    std::array<unsigned char, 64> block_ = {};
    std::uint64_t length_ = 0;
};

[[nodiscard]] std::string HashOfText(std::string_view text);

// Returns the hash of a file's bytes. Throws std::filesystem::filesystem_error when it cannot be read.
[[nodiscard]] std::string HashOfFile(const std::string& file);
