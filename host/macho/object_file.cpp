// object_file.cpp - reads an object file or a bundle and checks each number in it against the size of the file.

#include "host/macho/object_file.h"

#include <algorithm>
#include <cstring>
#include <iterator>

#include "host/macho/object_error.h"

namespace host::macho {

namespace {

// Far more than any module needs; a larger size means that the file is damaged.
constexpr std::uint32_t kLargestObject = 64u << 20;

// A power of two. Sections are placed relative to the beginning of a page, so a page is the largest alignment.
constexpr std::uint32_t kLargestAlignment = 12;

constexpr std::uint32_t kKnownKinds[] = {format::kRegular,        format::kZeroFilled, format::kCStrings,
                                         format::kLiterals4,      format::kLiterals8,  format::kLiteralPointers,
                                         format::kSymbolPointers, format::kCoalesced,  format::kLiterals16};
// Only linked files have these.
constexpr std::uint32_t kLinkedKinds[] = {format::kLazySymbolPointers, format::kSymbolStubs};

// The bytes of a file. Access beyond the end throws.
class File {
  public:
    explicit File(std::span<const unsigned char> bytes) : bytes_(bytes) {}

    // The bytes from an offset; throws if they are not all in the file. The parameters have 64 bits so that sums cannot
    // overflow.
    std::span<const unsigned char> Range(std::uint64_t offset, std::uint64_t size, const std::string& what) const {
        if (offset > bytes_.size() || size > bytes_.size() - offset) {
            throw ObjectError(what, "bytes " + std::to_string(offset) + " to " + std::to_string(offset + size) +
                                        " are beyond the file's end at " + std::to_string(bytes_.size()));
        }
        return bytes_.subspan(static_cast<std::size_t>(offset), static_cast<std::size_t>(size));
    }

    template <typename Structure>
    Structure At(std::uint64_t offset, const std::string& what) const {
        Structure structure;
        std::memcpy(&structure, Range(offset, sizeof structure, what).data(), sizeof structure);
        return structure;
    }

    template <typename Structure>
    std::vector<Structure> Table(std::uint64_t offset, std::uint64_t count, const std::string& what) const {
        const auto bytes = Range(offset, count * sizeof(Structure), what);
        std::vector<Structure> table(static_cast<std::size_t>(count));
        if (!table.empty()) std::memcpy(table.data(), bytes.data(), bytes.size());
        return table;
    }

