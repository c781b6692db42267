// image.cpp - places the sections of an object in memory.

#include "host/macho/image.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "host/macho/object_error.h"

namespace host::macho {

namespace {

std::uint32_t PageSize() { return static_cast<std::uint32_t>(sysconf(_SC_PAGESIZE)); }

std::uint32_t RoundedUp(std::uint32_t number, std::uint32_t step) { return (number + step - 1) / step * step; }

// The first address behind all code where a page can begin without violating the alignment of a section.
std::uint32_t BoundaryOf(const ObjectFile& object) {
    std::uint32_t alignment = 1;
    std::uint32_t codeEnd = 0;
    std::uint32_t dataBegin = object.size;
    for (const Section& section : object.sections) {
        alignment = std::max(alignment, section.alignment);
        if (section.size == 0) continue;
        if (section.hasCode) codeEnd = std::max(codeEnd, section.End());
        if (!section.isText) dataBegin = std::min(dataBegin, section.address);
    }
    const std::uint32_t boundary = RoundedUp(codeEnd, alignment);
    // If there is no data, the code may fill its last page.
    if (boundary > dataBegin && dataBegin != object.size) {
        throw ObjectError("sections", "data begins at " + std::to_string(dataBegin) + ", before code ends at " +
                                          std::to_string(codeEnd) + ", so they would share a page");
    }
    return std::min(boundary, object.size);
}

}  // namespace

Image::Image(const ObjectFile& object) : size_(object.size), boundary_(BoundaryOf(object)) {
    const std::uint32_t page = PageSize();
    const std::uint32_t codePages = RoundedUp(boundary_, page);
    mappingSize_ = codePages + RoundedUp(size_ - boundary_, page);
    if (mappingSize_ == 0) throw ObjectError("segment", "it is empty");
    void* memory = mmap(nullptr, mappingSize_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED) {
        throw ObjectError("segment", "out of memory for its " + std::to_string(size_) + " bytes");
    }
    mapping_ = reinterpret_cast<std::uintptr_t>(memory);
    base_ = mapping_ + codePages - boundary_;
    for (const Section& section : object.sections) {
        if (!section.bytes.empty()) std::memcpy(At(section.address), section.bytes.data(), section.bytes.size());
    }
}

Image::~Image() {
    if (!isKept_) munmap(Pointer(mapping_), mappingSize_);
}

std::uint32_t Image::Word(std::uint32_t address) const {
    std::uint32_t word;
    std::memcpy(&word, At(address), sizeof word);
    return word;
}

void Image::SetWord(std::uint32_t address, std::uint32_t value) const {
    std::memcpy(At(address), &value, sizeof value);
}

bool Image::Contains(std::uint32_t address, std::uint32_t count) const {
    const std::uint32_t offset = address - base_;  // wraps to a value beyond any size for addresses below the image
    return offset <= size_ && count <= size_ - offset;
}

const char* Image::Text(std::uint32_t address) const {
    const std::uint32_t offset = address - base_;
    if (offset >= size_) return nullptr;
    const auto* text = reinterpret_cast<const char*>(Pointer(address));
    return std::memchr(text, '\0', size_ - offset) != nullptr ? text : nullptr;
}

void Image::Protect() {
    const std::uint32_t codeSize = base_ + boundary_ - mapping_;
    if (codeSize != 0 && mprotect(Pointer(mapping_), codeSize, PROT_READ | PROT_EXEC) != 0) {
        throw ObjectError("segment", "its code cannot be made executable on this system");
    }
}

unsigned char* Image::Pointer(std::uint32_t address) { return reinterpret_cast<unsigned char*>(address); }

}  // namespace host::macho
