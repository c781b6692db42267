// format.h - the parts of the Mach-O format that object files and bundles of 32-bit x86 code use.
//
// The structures have the layout of the file, in this machine's byte order. Only values that the loader reads or the
// linker (tools/link_bundle) writes have names.

#pragma once

#include <cstdint>

namespace host::macho::format {

// The beginning of a file.
inline constexpr std::uint32_t kMagic32 = 0xFEEDFACE;
inline constexpr std::uint32_t kMagic64 = 0xFEEDFACF;
inline constexpr std::uint32_t kCpuX86 = 7;
inline constexpr std::uint32_t kCpuX86All = 3;
inline constexpr std::uint32_t kFileTypeObject = 1;
inline constexpr std::uint32_t kFileTypeBundle = 8;

// Flags of a linked file.
inline constexpr std::uint32_t kNoUndefinedSymbols = 0x1;
inline constexpr std::uint32_t kForDynamicLoader = 0x4;
inline constexpr std::uint32_t kTwoLevelNamespace = 0x80;  // an import names its library, too

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
inline constexpr std::uint32_t kCommandLoadLibrary = 12;
inline constexpr std::uint32_t kCommandUuid = 27;
inline constexpr std::uint32_t kCommandOldestSystem = 36;
// A loader that does not know a command with this bit must refuse the file.
inline constexpr std::uint32_t kCommandIsRequired = 0x80000000;
inline constexpr std::uint32_t kCommandLinkInfo = 34 | kCommandIsRequired;

// Access rights of a segment.
inline constexpr std::uint32_t kReadable = 1;
inline constexpr std::uint32_t kWritable = 2;
inline constexpr std::uint32_t kExecutable = 4;

// The boundary between pages. The fields of a segment in a linked file are multiples of it, except its size in the
// file.
inline constexpr std::uint32_t kPageSize = 4096;

// The one segment of an object file, or one of several of a bundle; its sections follow it.
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
    std::uint32_t indirectSymbol;  // of pointers and stubs: the index of the first in the indirect symbol table
    std::uint32_t stubSize;        // of stubs: bytes of each
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
inline constexpr std::uint32_t kLazySymbolPointers = 7;
inline constexpr std::uint32_t kSymbolStubs = 8;
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

// The groups of the symbol table, and the indirect symbol table, which assigns symbols to pointers and stubs. A bundle
// with link information has no relocations.
struct DynamicSymbolsCommand {
    Command command;
    std::uint32_t firstLocal;
    std::uint32_t localCount;
    std::uint32_t firstExported;
    std::uint32_t exportedCount;
    std::uint32_t firstUndefined;
    std::uint32_t undefinedCount;
    std::uint32_t unused[6];  // tables of libraries only
    std::uint32_t indirectOffset;
    std::uint32_t indirectCount;
    std::uint32_t externalRelocationOffset;
    std::uint32_t externalRelocationCount;
    std::uint32_t localRelocationOffset;
    std::uint32_t localRelocationCount;
};

// A library that the loader loads first. The name follows, with its terminating zero; it is the one by which the
// library is installed. Versions are major << 16 | minor << 8 | patch.
struct LoadLibraryCommand {
    Command command;
    std::uint32_t nameOffset;
    std::uint32_t timestamp;
    std::uint32_t currentVersion;
    std::uint32_t compatibilityVersion;
};

struct UuidCommand {
    Command command;
    unsigned char uuid[16];
};

struct OldestSystemCommand {
    Command command;
    std::uint32_t version;
    std::uint32_t interfaceVersion;
};

// What a loader has to change in a linked file, as programs of the opcodes below. The last, the exports, is a tree of
// names instead.
struct LinkInfoCommand {
    Command command;
    std::uint32_t rebaseOffset;
    std::uint32_t rebaseSize;
    std::uint32_t bindOffset;
    std::uint32_t bindSize;
    std::uint32_t weakBindOffset;
    std::uint32_t weakBindSize;
    std::uint32_t lazyBindOffset;
    std::uint32_t lazyBindSize;
    std::uint32_t exportOffset;
    std::uint32_t exportSize;
};

// An opcode is the high half of a byte, and the low half is a small operand. Other operands follow as numbers of any
// length (LEB128) or as a name.
inline constexpr unsigned kOpcodeMask = 0xF0;
inline constexpr unsigned kOperandMask = 0x0F;

// The type of every pointer.
inline constexpr unsigned kPointerType = 1;

// Programs that add the load address to pointers.
inline constexpr unsigned kRebaseDone = 0x00;
inline constexpr unsigned kRebaseSetType = 0x10;              // operand: type
inline constexpr unsigned kRebaseSetPlace = 0x20;             // operand: segment; offset
inline constexpr unsigned kRebaseAdvance = 0x30;              // distance
inline constexpr unsigned kRebaseAdvanceWords = 0x40;         // operand: distance in words
inline constexpr unsigned kRebaseTimes = 0x50;                // operand: count
inline constexpr unsigned kRebaseManyTimes = 0x60;            // count
inline constexpr unsigned kRebaseAndAdvance = 0x70;           // distance beyond the word
inline constexpr unsigned kRebaseManyTimesAndAdvance = 0x80;  // count, distance beyond each word

// Programs that fill pointers with the addresses of symbols.
inline constexpr unsigned kBindDone = 0x00;
inline constexpr unsigned kBindSetLibrary = 0x10;         // operand: number of the library, from 1
inline constexpr unsigned kBindSetManyLibrary = 0x20;     // number of the library
inline constexpr unsigned kBindSetSpecialLibrary = 0x30;  // operand: no library in particular
inline constexpr unsigned kBindSetSymbol = 0x40;          // operand: flags; name
inline constexpr unsigned kBindSetType = 0x50;            // operand: type
inline constexpr unsigned kBindSetAddend = 0x60;          // addend, signed
inline constexpr unsigned kBindSetPlace = 0x70;           // operand: segment; offset
inline constexpr unsigned kBindAdvance = 0x80;            // distance
inline constexpr unsigned kBind = 0x90;
inline constexpr unsigned kBindAndAdvance = 0xA0;           // distance beyond the word
inline constexpr unsigned kBindAndAdvanceWords = 0xB0;      // operand: distance beyond the word, in words
inline constexpr unsigned kBindManyTimesAndAdvance = 0xC0;  // count, distance beyond each word

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

// Bits of a symbol's description: how it is referred to, and, from kLibraryShift, the number of its library.
inline constexpr std::uint16_t kReferredToLazily = 1;
inline constexpr std::uint16_t kWeakReference = 0x40;
inline constexpr std::uint16_t kWeakDefinition = 0x80;
inline constexpr unsigned kLibraryShift = 8;

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
static_assert(sizeof(LoadLibraryCommand) == 24 && sizeof(UuidCommand) == 24 && sizeof(OldestSystemCommand) == 16);
static_assert(sizeof(LinkInfoCommand) == 48);

}  // namespace host::macho::format
