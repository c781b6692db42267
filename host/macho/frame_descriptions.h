// frame_descriptions.h - finds the pointers and registers in frame descriptions, the table of the unwinder.
//
// The section __TEXT,__eh_frame consists of entries. An entry is a common part (CIE) or the description of a function
// (FDE), which refers to its common part:
//   CIE   length, 0, version, "zPLR", factors, return address, [encodings and personality], instructions
//   FDE   length, distance to its CIE, function, its size, [data for the personality], instructions
//
// The pointers have no relocations, so the linker has to change them when it moves sections. The loader has to change
// the registers, too, because their numbers differ between the platforms.

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

namespace host::macho {

inline constexpr const char* kFrameSection = "__TEXT,__eh_frame";

// Four bytes in an entry that refer to an address.
struct FramePointer {
    enum class Kind { kPersonality, kFunction, kPersonalData } kind;
    std::uint32_t offset = 0;        // in the section
    bool isRelative = false;         // to its own address
    bool isIndirect = false;         // to the pointer, not to what it points to
    std::uint32_t functionSize = 0;  // of a pointer to a function
};

struct FrameParts {
    std::vector<FramePointer> pointers;    // null pointers included
    std::vector<std::uint32_t> registers;  // offsets of bytes with a register in their six low bits
};

// Reads the entries. Throws ObjectError for anything that the unwinder could not handle.
[[nodiscard]] FrameParts ReadFrames(std::span<const unsigned char> section);

// Reports a problem of the section.
[[noreturn]] void RefuseFrames(const std::string& problem);

}  // namespace host::macho
