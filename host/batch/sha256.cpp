// sha256.cpp - blocks of 64 bytes, 64 rounds each.
//
// Why not a library: none of those that the program needs anyway has it.

#include "host/batch/sha256.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <system_error>

namespace {

// The first 32 bits of the fractional parts of the cube roots of the first 64 primes.
constexpr std::uint32_t kRoundConstants[64] = {
    0x428a2f98, 0x71374491, 0xb5c0fbcf, 0xe9b5dba5, 0x3956c25b, 0x59f111f1, 0x923f82a4, 0xab1c5ed5,
    0xd807aa98, 0x12835b01, 0x243185be, 0x550c7dc3, 0x72be5d74, 0x80deb1fe, 0x9bdc06a7, 0xc19bf174,
    0xe49b69c1, 0xefbe4786, 0x0fc19dc6, 0x240ca1cc, 0x2de92c6f, 0x4a7484aa, 0x5cb0a9dc, 0x76f988da,
    0x983e5152, 0xa831c66d, 0xb00327c8, 0xbf597fc7, 0xc6e00bf3, 0xd5a79147, 0x06ca6351, 0x14292967,
    0x27b70a85, 0x2e1b2138, 0x4d2c6dfc, 0x53380d13, 0x650a7354, 0x766a0abb, 0x81c2c92e, 0x92722c85,
    0xa2bfe8a1, 0xa81a664b, 0xc24b8b70, 0xc76c51a3, 0xd192e819, 0xd6990624, 0xf40e3585, 0x106aa070,
    0x19a4c116, 0x1e376c08, 0x2748774c, 0x34b0bcb5, 0x391c0cb3, 0x4ed8aa4a, 0x5b9cca4f, 0x682e6ff3,
    0x748f82ee, 0x78a5636f, 0x84c87814, 0x8cc70208, 0x90befffa, 0xa4506ceb, 0xbef9a3f7, 0xc67178f2,
};

}  // namespace

void Sha256::Take(const unsigned char* block) {
    std::uint32_t words[64];
    for (int i = 0; i < 16; ++i) {
        words[i] = std::uint32_t{block[4 * i]} << 24 | std::uint32_t{block[4 * i + 1]} << 16 |
                   std::uint32_t{block[4 * i + 2]} << 8 | std::uint32_t{block[4 * i + 3]};
    }
    for (int i = 16; i < 64; ++i) {
        const std::uint32_t a = words[i - 15], b = words[i - 2];
        words[i] = words[i - 16] + (std::rotr(a, 7) ^ std::rotr(a, 18) ^ a >> 3) + words[i - 7] +
                   (std::rotr(b, 17) ^ std::rotr(b, 19) ^ b >> 10);
    }
    auto [a, b, c, d, e, f, g, h] = state_;
    for (int i = 0; i < 64; ++i) {
        const std::uint32_t first = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) + ((e & f) ^ (~e & g)) +
                                    kRoundConstants[i] + words[i];
        const std::uint32_t second =
            (std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
        h = g;
        g = f;
        f = e;
        e = d + first;
        d = c;
        c = b;
        b = a;
        a = first + second;
    }
    const std::uint32_t added[] = {a, b, c, d, e, f, g, h};
    for (std::size_t i = 0; i < state_.size(); ++i) state_[i] += added[i];
}

void Sha256::Add(std::string_view bytes) {
    const auto* at = reinterpret_cast<const unsigned char*>(bytes.data());
    std::size_t left = bytes.size();
    auto filled = static_cast<std::size_t>(length_ % block_.size());
    length_ += left;
    while (left > 0) {
        if (filled == 0 && left >= block_.size()) {
            Take(at);
            at += block_.size();
            left -= block_.size();
            continue;
        }
        const std::size_t count = std::min(left, block_.size() - filled);
        std::memcpy(block_.data() + filled, at, count);
        at += count;
        left -= count;
        filled = (filled + count) % block_.size();
        if (filled == 0) Take(block_.data());
    }
}

std::string Sha256::Hex() {
    const std::uint64_t bits = 8 * length_;
    Add(std::string_view("\x80", 1));
    constexpr std::size_t kLengthAt = 56;
    while (length_ % block_.size() != kLengthAt) Add(std::string_view("\0", 1));
    char length[8];
    for (int i = 0; i < 8; ++i) length[i] = static_cast<char>(bits >> (56 - 8 * i));
    Add({length, sizeof length});
    std::string hex;
    for (const std::uint32_t word : state_) {
        for (int shift = 28; shift >= 0; shift -= 4) hex += "0123456789abcdef"[word >> shift & 15];
    }
    return hex;
}

std::string HashOfText(std::string_view text) {
    Sha256 hash;
    hash.Add(text);
    return hash.Hex();
}

std::string HashOfFile(const std::string& file) {
    const auto fail = [&] {
        throw std::filesystem::filesystem_error("cannot read", file, std::error_code(errno, std::generic_category()));
    };
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) fail();
    Sha256 hash;
    char buffer[1 << 16];
    ssize_t count = 0;
    while ((count = read(descriptor, buffer, sizeof buffer)) != 0) {
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) break;
        hash.Add({buffer, static_cast<std::size_t>(count)});
    }
    const int error = errno;
    close(descriptor);
    errno = error;
    if (count < 0) fail();
    return hash.Hex();
}
