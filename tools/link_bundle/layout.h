// layout.h - the sections of a bundle, and where those of the object go.
//
// Segments, in the order of the bundle:
//   __TEXT      the header, code, stubs and constants; readable and executable
//   __DATA      pointers to symbols, variables and constants with addresses; writable
//   __OBJC      what the runtime reads; writable
//   __LINKEDIT  link information and symbols, for loaders and debuggers; readable
//
// Pointers to symbols move from the object's __IMPORT, which was for code that loaders rewrite, to __DATA. The compact
// form of the unwind table is left out: unwinders read the frame descriptions, which every function has.

#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/macho/object_file.h"
#include "tools/link_bundle/opcodes.h"

namespace linker {

// The sections that the linker adds.
inline constexpr const char* kStubs = "__TEXT,__symbol_stub";
inline constexpr const char* kStubHelpers = "__TEXT,__stub_helper";
inline constexpr const char* kPointers = "__DATA,__nl_symbol_ptr";
inline constexpr const char* kLazyPointers = "__DATA,__la_symbol_ptr";
inline constexpr const char* kCache = "__DATA,__stub_cache";

// The next multiple of a step.
constexpr std::uint32_t RoundedUp(std::uint32_t number, std::uint32_t step) {
    return (number + step - 1) / step * step;
}

struct OutputSection {
    std::string name;  // "__TEXT,__text"
    std::uint32_t flags = 0;
    std::uint32_t alignment = 4;
    std::uint32_t stubSize = 0;
    std::uint32_t size = 0;
    Bytes bytes;                       // empty if zero-filled
    std::vector<std::string> symbols;  // of pointers and stubs: what they refer to; "" within the bundle
    bool isFromObject = false;
    std::uint32_t address = 0;
    std::uint32_t number = 0;  // in the bundle, from 1

    std::uint32_t End() const { return address + size; }
};

// Whether a section has no bytes in the file, whatever its size.
bool IsZeroFilled(const OutputSection& section);

struct OutputSegment {
    std::string name;
    std::uint32_t protection = 0;
    std::uint32_t address = 0;
    std::uint32_t size = 0;
    std::uint32_t fileOffset = 0;
    std::uint32_t fileSize = 0;           // without the zero-filled end
    std::vector<std::uint32_t> sections;  // indices
};

class Layout {
  public:
    // Chooses the sections: those of the object, and those for this many stubs. Throws ObjectError for a section that
    // cannot be part of a bundle.
    Layout(const host::macho::ObjectFile& object, std::uint32_t stubCount);

    // Assigns addresses, behind the header and the load commands: those of the segments, and others of this size.
    void Place(std::uint32_t otherCommandsSize);

    // The new address of an address in a section of the object, by its index. Throws for a section that is left out.
    std::uint32_t NewAddress(std::uint32_t section, std::uint32_t address) const;

    // The index of the object's section that contains an address. Throws if there is none.
    std::uint32_t SectionAt(std::uint32_t address) const;

    // The section of the bundle that contains a section of the object, by its index; null if it is left out.
    OutputSection* OutputOf(std::uint32_t section);

    OutputSection* Find(const std::string& name);

    // The place of an address. Throws if its segment is not writable.
    linker::Place PlaceOf(std::uint32_t address) const;

    std::uint32_t Word(std::uint32_t address) const;
    void SetWord(std::uint32_t address, std::uint32_t value);

    std::vector<OutputSection> sections;
    std::vector<OutputSegment> segments;  // with their sections in order; __LINKEDIT is the last and has none

  private:
    struct Target {
        std::uint32_t output = 0;
        std::uint32_t offset = 0;
    };

    OutputSection& Add(OutputSection section);
    void CheckCompactUnwind(const host::macho::Section& section) const;

    const host::macho::ObjectFile& object_;
    std::vector<std::optional<Target>> targets_;  // of the object's sections
};

}  // namespace linker
