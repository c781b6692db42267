// damaged_object.h - an object file or bundle that a test damages, and the error with which the loader refuses it.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/macho/format.h"

class DamagedObject {
  public:
    // Reads the test module's object file or another file, undamaged.
    explicit DamagedObject(const std::string& path = ZEVA_TINY_OBJECT);

    // Writable structures of the file. Segments, sections and symbols are found by name, relocations of a section by
    // index. The segment of an object has no name.
    host::macho::format::Header& Header();
    host::macho::format::SegmentCommand& Segment(const std::string& name = "");
    host::macho::format::Section& Section(const std::string& name);
    host::macho::format::SymbolsCommand& Symbols();
    host::macho::format::DynamicSymbolsCommand& DynamicSymbols();
    host::macho::format::Symbol& Symbol(const std::string& name);
    host::macho::format::Relocation& Relocation(const std::string& section, std::size_t number);
    host::macho::format::LinkInfoCommand& LinkInfo();
    host::macho::format::LoadLibraryCommand& FirstLibrary();

    // The bytes of a section, and of a symbol's name.
    unsigned char* Bytes(const std::string& section);
    char* NameOf(const std::string& symbol);

    // The reason why the loader refuses the file; empty if it loads.
    std::string Refusal() const;

    std::vector<unsigned char> file;

    // The offset of the first load command of a kind.
    std::size_t CommandAt(std::uint32_t kind);

    template <typename Structure>
    Structure& At(std::size_t offset) {
        return *reinterpret_cast<Structure*>(file.data() + offset);
    }

  private:
    std::size_t SegmentAt(const std::string& name);
};
