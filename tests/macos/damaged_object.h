// damaged_object.h - an object file that a test damages, and the error with which the loader refuses it.

#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "host/macho/format.h"

class DamagedObject {
  public:
    // Reads the test module's object file, undamaged.
    DamagedObject();

    // Writable structures of the file. Sections and symbols are found by name, relocations of a section by index.
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

    // The reason why the loader refuses the file; empty if it loads.
    std::string Refusal() const;

    std::vector<unsigned char> file;

  private:
    template <typename Structure>
    Structure& At(std::size_t offset) {
        return *reinterpret_cast<Structure*>(file.data() + offset);
    }

    std::size_t CommandAt(std::uint32_t kind);
};
