// damaged_object.cpp - finds the structures in the file.

#include "tests/macos/damaged_object.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "host/macho/load_object.h"

namespace format = host::macho::format;

DamagedObject::DamagedObject() {
    std::ifstream stream(ZEVA_TINY_MODULE, std::ios::binary);
    file.assign(std::istreambuf_iterator<char>(stream), {});
}

std::size_t DamagedObject::CommandAt(std::uint32_t kind) {
    std::size_t offset = sizeof(format::Header);
    while (At<format::Command>(offset).kind != kind) offset += At<format::Command>(offset).size;
    return offset;
}

format::Header& DamagedObject::Header() { return At<format::Header>(0); }

format::SegmentCommand& DamagedObject::Segment() {
    return At<format::SegmentCommand>(CommandAt(format::kCommandSegment));
}

format::SymbolsCommand& DamagedObject::Symbols() {
    return At<format::SymbolsCommand>(CommandAt(format::kCommandSymbols));
}

format::DynamicSymbolsCommand& DamagedObject::DynamicSymbols() {
    return At<format::DynamicSymbolsCommand>(CommandAt(format::kCommandDynamicSymbols));
}

format::Section& DamagedObject::Section(const std::string& name) {
    const std::size_t first = CommandAt(format::kCommandSegment) + sizeof(format::SegmentCommand);
    for (std::uint32_t i = 0; i < Segment().sectionCount; ++i) {
        auto& section = At<format::Section>(first + i * sizeof(format::Section));
        const std::string segment(section.segment, strnlen(section.segment, sizeof section.segment));
        if (segment + "," + std::string(section.name, strnlen(section.name, sizeof section.name)) == name)
            return section;
    }
    throw std::runtime_error("no section " + name);
}

format::Symbol& DamagedObject::Symbol(const std::string& name) {
    for (std::uint32_t i = 0; i < Symbols().symbolCount; ++i) {
        auto& symbol = At<format::Symbol>(Symbols().symbolOffset + i * sizeof(format::Symbol));
        if (&At<char>(Symbols().stringOffset + symbol.nameOffset) == name) return symbol;
    }
    throw std::runtime_error("no symbol " + name);
}

format::Relocation& DamagedObject::Relocation(const std::string& section, std::size_t number) {
    return At<format::Relocation>(Section(section).relocationOffset + number * sizeof(format::Relocation));
}

unsigned char* DamagedObject::Bytes(const std::string& section) { return file.data() + Section(section).fileOffset; }

char* DamagedObject::NameOf(const std::string& symbol) {
    return &At<char>(Symbols().stringOffset + Symbol(symbol).nameOffset);
}

std::string DamagedObject::Refusal() const {
    try {
        host::macho::LoadObject(file);
    } catch (const host::macho::ObjectError& error) {
        return error.what();
    }
    return "";
}
