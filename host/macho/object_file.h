// object_file.h - reads and checks an object file.
//
// Each offset, count and name has been checked against the size of the file, so users of these structures need not
// check them again. The contents of sections are not checked.
//
// Lifetime: the structures contain views of the bytes that were passed to ReadObject.

#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/macho/format.h"

namespace host::macho {

// A relocation, decoded from either layout of the file.
struct Relocation {
    std::uint32_t offset = 0;  // of the four bytes to change, within the section
    std::uint32_t type = 0;
    std::uint32_t target = 0;  // external: index of the symbol; else number of the section from 1, or 0
    bool isRelative = false;   // relative to the address after the four bytes
    bool isExternal = false;
    bool isScattered = false;  // refers to its target by address, within the object
};

struct Section {
    std::string name;  // "__TEXT,__text"
    std::uint32_t address = 0;
    std::uint32_t size = 0;
    std::uint32_t alignment = 1;
    std::uint32_t kind = 0;
    bool hasCode = false;
    bool isText = false;                   // in the segment __TEXT, which is never written
    std::span<const unsigned char> bytes;  // empty for a zero-filled section
    std::vector<Relocation> relocations;
    std::uint32_t indirectSymbol = 0;  // for symbol pointers: index of the first one in indirectSymbols

    std::uint32_t End() const { return address + size; }
};

struct Symbol {
    std::string_view name;
    enum class Kind { kUndefined, kAbsolute, kInSection, kDebug } kind;
    bool isExported = false;
    std::uint32_t section = 0;  // number, from 1
    std::uint32_t value = 0;    // an address within the object, or an absolute value
};

struct ObjectFile {
    std::uint32_t size = 0;         // the memory that all sections need together
    std::vector<Section> sections;  // in the order in which symbols and relocations number them
    std::vector<Symbol> symbols;
    std::vector<std::uint32_t> indirectSymbols;  // indices of symbols, or bits format::kIndirect...

    // The section with a name like "__OBJC,__message_refs", or null.
    [[nodiscard]] const Section* Find(std::string_view name) const;
};

// Reads an object file of 32-bit x86 code. Throws ObjectError if the file is of another kind or invalid.
[[nodiscard]] ObjectFile ReadObject(std::span<const unsigned char> file);

}  // namespace host::macho