  private:
    std::span<const unsigned char> bytes_;
};

// A name in a field of fixed width. A name that fills the field has no terminating zero.
std::string FixedName(const char (&field)[16]) { return {field, strnlen(field, sizeof field)}; }

void CheckHeader(const format::Header& header) {
    if (header.magic == format::kMagic64) throw ObjectError("header", "the code is 64 bits wide, not 32");
    if (header.magic != format::kMagic32) throw ObjectError("header", "it does not begin like object code");
    if (header.cpuType != format::kCpuX86) {
        throw ObjectError("header", "the code is for processor " + std::to_string(header.cpuType) + ", not for x86 (" +
                                        std::to_string(format::kCpuX86) + ")");
    }
    if (header.fileType != format::kFileTypeObject && header.fileType != format::kFileTypeBundle) {
        throw ObjectError("header", "file type " + std::to_string(header.fileType) + " is neither an object file (" +
                                        std::to_string(format::kFileTypeObject) + ") nor a bundle (" +
                                        std::to_string(format::kFileTypeBundle) + ")");
    }
}

Relocation Decoded(const format::Relocation& raw) {
    Relocation relocation;
    relocation.isScattered = (raw.first & format::kScattered) != 0;
    const std::uint32_t bits = relocation.isScattered ? raw.first : raw.second;
    if (relocation.isScattered) {
        relocation.offset = bits & 0xFFFFFF;
        relocation.type = bits >> 24 & 0xF;
        relocation.isRelative = (bits >> 30 & 1) != 0;
        relocation.target = raw.second;
    } else {
        relocation.offset = raw.first;
        relocation.target = bits & 0xFFFFFF;
        relocation.isRelative = (bits >> 24 & 1) != 0;
        relocation.isExternal = (bits >> 27 & 1) != 0;
        relocation.type = bits >> 28;
    }
    return relocation;
}

// The number of bytes that a relocation changes, as a power of two.
std::uint32_t LengthOf(const format::Relocation& raw) {
    return (raw.first & format::kScattered) != 0 ? raw.first >> 28 & 3 : raw.second >> 25 & 3;
}

bool IsKnownKind(std::uint32_t kind, bool isBundle) {
    return std::find(std::begin(kKnownKinds), std::end(kKnownKinds), kind) != std::end(kKnownKinds) ||
           (isBundle && std::find(std::begin(kLinkedKinds), std::end(kLinkedKinds), kind) != std::end(kLinkedKinds));
}

Section ReadSection(const File& file, const format::SegmentCommand& segment, const format::Section& raw,
                    bool isBundle) {
    Section section;
    const std::string segmentName = FixedName(raw.segment);
    section.name = segmentName + "," + FixedName(raw.name);
    const std::string what = "section " + section.name;
    section.flags = raw.flags;
    section.kind = raw.flags & format::kSectionKindMask;
    if (!IsKnownKind(section.kind, isBundle)) {
        throw ObjectError(what, "section kind " + std::to_string(section.kind) + " is not supported");
    }
    if (raw.address < segment.address || raw.address - segment.address > segment.size ||
        raw.size > segment.size - (raw.address - segment.address)) {
        throw ObjectError(what, "its " + std::to_string(raw.size) + " bytes at " + std::to_string(raw.address) +
                                    " lie outside the segment");
    }
    if (raw.alignment > kLargestAlignment || raw.address % (1u << raw.alignment) != 0) {
        throw ObjectError(what, "it is not aligned to 2^" + std::to_string(raw.alignment));
    }
    section.address = raw.address;
    section.size = raw.size;
    section.alignment = 1u << raw.alignment;
    section.hasCode = (raw.flags & (format::kPureInstructions | format::kSomeInstructions)) != 0;
    section.isText = segmentName == "__TEXT";
    section.indirectSymbol = raw.indirectSymbol;
    if (section.kind != format::kZeroFilled) section.bytes = file.Range(raw.fileOffset, raw.size, what);
    // A loader copies segments, not sections.
    if (isBundle && section.kind != format::kZeroFilled &&
        (raw.fileOffset - segment.fileOffset != raw.address - segment.address ||
         raw.address - segment.address + raw.size > segment.fileSize)) {
        throw ObjectError(what, "its bytes are not those that its segment has at its address");
    }
    if (isBundle && raw.relocationCount != 0) throw ObjectError(what, "it has relocations, but it is linked already");
    const auto relocations = file.Table<format::Relocation>(raw.relocationOffset, raw.relocationCount, what);
    for (const format::Relocation& relocation : relocations) {
        section.relocations.push_back(Decoded(relocation));
        const std::uint32_t offset = section.relocations.back().offset;
        if (LengthOf(relocation) != 2) throw ObjectError(what, "a relocation does not change 4 bytes");
        // The second half of a pair has no offset.
        if (section.relocations.back().type == format::kPair) continue;
        if (offset > section.bytes.size() || section.bytes.size() - offset < 4) {
            throw ObjectError(what, "a relocation at " + std::to_string(offset) + " lies outside its " +
                                        std::to_string(section.bytes.size()) + " bytes");
        }
    }
    return section;
}

// Whether memory can have these access rights here: readable, and never both writable and executable.
bool IsAllowed(std::uint32_t protection, std::uint32_t maximum) {
    return (protection & ~maximum) == 0 && (protection & format::kReadable) != 0 &&
           (protection == format::kReadable || protection == (format::kReadable | format::kWritable) ||
            protection == (format::kReadable | format::kExecutable));
}

// Checks a segment of a bundle, which follows the previous one, and adds it.
void AddSegment(const File& file, const format::SegmentCommand& raw, ObjectFile& bundle) {
    const std::string what = "segment " + FixedName(raw.name);
    if (raw.address != bundle.size) {
        throw ObjectError(what, "it begins at address " + std::to_string(raw.address) +
                                    ", but the previous one ends at " + std::to_string(bundle.size));
    }
    if (raw.size % format::kPageSize != 0 || raw.fileOffset % format::kPageSize != 0) {
        throw ObjectError(what, "it does not begin and end with a page");
    }
    if (raw.fileSize > raw.size) {
        throw ObjectError(what, "its " + std::to_string(raw.fileSize) + " bytes in the file need more than its " +
                                    std::to_string(raw.size) + " bytes of memory");
    }
    if (!IsAllowed(raw.initialProtection, raw.maximumProtection)) {
        throw ObjectError(what, "access rights " + std::to_string(raw.initialProtection) + " of at most " +
                                    std::to_string(raw.maximumProtection) + " are not supported");
    }
    // The first segment contains the header, which lets code find its own load commands.
    if (bundle.segments.empty() && raw.fileOffset != 0) throw ObjectError(what, "it does not begin with the header");
    bundle.segments.push_back({.name = FixedName(raw.name),
                               .address = raw.address,
                               .size = raw.size,
                               .protection = raw.initialProtection,
                               .bytes = file.Range(raw.fileOffset, raw.fileSize, what)});
}

void ReadSegment(const File& file, std::uint64_t offset, std::uint32_t commandSize, ObjectFile& object) {
    const auto segment = file.At<format::SegmentCommand>(offset, "segment");
    if (!object.isBundle && !object.sections.empty()) throw ObjectError("segment", "there is more than one");
    if (segment.size > kLargestObject - object.size) {
        throw ObjectError("segment", "it needs " + std::to_string(segment.size) + " bytes, but the limit is " +
                                         std::to_string(kLargestObject));
    }
    // 64 bits, so that a huge count cannot overflow.
    if (std::uint64_t{segment.sectionCount} * sizeof(format::Section) + sizeof segment > commandSize) {
        throw ObjectError("segment", std::to_string(segment.sectionCount) + " sections do not fit their load command");
    }
    if (object.isBundle) {
        AddSegment(file, segment, object);
    } else if (segment.address != 0) {
        throw ObjectError("segment", "it does not begin at address 0");
    }
    object.size += segment.size;
    for (const auto& raw : file.Table<format::Section>(offset + sizeof segment, segment.sectionCount, "segment")) {
        object.sections.push_back(ReadSection(file, segment, raw, object.isBundle));
    }
}

void CheckNoOverlap(std::vector<Section> sections) {
    std::erase_if(sections, [](const Section& section) { return section.size == 0; });
    std::sort(sections.begin(), sections.end(),
              [](const Section& one, const Section& other) { return one.address < other.address; });
    for (std::size_t i = 1; i < sections.size(); ++i) {
        if (sections[i - 1].End() <= sections[i].address) continue;
        throw ObjectError("section " + sections[i].name, "it overlaps section " + sections[i - 1].name);
    }
}

Symbol ReadSymbol(const ObjectFile& object, const format::Symbol& raw, std::string_view strings) {
    Symbol symbol;
    if (raw.nameOffset > strings.size()) throw ObjectError("symbol", "its name lies outside the symbol names");
    const std::string_view rest = strings.substr(raw.nameOffset);
    symbol.name = rest.substr(0, rest.find('\0'));
    if (symbol.name.size() == rest.size() && !rest.empty()) throw ObjectError("symbol", "its name is not terminated");
    const std::string what = "symbol " + std::string(symbol.name);
    symbol.value = raw.value;
    symbol.section = raw.section;
    symbol.description = raw.description;
    symbol.isPrivate = (raw.type & format::kSymbolPrivate) != 0;
    if ((raw.type & format::kSymbolDebug) != 0) {
        symbol.kind = Symbol::Kind::kDebug;
        return symbol;
    }
    const bool isVisible = (raw.type & (format::kSymbolExternal | format::kSymbolPrivate)) == format::kSymbolExternal;
    switch (raw.type & format::kSymbolKindMask) {
        case format::kSymbolUndefined:
            if (raw.value != 0) throw ObjectError(what, "common symbols are not supported");
            symbol.kind = Symbol::Kind::kUndefined;
            break;
        case format::kSymbolAbsolute:
            symbol.kind = Symbol::Kind::kAbsolute;
            break;
        case format::kSymbolInSection: {
            symbol.kind = Symbol::Kind::kInSection;
            symbol.isExported = isVisible;
            if (raw.section == 0 || raw.section > object.sections.size()) {
                throw ObjectError(what, "there is no section " + std::to_string(raw.section));
            }
            const Section& section = object.sections[raw.section - 1];
            if (raw.value < section.address || raw.value > section.End()) {
                throw ObjectError(what,
                                  "address " + std::to_string(raw.value) + " lies outside section " + section.name);
            }
            break;
        }
        default:
            throw ObjectError(what, "symbol type " + std::to_string(raw.type) + " is not supported");
    }
    return symbol;
}

void ReadSymbols(const File& file, const format::SymbolsCommand& command, ObjectFile& object) {
    const auto bytes = file.Range(command.stringOffset, command.stringSize, "symbol names");
    const std::string_view strings(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    object.symbols.clear();
    for (const auto& raw : file.Table<format::Symbol>(command.symbolOffset, command.symbolCount, "symbols")) {
        object.symbols.push_back(ReadSymbol(object, raw, strings));
    }
}

std::vector<std::uint32_t> ReadIndirectSymbols(const File& file, const format::DynamicSymbolsCommand& command,
                                               bool isBundle) {
    if (isBundle && (command.externalRelocationCount != 0 || command.localRelocationCount != 0)) {
        throw ObjectError("dynamic symbols", "bundles with relocations are not supported, only with link information");
    }
    return file.Table<std::uint32_t>(command.indirectOffset, command.indirectCount, "indirect symbols");
}

std::string ReadLibrary(const File& file, std::uint64_t offset, const format::LoadLibraryCommand& command) {
    const auto bytes = file.Range(offset, command.command.size, "library");
    const std::string_view text(reinterpret_cast<const char*>(bytes.data()), bytes.size());
    const std::size_t end = text.find('\0', command.nameOffset);
    if (command.nameOffset < sizeof command || end == std::string_view::npos) {
        throw ObjectError("library", "its name does not begin and end in its load command");
    }
    return std::string(text.substr(command.nameOffset, end - command.nameOffset));
}

LinkInfo ReadLinkInfo(const File& file, const format::LinkInfoCommand& command) {
    if (command.weakBindSize != 0) throw ObjectError("link information", "weak symbols are not supported");
    return {.rebase = file.Range(command.rebaseOffset, command.rebaseSize, "rebase information"),
            .bind = file.Range(command.bindOffset, command.bindSize, "bind information"),
            .lazyBind = file.Range(command.lazyBindOffset, command.lazyBindSize, "lazy bind information"),
            .exports = file.Range(command.exportOffset, command.exportSize, "exports")};
}

// The structure of a load command, all of which lies in the command.
template <typename Structure>
Structure CommandAt(const File& file, std::uint64_t offset, const format::Command& command, const std::string& what) {
    if (command.size < sizeof(Structure)) {
        throw ObjectError(what, "its " + std::to_string(command.size) + " bytes are too few, it needs " +
                                    std::to_string(sizeof(Structure)));
    }
    return file.At<Structure>(offset, what);
}

void ReadCommand(const File& file, std::uint64_t offset, const format::Command& command, const std::string& what,
                 ObjectFile& object) {
    switch (command.kind) {
        case format::kCommandSegment:
            return ReadSegment(file, offset, command.size, object);
        case format::kCommandSymbols:
            return ReadSymbols(file, CommandAt<format::SymbolsCommand>(file, offset, command, what), object);
        case format::kCommandDynamicSymbols: {
            const auto dynamic = CommandAt<format::DynamicSymbolsCommand>(file, offset, command, what);
            object.indirectSymbols = ReadIndirectSymbols(file, dynamic, object.isBundle);
            return;
        }
        case format::kCommandLoadLibrary: {
            const auto library = CommandAt<format::LoadLibraryCommand>(file, offset, command, what);
            object.libraries.push_back(ReadLibrary(file, offset, library));
            return;
        }
        case format::kCommandLinkInfo:
            object.linkInfo = ReadLinkInfo(file, CommandAt<format::LinkInfoCommand>(file, offset, command, what));
            return;
        default:
            if ((command.kind & format::kCommandIsRequired) == 0) return;
            throw ObjectError(what, "loaders must know its kind, " +
                                        std::to_string(command.kind & ~format::kCommandIsRequired) +
                                        ", but this one does not");
    }
}

void CheckBelowSections(const ObjectFile& bundle, std::uint64_t commandsEnd) {
    for (const Section& section : bundle.sections) {
        if (section.address >= commandsEnd || section.size == 0) continue;
        throw ObjectError("section " + section.name, "it overlaps the load commands");
    }
}

}  // namespace

const Section* ObjectFile::Find(std::string_view name) const {
    const auto found =
        std::find_if(sections.begin(), sections.end(), [&](const Section& section) { return section.name == name; });
    return found != sections.end() ? &*found : nullptr;
}

ObjectFile ReadObject(std::span<const unsigned char> bytes) {
    const File file(bytes);
    const auto header = file.At<format::Header>(0, "header");
    CheckHeader(header);
    ObjectFile object;
    object.isBundle = header.fileType == format::kFileTypeBundle;
    std::uint64_t offset = sizeof header;
    const std::uint64_t end = offset + header.commandsSize;
    file.Range(offset, header.commandsSize, "load commands");
    for (std::uint32_t i = 0; i < header.commandCount; ++i) {
        const std::string what = "load command " + std::to_string(i + 1);
        const auto command = file.At<format::Command>(offset, what);
        if (command.size < sizeof command || command.size > end - offset) {
            throw ObjectError(what, "its " + std::to_string(command.size) + " bytes do not fit the load commands");
        }
        ReadCommand(file, offset, command, what, object);
        offset += command.size;
    }
    if (object.sections.empty()) throw ObjectError("segment", "the file has none, so it contains no code");
    CheckNoOverlap(object.sections);
    if (object.isBundle) CheckBelowSections(object, end);
    return object;
}

}  // namespace host::macho
