// memory.cpp - lets the system read: pwrite fails on an invalid address, where an access of our own would crash.

#include "host/checker/memory.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace checker {

namespace {

// The limit for names and declarations; longer texts have probably lost their zero.
constexpr std::size_t kLongestText = 4096;

}  // namespace

bool ReadMemory(const void* address, void* to, std::size_t size) {
    static const int file = memfd_create("memory", MFD_CLOEXEC);
    const auto count = static_cast<ssize_t>(size);
    return pwrite(file, address, size, 0) == count && pread(file, to, size, 0) == count;
}

std::optional<std::string> ReadText(const char* address) {
    // The pieces end at multiples of 64, so no piece reaches into a page beyond the one that holds the zero.
    constexpr std::uintptr_t kPiece = 64;
    std::string text;
    while (address != nullptr && text.size() < kLongestText) {
        char piece[kPiece];
        const std::size_t size = kPiece - reinterpret_cast<std::uintptr_t>(address) % kPiece;
        if (!ReadMemory(address, piece, size)) break;
        const std::size_t length = strnlen(piece, size);
        text.append(piece, length);
        if (length < size) return text;
        address += size;
    }
    return std::nullopt;
}

bool IsCode(const void* address) {
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0, end = 0;
        char rights[5] = {};
        if (std::sscanf(line.c_str(), "%zx-%zx %4s", &begin, &end, rights) != 3) continue;
        const auto place = reinterpret_cast<std::uintptr_t>(address);
        if (place >= begin && place < end) return rights[2] == 'x';
    }
    return false;
}

}  // namespace checker
