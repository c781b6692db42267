// image.cpp - places the sections of an object, or the segments of a bundle, in memory.

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

// The access rights of a segment as mprotect has them.
int ProtectionOf(const Segment& segment) {
    return ((segment.protection & format::kReadable) != 0 ? PROT_READ : 0) |
           ((segment.protection & format::kWritable) != 0 ? PROT_WRITE : 0) |
           ((segment.protection & format::kExecutable) != 0 ? PROT_EXEC : 0);
}

}  // namespace

std::vector<Image::Region> Image::RegionsOf(const ObjectFile& object) {
    std::vector<Region> regions;
    if (object.isBundle) {
        for (const Segment& segment : object.segments) {
            if (segment.size != 0) regions.push_back({segment.address, segment.End(), ProtectionOf(segment)});
        }
    } else {
        const std::uint32_t boundary = BoundaryOf(object);
        regions.push_back({0, boundary, PROT_READ | PROT_EXEC});
        regions.push_back({boundary, object.size, PROT_READ | PROT_WRITE});
    }
    return regions;
}

Image::Image(const ObjectFile& object, std::uint32_t address) : size_(object.size), regions_(RegionsOf(object)) {
    const std::uint32_t page = PageSize();
    // The first region ends with a page; what follows begins there.
    const std::uint32_t boundary = regions_.empty() ? 0 : regions_.front().end;
    const std::uint32_t firstPages = RoundedUp(boundary, page);
    mappingSize_ = firstPages + RoundedUp(size_ - boundary, page);
    if (mappingSize_ == 0) throw ObjectError("segment", "it is empty");
    const int fixed = address != 0 ? MAP_FIXED_NOREPLACE : 0;
    void* memory =
        mmap(Pointer(address), mappingSize_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | fixed, -1, 0);
    if (memory == MAP_FAILED) {
        throw ObjectError("segment", address != 0 ? "the memory at address " + std::to_string(address) + " is in use"
                                                  : "out of memory for its " + std::to_string(size_) + " bytes");
    }
    mapping_ = reinterpret_cast<std::uintptr_t>(memory);
    base_ = mapping_ + firstPages - boundary;
    if (object.isBundle) {
        for (const Segment& segment : object.segments) {
            if (!segment.bytes.empty()) std::memcpy(At(segment.address), segment.bytes.data(), segment.bytes.size());
        }
    } else {
        for (const Section& section : object.sections) {
            if (!section.bytes.empty()) std::memcpy(At(section.address), section.bytes.data(), section.bytes.size());
        }
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
    std::uint32_t begin = mapping_;  // the first region may begin within a page
    for (const Region& region : regions_) {
        const std::uint32_t end = base_ + region.end;
        if (end != begin && mprotect(Pointer(begin), end - begin, region.protection) != 0) {
            throw ObjectError("segment", "its memory cannot get its access rights on this system");
        }
        begin = end;
    }
}

std::span<unsigned char> Image::Data() const {
    const auto isWritable = [](const Region& region) { return (region.protection & PROT_WRITE) != 0; };
    const auto first = std::find_if(regions_.begin(), regions_.end(), isWritable);
    if (first == regions_.end()) return {};
    const auto last = std::find_if(regions_.rbegin(), regions_.rend(), isWritable);
    return {At(first->begin), last->end - first->begin};
}

unsigned char* Image::Pointer(std::uint32_t address) { return reinterpret_cast<unsigned char*>(address); }

}  // namespace host::macho
