// bundle_writer.cpp - puts the file together. The identifier comes last, because it is computed from all the rest.

#include "tools/link_bundle/bundle_writer.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace linker {

using host::macho::Library;
using host::macho::Symbol;
namespace format = host::macho::format;

namespace {

template <typename Structure>
void Append(Bytes& bytes, const Structure& structure) {
    const auto* begin = reinterpret_cast<const unsigned char*>(&structure);
    bytes.insert(bytes.end(), begin, begin + sizeof structure);
}

// Appends bytes at a multiple of four. Returns where they begin, or 0 if there are none.
std::uint32_t AppendPart(Bytes& bytes, const Bytes& part) {
    if (part.empty()) return 0;
    bytes.resize(RoundedUp(static_cast<std::uint32_t>(bytes.size()), 4));
    const auto begin = static_cast<std::uint32_t>(bytes.size());
    bytes.insert(bytes.end(), part.begin(), part.end());
    return begin;
}

// Copies a name to a field of fixed width; a name that fills it has no terminating zero.
void SetName(char (&field)[16], std::string_view name) {
    std::memcpy(field, name.data(), std::min(name.size(), sizeof field));
}

std::uint32_t LibraryCommandSize(const Library& library) {
    return RoundedUp(static_cast<std::uint32_t>(sizeof(format::LoadLibraryCommand) + library.installName.size() + 1),
                     4);
}

// Whether a symbol is of use only to the compiler and the linker.
bool IsTemporary(const Symbol& symbol) { return symbol.name.starts_with('l') || symbol.name.starts_with('L'); }

// Two hashes (FNV-1a) of the content, marked as an identifier of a kind of its own (version 8).
void SetUuid(unsigned char (&uuid)[16], const Bytes& content) {
    constexpr std::uint64_t kPrime = 0x100000001B3;
    std::uint64_t hashes[2] = {0xCBF29CE484222325, 0x84222325CBF29CE4};
    for (const unsigned char byte : content) {
        hashes[0] = (hashes[0] ^ byte) * kPrime;
        hashes[1] = (hashes[1] ^ (byte ^ 0xFFu)) * kPrime;
    }
    std::memcpy(uuid, hashes, sizeof uuid);
    uuid[6] = static_cast<unsigned char>((uuid[6] & 0x0F) | 0x80);
    uuid[8] = static_cast<unsigned char>((uuid[8] & 0x3F) | 0x80);
}

}  // namespace

std::uint32_t BundleWriter::OtherCommandsSize() const {
    std::uint32_t size = sizeof(format::LinkInfoCommand) + sizeof(format::SymbolsCommand) +
                         sizeof(format::DynamicSymbolsCommand) + sizeof(format::UuidCommand) +
                         sizeof(format::OldestSystemCommand);
    for (const Library* library : libraries_) size += LibraryCommandSize(*library);
    return size;
}

void BundleWriter::AddSymbol(const std::string& name, format::Symbol symbol) {
    symbol.nameOffset = static_cast<std::uint32_t>(strings_.size());
    strings_.insert(strings_.end(), name.begin(), name.end());
    strings_.push_back(0);
    symbols_.push_back(symbol);
}

// Local symbols in the order of the object, then exported and imported ones by name.
void BundleWriter::CollectSymbols() {
    strings_ = {0};  // position 0 is for symbols without a name
    std::map<std::string, const Symbol*> exported, imported;
    imported[ZEVA_STUB_BINDER] = nullptr;
    const auto defined = [&](const Symbol& symbol) -> format::Symbol {
        const unsigned scope = symbol.isExported  ? format::kSymbolExternal
                               : symbol.isPrivate ? format::kSymbolPrivate
                                                  : 0u;
        return {.type = static_cast<std::uint8_t>(format::kSymbolInSection | scope),
                .section = static_cast<std::uint8_t>(layout_.OutputOf(symbol.section - 1)->number),
                .description = 0,
                .value = layout_.NewAddress(symbol.section - 1, symbol.value)};
    };
    for (const Symbol& symbol : object_.symbols) {
        if (symbol.kind == Symbol::Kind::kUndefined) imported[std::string(symbol.name)] = &symbol;
        if (symbol.kind != Symbol::Kind::kInSection || layout_.OutputOf(symbol.section - 1) == nullptr) continue;
        if (symbol.isExported) {
            exported[std::string(symbol.name)] = &symbol;
        } else if (!IsTemporary(symbol)) {
            AddSymbol(std::string(symbol.name), defined(symbol));
        }
    }
    localCount_ = static_cast<std::uint32_t>(symbols_.size());
    for (const auto& [name, symbol] : exported) AddSymbol(name, defined(*symbol));
    exportedCount_ = static_cast<std::uint32_t>(exported.size());
    const auto& stubs = layout_.Find(kStubs)->symbols;
    for (const auto& [name, symbol] : imported) {
        if (name == ZEVA_STUB_BINDER && stubs.empty() && symbol == nullptr) continue;
        const auto library = std::find(libraries_.begin(), libraries_.end(), host::macho::LibraryOf(name));
        const auto number = static_cast<std::uint32_t>(library - libraries_.begin()) + 1;
        const bool isLazy = std::find(stubs.begin(), stubs.end(), name) != stubs.end();
        imported_[name] = static_cast<std::uint32_t>(symbols_.size());
        AddSymbol(name, {.type = format::kSymbolUndefined | format::kSymbolExternal,
                         .description = static_cast<std::uint16_t>(number << format::kLibraryShift |
                                                                   (isLazy ? format::kReferredToLazily : 0u))});
    }
    strings_.resize(RoundedUp(static_cast<std::uint32_t>(strings_.size()), 4));
}

