// format.h - the parts of the Mach-O format that object files of 32-bit x86 code use.
//
// The structures have the layout of the file, in this machine's byte order. Only the fields and values that
// object_file.cpp reads have names.

#pragma once

#include <cstdint>

namespace host::macho::format {

// The beginning of a file.
inline constexpr std::uint32_t kMagic32 = 0xFEEDFACE;
inline constexpr std::uint32_t kMagic64 = 0xFEEDFACF;
inline constexpr std::uint32_t kCpuX86 = 7;
inline constexpr std::uint32_t kFileTypeObject = 1;

struct Header {
    std::uint32_t magic;
    std::uint32_t cpuType;
    std::uint32_t cpuSubtype;
    std::uint32_t fileType;
    std::uint32_t commandCount;
    std::uint32_t commandsSize;
    std::uint32_t flags;
};

// The beginning of each load command. The next command begins `size` bytes after this one.
struct Command {
    std::uint32_t kind;
    std::uint32_t size;
};

inline constexpr std::uint32_t kCommandSegment = 1;
inline constexpr std::uint32_t kCommandSymbols = 2;
inline constexpr std::uint32_t kCommandDynamicSymbols = 11;

// The one segment of an object file; its sections follow it.
struct SegmentCommand {
    Command command;
    char name[16];
    std::uint32_t address;
    std::uint32_t size;
    std::uint32_t fileOffset;
    std::uint32_t fileSize;
    std::uint32_t maximumProtection;
    std::uint32_t initialProtection;
    std::uint32_t sectionCount;
    std::uint32_t flags;
};

struct Section {
    char name[16];
    char segment[16];
    std::uint32_t address;
    std::uint32_t size;
    std::uint32_t fileOffset;
    std::uint32_t alignment;  // as a power of two
    std::uint32_t relocationOffset;
    std::uint32_t relocationCount;
    std::uint32_t flags;           // kind in the lowest byte, attributes above it
    std::uint32_t indirectSymbol;  // for symbol pointers: the index of the first one in the indirect symbol table
    std::uint32_t reserved;
};

// Kinds of sections.
inline constexpr std::uint32_t kSectionKindMask = 0xFF;
inline constexpr std::uint32_t kRegular = 0;
inline constexpr std::uint32_t kZeroFilled = 1;
inline constexpr std::uint32_t kCStrings = 2;
inline constexpr std::uint32_t kLiterals4 = 3;
inline constexpr std::uint32_t kLiterals8 = 4;
inline constexpr std::uint32_t kLiteralPointers = 5;
inline constexpr std::uint32_t kSymbolPointers = 6;
inline constexpr std::uint32_t kCoalesced = 11;
inline constexpr std::uint32_t kLiterals16 = 14;

// Attributes of sections that hold code.
inline constexpr std::uint32_t kPureInstructions = 0x80000000;
inline constexpr std::uint32_t kSomeInstructions = 0x00000400;

struct SymbolsCommand {
    Command command;
    std::uint32_t symbolOffset;
    std::uint32_t symbolCount;
    std::uint32_t stringOffset;
    std::uint32_t stringSize;
};

// Only the indirect symbol table, which assigns symbols to symbol pointers, is used here.
struct DynamicSymbolsCommand {
    Command command;
    std::uint32_t unused[12];
    std::uint32_t indirectOffset;
    std::uint32_t indirectCount;
    std::uint32_t unusedToo[4];
};

// Bits of an indirect symbol table entry without a symbol.
inline constexpr std::uint32_t kIndirectLocal = 0x80000000;
inline constexpr std::uint32_t kIndirectAbsolute = 0x40000000;

struct Symbol {
    std::uint32_t nameOffset;
    std::uint8_t type;
    std::uint8_t section;  // counted from 1
    std::uint16_t description;
    std::uint32_t value;
};

// Bits of a symbol's type.
inline constexpr std::uint8_t kSymbolDebug = 0xE0;
inline constexpr std::uint8_t kSymbolPrivate = 0x10;
inline constexpr std::uint8_t kSymbolKindMask = 0x0E;
inline constexpr std::uint8_t kSymbolExternal = 0x01;
inline constexpr std::uint8_t kSymbolUndefined = 0x00;
inline constexpr std::uint8_t kSymbolAbsolute = 0x02;
inline constexpr std::uint8_t kSymbolInSection = 0x0E;

// There are two layouts:
//   scattered   kScattered | pcrel:1 | length:2 | type:4 | address:24, then the address of the target
//   plain       the address, then type:4 | external:1 | length:2 | pcrel:1 | symbol or section:24
struct Relocation {
    std::uint32_t first;
    std::uint32_t second;
};

inline constexpr std::uint32_t kScattered = 0x80000000;

// Types of relocations.
inline constexpr std::uint32_t kVanilla = 0;
inline constexpr std::uint32_t kPair = 1;
inline constexpr std::uint32_t kSectionDifference = 2;
inline constexpr std::uint32_t kLocalSectionDifference = 4;

static_assert(sizeof(Header) == 28 && sizeof(SegmentCommand) == 56 && sizeof(Section) == 68);
static_assert(sizeof(SymbolsCommand) == 24 && sizeof(DynamicSymbolsCommand) == 80 && sizeof(Symbol) == 12);

}  // namespace host::macho::format
