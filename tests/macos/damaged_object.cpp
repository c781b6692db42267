// damaged_object.cpp - finds the structures in the file.

#include "tests/macos/damaged_object.h"

#include <cstring>
#include <stdexcept>

#include "host/macho/load_object.h"
#include "tests/support/read_file.h"

namespace format = host::macho::format;

namespace {

// The text of a field of fixed width.
std::string FixedName(const char (&field)[16]) { return {field, strnlen(field, sizeof field)}; }

}  // namespace

DamagedObject::DamagedObject(const std::string& path) {
    const std::string bytes = ReadFile(host::macho::CodeFile(path));
    file.assign(bytes.begin(), bytes.end());
}

std::size_t DamagedObject::CommandAt(std::uint32_t kind) {
    std::size_t offset = sizeof(format::Header);
    while (At<format::Command>(offset).kind != kind) offset += At<format::Command>(offset).size;
    return offset;
}

format::Header& DamagedObject::Header() { return At<format::Header>(0); }

std::size_t DamagedObject::SegmentAt(const std::string& name) {
    for (std::size_t offset = CommandAt(format::kCommandSegment);; offset += At<format::Command>(offset).size) {
        if (FixedName(At<format::SegmentCommand>(offset).name) == name) return offset;
    }
}

format::SegmentCommand& DamagedObject::Segment(const std::string& name) {
    return At<format::SegmentCommand>(SegmentAt(name));
}

format::LinkInfoCommand& DamagedObject::LinkInfo() {
    return At<format::LinkInfoCommand>(CommandAt(format::kCommandLinkInfo));
}

format::LoadLibraryCommand& DamagedObject::FirstLibrary() {
    return At<format::LoadLibraryCommand>(CommandAt(format::kCommandLoadLibrary));
}

format::SymbolsCommand& DamagedObject::Symbols() {
    return At<format::SymbolsCommand>(CommandAt(format::kCommandSymbols));
}

format::DynamicSymbolsCommand& DamagedObject::DynamicSymbols() {
    return At<format::DynamicSymbolsCommand>(CommandAt(format::kCommandDynamicSymbols));
}

format::Section& DamagedObject::Section(const std::string& name) {
    std::size_t offset = CommandAt(format::kCommandSegment);
    for (; At<format::Command>(offset).kind == format::kCommandSegment; offset += At<format::Command>(offset).size) {
        const std::size_t first = offset + sizeof(format::SegmentCommand);
        for (std::uint32_t i = 0; i < At<format::SegmentCommand>(offset).sectionCount; ++i) {
            auto& section = At<format::Section>(first + i * sizeof(format::Section));
            if (FixedName(section.segment) + "," + FixedName(section.name) == name) return section;
        }
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
