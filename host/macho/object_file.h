// object_file.h - reads and checks an object file or a bundle, which is an object file that was linked.
//
// They differ in how addresses are adjusted: an object file has relocations, a bundle has link information (link_info).
//
// Each offset, count and name has been checked against the size of the file, so users of these structures need not
// check them again. The contents of sections and of the link information are not checked.
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
    std::uint32_t target = 0;  // external: index of the symbol; scattered: address; else number of the section, or 0
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
    std::uint32_t flags = 0;  // kind and attributes
    bool hasCode = false;
    bool isText = false;                   // in the segment __TEXT, which is never written
    std::span<const unsigned char> bytes;  // empty for a zero-filled section
    std::vector<Relocation> relocations;
    std::uint32_t indirectSymbol = 0;  // of pointers and stubs: index of the first one in indirectSymbols

    std::uint32_t End() const { return address + size; }
};

struct Symbol {
    std::string_view name;
    enum class Kind { kUndefined, kAbsolute, kInSection, kDebug } kind;
    bool isExported = false;
    bool isPrivate = false;         // was visible to other objects of the same bundle
    std::uint16_t description = 0;  // bits format::k...Reference and format::kWeakDefinition
    std::uint32_t section = 0;      // number, from 1
    std::uint32_t value = 0;        // an address within the object, or an absolute value
};

// A part of a bundle with its own access rights. Segments begin and end with a page.
struct Segment {
    std::string name;
    std::uint32_t address = 0;
    std::uint32_t size = 0;
    std::uint32_t protection = 0;          // bits format::kReadable...
    std::span<const unsigned char> bytes;  // the rest of the segment is zero

    std::uint32_t End() const { return address + size; }
};

// What has to change in a bundle: programs of opcodes, and the tree of exported names.
struct LinkInfo {
    std::span<const unsigned char> rebase;
    std::span<const unsigned char> bind;
    std::span<const unsigned char> lazyBind;
    std::span<const unsigned char> exports;
};

struct ObjectFile {
    bool isBundle = false;
    std::uint32_t size = 0;         // the memory that all sections need together, from address 0
    std::vector<Section> sections;  // in the order in which symbols and relocations number them
    std::vector<Symbol> symbols;
    std::vector<std::uint32_t> indirectSymbols;  // indices of symbols, or bits format::kIndirect...

    // Only in bundles.
    std::vector<Segment> segments;       // by address, without gaps or overlaps
    std::vector<std::string> libraries;  // the names by which they are installed; link information numbers them from 1
    LinkInfo linkInfo;

    // The section with a name like "__OBJC,__message_refs", or null.
    [[nodiscard]] const Section* Find(std::string_view name) const;
};

// Reads an object file or a bundle of 32-bit x86 code. Throws ObjectError if the file is of another kind or invalid.
[[nodiscard]] ObjectFile ReadObject(std::span<const unsigned char> file);

}  // namespace host::macho
