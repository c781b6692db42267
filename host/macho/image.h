// image.h - an object's sections in memory: one block, in which every section lies where the object has it.
//
// Why one block: distances between sections then are what the compiler counted on, so nothing that is a distance needs
// a change. Code comes first and data after it, and the block is placed so that a page begins between the two: code can
// be made executable and data writable, no page is both.
//
// Lifetime: the memory goes with the Image, unless it is kept for good.
// Threads:  any, one at a time.

#pragma once

#include <span>

#include "host/macho/object_file.h"

namespace host::macho {

class Image {
  public:
    // Copies the sections into new memory, all of it writable. Throws ObjectError when code and data cannot be told
    // apart by pages, or when there is no memory.
    explicit Image(const ObjectFile& object);
    ~Image();
    Image(const Image&) = delete;
    Image& operator=(const Image&) = delete;

    // Where the object's address 0 lies.
    std::uint32_t Base() const { return base_; }

    // The memory behind an address of the object; the caller has checked it.
    unsigned char* At(std::uint32_t address) const { return Pointer(base_ + address); }

    // Four bytes at an address of the object.
    std::uint32_t Word(std::uint32_t address) const;
    void SetWord(std::uint32_t address, std::uint32_t value) const;

    // Whether bytes from an address of this process on lie in the image.
    bool Contains(std::uint32_t address, std::uint32_t count) const;

    // The text that begins at an address of this process; null when it does not begin or does not end in the image.
    const char* Text(std::uint32_t address) const;

    // Makes the code executable and no longer writable.
    void Protect();

    // What stays writable: all that is not code.
    std::span<unsigned char> Data() const { return {At(boundary_), size_ - boundary_}; }

    // Leaves the memory to the process for good.
    void Keep() { isKept_ = true; }

  private:
    static unsigned char* Pointer(std::uint32_t address);

    std::uint32_t size_ = 0;      // of the object
    std::uint32_t boundary_ = 0;  // the object's address at which data begins, the first of a page
    std::uint32_t mapping_ = 0;   // where the memory begins, at most a page before the object
    std::uint32_t mappingSize_ = 0;
    std::uint32_t base_ = 0;
    bool isKept_ = false;
};

}  // namespace host::macho