// The symbols of all pointers and stubs, by section.
Bytes BundleWriter::IndirectSymbols() {
    Bytes bytes;
    for (const OutputSegment& segment : layout_.segments) {
        for (const std::uint32_t index : segment.sections) {
            for (const std::string& name : layout_.sections[index].symbols) {
                Append(bytes, name.empty() ? format::kIndirectLocal : imported_.at(name));
            }
        }
    }
    return bytes;
}

void BundleWriter::WriteSegments(std::uint32_t linkSize) {
    std::uint32_t indirect = 0;
    for (const OutputSegment& segment : layout_.segments) {
        const bool isLast = &segment == &layout_.segments.back();
        const auto sectionCount = static_cast<std::uint32_t>(segment.sections.size());
        const auto size =
            static_cast<std::uint32_t>(sizeof(format::SegmentCommand) + sectionCount * sizeof(format::Section));
        format::SegmentCommand command = {
            .command = {format::kCommandSegment, size},
            .name = {},
            .address = segment.address,
            .size = isLast ? RoundedUp(linkSize, format::kPageSize) : segment.size,
            .fileOffset = segment.fileOffset,
            .fileSize = isLast ? linkSize : segment.fileSize,
            // What images for this processor have always had: debuggers write breakpoints.
            .maximumProtection = format::kReadable | format::kWritable | format::kExecutable,
            .initialProtection = segment.protection,
            .sectionCount = sectionCount,
            .flags = 0};
        SetName(command.name, segment.name);
        Append(commands_, command);
        ++commandCount_;
        for (const std::uint32_t index : segment.sections) {
            const OutputSection& section = layout_.sections[index];
            const bool isInFile = !IsZeroFilled(section);  // also if it is empty
            const std::size_t comma = section.name.find(',');
            format::Section header = {
                .name = {},
                .segment = {},
                .address = section.address,
                .size = section.size,
                .fileOffset = isInFile ? section.address - segment.address + segment.fileOffset : 0,
                .alignment = static_cast<std::uint32_t>(__builtin_ctz(section.alignment)),
                .relocationOffset = 0,
                .relocationCount = 0,
                .flags = section.flags,
                .indirectSymbol = section.symbols.empty() ? 0 : indirect,
                .stubSize = section.stubSize};
            SetName(header.segment, std::string_view(section.name).substr(0, comma));
            SetName(header.name, std::string_view(section.name).substr(comma + 1));
            Append(commands_, header);
            indirect += static_cast<std::uint32_t>(section.symbols.size());
        }
    }
}

void BundleWriter::WriteLibraries() {
    for (const Library* library : libraries_) {
        const std::size_t begin = commands_.size();
        const std::uint32_t size = LibraryCommandSize(*library);
        // Timestamp 2 stands for none: the loader does not compare it.
        Append(commands_, format::LoadLibraryCommand{.command = {format::kCommandLoadLibrary, size},
                                                     .nameOffset = sizeof(format::LoadLibraryCommand),
                                                     .timestamp = 2,
                                                     .currentVersion = library->version,
                                                     .compatibilityVersion = library->compatibilityVersion});
        commands_.insert(commands_.end(), library->installName.begin(), library->installName.end());
        commands_.resize(begin + size);
        ++commandCount_;
    }
}

