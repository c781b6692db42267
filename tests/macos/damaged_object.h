// damaged_object.h - an object file that a test damages at one place, and what the loader says to that.

#pragma once

#include <string>
#include <vector>

#include "host/macho/format.h"

class DamagedObject {
  public:
    // The test module's code, still undamaged.
    DamagedObject();

    // Structures of the file, to be written to. Sections and symbols by name; relocations of a section by number.
    host::macho::format::Header& Header();
    host::macho::format::SegmentCommand& Segment();
    host::macho::format::Section& Section(const std::string& name);
    host::macho::format::SymbolsCommand& Symbols();
    host::macho::format::DynamicSymbolsCommand& DynamicSymbols();
    host::macho::format::Symbol& Symbol(const std::string& name);
    host::macho::format::Relocation& Relocation(const std::string& section, std::size_t number);

    // The bytes of a section, and of a symbol's name.
    unsigned char* Bytes(const std::string& section);
    char* NameOf(const std::string& symbol);

    // Why the loader refuses the file; empty when it does not.
    std::string Refusal() const;

    std::vector<unsigned char> file;

  private:
    template <typename Structure>
    Structure& At(std::size_t offset) {
        return *reinterpret_cast<Structure*>(file.data() + offset);
    }

    std::size_t CommandAt(std::uint32_t kind);
};
