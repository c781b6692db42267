// image.h - the sections of an object, or the segments of a bundle, in one block of memory that keeps their layout.
//
// In one block, the distances between sections are the ones that the compiler assumed, so relative references need no
// change. In an object, code comes first and data after it. The block is placed so that a page begins between the two:
// code becomes executable, data stays writable, and no page is both. A bundle has been laid out that way: each of its
// segments has access rights of its own.
//
// Lifetime: the destructor frees the memory unless Keep was called.
// Threads:  any, but one at a time.

#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "host/macho/object_file.h"

namespace host::macho {

class Image {
  public:
    // Copies the sections or segments to new, writable memory: anywhere, or at this address, which begins a page.
    // Throws ObjectError when code and data would share a page, when the memory at the address is in use, and when out
    // of memory.
    explicit Image(const ObjectFile& object, std::uint32_t address = 0);
    ~Image();
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    // The address in this process of the object's address 0.
    std::uint32_t Base() const { return base_; }

    // The memory that the object needs.
    std::uint32_t Size() const { return size_; }

    // The memory at an address of the object, which the caller has checked.
    unsigned char* At(std::uint32_t address) const { return Pointer(base_ + address); }

    // Reads or writes four bytes at an address of the object.
    std::uint32_t Word(std::uint32_t address) const;
    void SetWord(std::uint32_t address, std::uint32_t value) const;

    // Whether `count` bytes from an address of this process lie in the image.
    [[nodiscard]] bool Contains(std::uint32_t address, std::uint32_t count) const;

    // The text at an address of this process; null if it does not begin and end in the image.
    [[nodiscard]] const char* Text(std::uint32_t address) const;

    // Gives all memory its access rights: code becomes executable and read-only.
    void Protect();

    // The memory that stays writable.
    std::span<unsigned char> Data() const;

    // Keeps the memory mapped when the Image is destroyed.
    void Keep() { isKept_ = true; }

  private:
    static unsigned char* Pointer(std::uint32_t address);

    // Memory with the same access rights, by addresses of the object.
    struct Region {
        std::uint32_t begin;
        std::uint32_t end;
        int protection;  // of mprotect
    };
    static std::vector<Region> RegionsOf(const ObjectFile& object);

    std::uint32_t size_ = 0;       // of the object
    std::vector<Region> regions_;  // by address; a page begins between two of them
    std::uint32_t mapping_ = 0;    // the begin of the memory, less than a page before the object
    std::uint32_t mappingSize_ = 0;
    std::uint32_t base_ = 0;
    bool isKept_ = false;
};

}  // namespace host::macho