Bytes BundleWriter::Write(const LinkInfoBytes& info) {
    CollectSymbols();
    const OutputSegment& link = layout_.segments.back();

    // The segments, each from its offset.
    Bytes file(link.fileOffset);
    for (const OutputSegment& segment : layout_.segments) {
        for (const std::uint32_t index : segment.sections) {
            const OutputSection& section = layout_.sections[index];
            std::copy(
                section.bytes.begin(), section.bytes.end(),
                file.begin() + static_cast<std::ptrdiff_t>(section.address - segment.address + segment.fileOffset));
        }
    }

    // The content of __LINKEDIT.
    Bytes symbols;
    for (const format::Symbol& symbol : symbols_) Append(symbols, symbol);
    const Bytes indirect = IndirectSymbols();
    const std::uint32_t rebaseOffset = AppendPart(file, info.rebase);
    const std::uint32_t bindOffset = AppendPart(file, info.bind);
    const std::uint32_t lazyBindOffset = AppendPart(file, info.lazyBind);
    const std::uint32_t exportOffset = AppendPart(file, info.exports);
    const std::uint32_t symbolOffset = AppendPart(file, symbols);
    const std::uint32_t indirectOffset = AppendPart(file, indirect);
    const std::uint32_t stringOffset = AppendPart(file, strings_);

    const auto sizeOf = [](const Bytes& bytes) { return static_cast<std::uint32_t>(bytes.size()); };
    WriteSegments(sizeOf(file) - link.fileOffset);
    Append(commands_, format::LinkInfoCommand{.command = {format::kCommandLinkInfo, sizeof(format::LinkInfoCommand)},
                                              .rebaseOffset = rebaseOffset,
                                              .rebaseSize = sizeOf(info.rebase),
                                              .bindOffset = bindOffset,
                                              .bindSize = sizeOf(info.bind),
                                              .weakBindOffset = 0,
                                              .weakBindSize = 0,
                                              .lazyBindOffset = lazyBindOffset,
                                              .lazyBindSize = sizeOf(info.lazyBind),
                                              .exportOffset = exportOffset,
                                              .exportSize = sizeOf(info.exports)});
    Append(commands_, format::SymbolsCommand{.command = {format::kCommandSymbols, sizeof(format::SymbolsCommand)},
                                             .symbolOffset = symbolOffset,
                                             .symbolCount = static_cast<std::uint32_t>(symbols_.size()),
                                             .stringOffset = stringOffset,
                                             .stringSize = sizeOf(strings_)});
    const std::uint32_t firstUndefined = localCount_ + exportedCount_;
    Append(commands_, format::DynamicSymbolsCommand{
                          .command = {format::kCommandDynamicSymbols, sizeof(format::DynamicSymbolsCommand)},
                          .firstLocal = 0,
                          .localCount = localCount_,
                          .firstExported = localCount_,
                          .exportedCount = exportedCount_,
                          .firstUndefined = firstUndefined,
                          .undefinedCount = static_cast<std::uint32_t>(symbols_.size()) - firstUndefined,
                          .unused = {},
                          .indirectOffset = indirectOffset,
                          .indirectCount = sizeOf(indirect) / 4,
                          .externalRelocationOffset = 0,
                          .externalRelocationCount = 0,
                          .localRelocationOffset = 0,
                          .localRelocationCount = 0});
    const std::size_t uuidAt = sizeof(format::Header) + commands_.size() + sizeof(format::Command);
    Append(commands_, format::UuidCommand{.command = {format::kCommandUuid, sizeof(format::UuidCommand)}, .uuid = {}});
    Append(commands_,
           format::OldestSystemCommand{.command = {format::kCommandOldestSystem, sizeof(format::OldestSystemCommand)},
                                       .version = host::macho::kOldestSystem,
                                       .interfaceVersion = host::macho::kOldestSystem});
    commandCount_ += 5;
    WriteLibraries();

    Bytes beginning;
    Append(beginning, format::Header{.magic = format::kMagic32,
                                     .cpuType = format::kCpuX86,
                                     .cpuSubtype = format::kCpuX86All,
                                     .fileType = format::kFileTypeBundle,
                                     .commandCount = commandCount_,
                                     .commandsSize = sizeOf(commands_),
                                     .flags = format::kNoUndefinedSymbols | format::kForDynamicLoader |
                                              format::kTwoLevelNamespace});
    beginning.insert(beginning.end(), commands_.begin(), commands_.end());
    std::copy(beginning.begin(), beginning.end(), file.begin());
    unsigned char uuid[16];
    SetUuid(uuid, file);
    std::memcpy(file.data() + uuidAt, uuid, sizeof uuid);
    return file;
}

}  // namespace linker
