// object_file.h - an object file, read and checked.
//
// What stands here is within the bounds of the file: every offset, count and name has been held against its size, so
// that those who use it need not. What the bytes of a section mean is not looked at.
//
// Lifetime: views into the bytes that ReadObject was given.

#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/macho/format.h"

namespace host::macho {

// A relocation, whichever layout it had in the file.
struct Relocation {
    std::uint32_t offset = 0;  // of the four bytes that it changes, in its section
    std::uint32_t type = 0;
    std::uint32_t target = 0;  // the symbol, for an external one; else the section counted from 1, 0 for none
    bool isRelative = false;   // to the address behind the four bytes
    bool isExternal = false;
    bool isScattered = false;  // by address, within the object
};

struct Section {
    std::string name;  // "__TEXT,__text"
    std::uint32_t address = 0;
    std::uint32_t size = 0;
    std::uint32_t alignment = 1;
    std::uint32_t kind = 0;
    bool hasCode = false;
    bool isText = false;                   // never written to: its segment is __TEXT
    std::span<const unsigned char> bytes;  // none for a zero-filled one
    std::vector<Relocation> relocations;
    std::uint32_t indirectSymbol = 0;  // the first pointer's place in indirectSymbols, for symbol pointers

    std::uint32_t End() const { return address + size; }
};

struct Symbol {
    std::string_view name;
    enum class Kind { kUndefined, kAbsolute, kInSection, kDebug } kind;
    bool isExported = false;
    std::uint32_t section = 0;  // counted from 1
    std::uint32_t value = 0;    // an address within the object, or an absolute one
};

struct ObjectFile {
    std::uint32_t size = 0;         // of the memory that all sections need together
    std::vector<Section> sections;  // in the order in which symbols and relocations count them
    std::vector<Symbol> symbols;
    std::vector<std::uint32_t> indirectSymbols;  // symbols by number, or one of format::kIndirect...

    // The section of that name, "__OBJC,__message_refs"; null when there is none.
    const Section* Find(std::string_view name) const;
};

// Reads an object file of 32-bit x86 code; throws ObjectError when it is another kind of file or cannot be right.
ObjectFile ReadObject(std::span<const unsigned char> file);

}  // namespace host::macho
