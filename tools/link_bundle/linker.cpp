// linker.cpp - the steps of linking.

#include "tools/link_bundle/linker.h"

#include <algorithm>
#include <map>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "host/macho/frame_descriptions.h"
#include "host/macho/imports.h"
#include "host/macho/object_error.h"
#include "host/macho/object_file.h"
#include "tools/link_bundle/bundle_writer.h"
#include "tools/link_bundle/layout.h"
#include "tools/link_bundle/stubs.h"

namespace linker {

namespace {

using host::macho::ObjectError;
using host::macho::ObjectFile;
using host::macho::Relocation;
using host::macho::Section;
using host::macho::Symbol;
namespace format = host::macho::format;

void CheckSymbol(const Symbol& symbol) {
    const std::string what = "symbol " + std::string(symbol.name);
    if (symbol.kind == Symbol::Kind::kAbsolute) throw ObjectError(what, "absolute symbols are not supported");
    if (symbol.kind == Symbol::Kind::kUndefined) {
        if ((symbol.description & format::kWeakReference) != 0) {
            throw ObjectError(what, "weak imports are not supported: every system has what modules may import");
        }
        if (host::macho::LibraryOf(symbol.name) == nullptr) {
            throw ObjectError(what, "it is undefined, and no library that modules may use exports it");
        }
    }
    if (symbol.isExported && (symbol.description & format::kWeakDefinition) != 0) {
        throw ObjectError(what,
                          "it is a weak definition that is exported, which another bundle could replace; hide it");
    }
}

class Linker {
  public:
    explicit Linker(const ObjectFile& object) : object_(object), stubs_(FindStubs()), layout_(object, StubCount()) {}

    Bytes Run() {
        FindLibraries();
        BundleWriter writer(object_, layout_, libraries_);
        layout_.Place(writer.OtherCommandsSize());
        for (std::uint32_t i = 0; i < object_.sections.size(); ++i) {
            if (layout_.OutputOf(i) == nullptr) continue;
            Relocate(i);
            if (object_.sections[i].kind == format::kSymbolPointers) FillPointers(i);
            if (object_.sections[i].name == host::macho::kFrameSection) MoveFramePointers(i);
        }
        LinkInfoBytes info;
        if (!stubs_.empty()) info.lazyBind = WriteStubs();
        info.rebase = EncodeRebases(Places(rebases_));
        info.bind = EncodeBinds(SortedBinds());
        for (const Symbol& symbol : object_.symbols) {
            if (symbol.isExported) exports_[std::string(symbol.name)] = AddressOf(symbol);
        }
        info.exports = EncodeExports(exports_);
        return writer.Write(info);
    }

  private:
    [[noreturn]] static void Refuse(const Section& section, std::uint32_t offset, const std::string& problem) {
        throw ObjectError("section " + section.name, "at " + std::to_string(offset) + ", " + problem);
    }

    const Symbol& SymbolOf(const Section& section, const Relocation& relocation) const {
        if (relocation.target >= object_.symbols.size()) {
            Refuse(section, relocation.offset,
                   "a relocation refers to symbol " + std::to_string(relocation.target) + ", which does not exist");
        }
        return object_.symbols[relocation.target];
    }

    // The undefined functions that code calls, in the order of the object's symbols.
    std::vector<std::string> FindStubs() const {
        std::set<std::uint32_t> called;
        for (const Section& section : object_.sections) {
            for (const Relocation& relocation : section.relocations) {
                if (!relocation.isExternal || !relocation.isRelative) continue;
                if (SymbolOf(section, relocation).kind == Symbol::Kind::kUndefined) called.insert(relocation.target);
            }
        }
        std::vector<std::string> names;
        for (const std::uint32_t index : called) names.emplace_back(object_.symbols[index].name);
        return names;
    }

    std::uint32_t StubCount() const { return static_cast<std::uint32_t>(stubs_.size()); }

    // The libraries of everything that is imported, in the order of the list.
    void FindLibraries() {
        std::set<const host::macho::Library*> used = {host::macho::LibraryOf(ZEVA_STUB_BINDER)};
        for (const Symbol& symbol : object_.symbols) {
            CheckSymbol(symbol);
            if (symbol.kind == Symbol::Kind::kUndefined) used.insert(host::macho::LibraryOf(symbol.name));
        }
        for (const host::macho::Library* library : host::macho::kLibraries) {
            if (used.contains(library)) libraries_.push_back(library);
        }
    }

    Imported ImportOf(std::string_view name) const {
        const auto found = std::find(libraries_.begin(), libraries_.end(), host::macho::LibraryOf(name));
        return {.name = std::string(name), .library = static_cast<std::uint32_t>(found - libraries_.begin()) + 1};
    }

    // The address in the bundle of a symbol of the object.
    std::uint32_t AddressOf(const Symbol& symbol) const {
        if (symbol.kind != Symbol::Kind::kInSection) {
            throw ObjectError("symbol " + std::string(symbol.name), "it has no address");
        }
        return layout_.NewAddress(symbol.section - 1, symbol.value);
    }

    // How far an address of the object has moved, in the section with this index.
    std::uint32_t Moved(std::uint32_t section) const { return layout_.NewAddress(section, 0); }

    // How far the target of a relocation within the object has moved.
    std::uint32_t MovedTarget(const Section& section, const Relocation& relocation) const {
        if (relocation.isScattered) return Moved(layout_.SectionAt(relocation.target));
        if (relocation.target == 0 || relocation.target > object_.sections.size()) {
            Refuse(section, relocation.offset,
                   "a relocation refers to section " + std::to_string(relocation.target) + ", which does not exist");
        }
        return Moved(relocation.target - 1);
    }

    // Changes one place as a vanilla relocation says.
    void RelocateVanilla(const Section& section, std::uint32_t place, std::uint32_t moved,
                         const Relocation& relocation) {
        const std::uint32_t word = layout_.Word(place);
        if (!relocation.isExternal) {
            const std::uint32_t target = MovedTarget(section, relocation);
            layout_.SetWord(place, word + target - (relocation.isRelative ? moved : 0));
            if (!relocation.isRelative) rebases_.insert(place);
            return;
        }
        const Symbol& symbol = SymbolOf(section, relocation);
        if (symbol.kind == Symbol::Kind::kInSection) {
            layout_.SetWord(place, word + AddressOf(symbol) - (relocation.isRelative ? moved : 0));
            if (!relocation.isRelative) rebases_.insert(place);
        } else if (symbol.kind != Symbol::Kind::kUndefined) {
            Refuse(section, relocation.offset, "symbol " + std::string(symbol.name) + " has no address");
        } else if (relocation.isRelative) {
            layout_.SetWord(place, word + StubAddress(symbol.name) - moved);
        } else {
            binds_.push_back({ImportOf(symbol.name), layout_.PlaceOf(place), static_cast<std::int32_t>(word)});
            layout_.SetWord(place, 0);
        }
    }

    std::uint32_t StubAddress(std::string_view name) {
        const auto index = std::find(stubs_.begin(), stubs_.end(), name) - stubs_.begin();
        return layout_.Find(kStubs)->address + static_cast<std::uint32_t>(index) * kStubSize;
    }

    void Relocate(std::uint32_t index) {
        const Section& section = object_.sections[index];
        const std::uint32_t moved = Moved(index);
        for (std::size_t i = 0; i < section.relocations.size(); ++i) {
            const Relocation& relocation = section.relocations[i];
            const std::uint32_t place = layout_.NewAddress(index, section.address + relocation.offset);
            relocated_.insert(place);
            switch (relocation.type) {
                case format::kVanilla:
                    RelocateVanilla(section, place, moved, relocation);
                    break;
                case format::kSectionDifference:
                case format::kLocalSectionDifference: {
                    ++i;
                    if (i == section.relocations.size() || section.relocations[i].type != format::kPair ||
                        !section.relocations[i].isScattered || !relocation.isScattered) {
                        Refuse(section, relocation.offset, "a section difference has no second half");
                    }
                    layout_.SetWord(place, layout_.Word(place) + MovedTarget(section, relocation) -
                                               MovedTarget(section, section.relocations[i]));
                    break;
                }
                default:
                    Refuse(section, relocation.offset,
                           "relocation type " + std::to_string(relocation.type) + " is not supported");
            }
        }
    }

    // Fills a section of pointers to symbols.
    void FillPointers(std::uint32_t index) {
        const Section& section = object_.sections[index];
        OutputSection& output = *layout_.OutputOf(index);
        const std::uint32_t count = section.size / 4;
        const std::size_t known = object_.indirectSymbols.size();
        if (section.indirectSymbol > known || count > known - section.indirectSymbol) {
            throw ObjectError("section " + section.name,
                              "its " + std::to_string(count) + " pointers are not in the indirect symbol table");
        }
        for (std::uint32_t i = 0; i < count; ++i) {
            const std::uint32_t number = object_.indirectSymbols[section.indirectSymbol + i];
            const std::uint32_t place = layout_.NewAddress(index, section.address + 4 * i);
            // A pointer without a symbol has been handled by an ordinary relocation.
            if ((number & (format::kIndirectLocal | format::kIndirectAbsolute)) != 0) {
                output.symbols.emplace_back();
                continue;
            }
            if (number >= object_.symbols.size()) {
                Refuse(section, 4 * i,
                       "a pointer refers to symbol " + std::to_string(number) + ", which does not exist");
            }
            const Symbol& symbol = object_.symbols[number];
            const bool isImported = symbol.kind == Symbol::Kind::kUndefined;
            output.symbols.emplace_back(isImported ? symbol.name : "");
            if (isImported) {
                layout_.SetWord(place, 0);
                binds_.push_back({ImportOf(symbol.name), layout_.PlaceOf(place), 0});
            } else {
                layout_.SetWord(place, AddressOf(symbol));
                rebases_.insert(place);
            }
        }
    }

    // The pointers in frame descriptions have no relocations, except those to pointers to symbols.
    void MoveFramePointers(std::uint32_t index) {
        const Section& section = object_.sections[index];
        const std::uint32_t moved = Moved(index);
        for (const host::macho::FramePointer& pointer : host::macho::ReadFrames(section.bytes).pointers) {
            const std::uint32_t from = section.address + pointer.offset;
            const std::uint32_t place = layout_.NewAddress(index, from);
            const std::uint32_t word = layout_.Word(place);
            if (relocated_.contains(place) || word == 0) continue;
            if (!pointer.isRelative) Refuse(section, pointer.offset, "an address has no relocation");
            layout_.SetWord(place, word + Moved(layout_.SectionAt(from + word)) - moved);
        }
    }

    // Writes the code and the pointers of the stubs. Returns the program that binds them.
    Bytes WriteStubs() {
        OutputSection& pointers = *layout_.Find(kPointers);
        const std::uint32_t binder = pointers.End() - 4;
        pointers.symbols.emplace_back(ZEVA_STUB_BINDER);
        binds_.push_back({ImportOf(ZEVA_STUB_BINDER), layout_.PlaceOf(binder), 0});
        WriteCommonHelper(layout_, binder);
        Bytes program;
        const std::uint32_t lazy = layout_.Find(kLazyPointers)->address;
        for (std::uint32_t i = 0; i < StubCount(); ++i) {
            const std::uint32_t pointer = lazy + 4 * i;
            WriteStub(layout_, i, static_cast<std::uint32_t>(program.size()));
            rebases_.insert(pointer);
            const Bytes part = EncodeLazyBind(ImportOf(stubs_[i]), layout_.PlaceOf(pointer));
            program.insert(program.end(), part.begin(), part.end());
        }
        layout_.Find(kStubs)->symbols = stubs_;
        layout_.Find(kLazyPointers)->symbols = stubs_;
        return program;
    }

    std::vector<Place> Places(const std::set<std::uint32_t>& addresses) const {
        std::vector<Place> places;
        for (const std::uint32_t address : addresses) places.push_back(layout_.PlaceOf(address));
        return places;
    }

    std::vector<BoundPlace> SortedBinds() const {
        std::vector<BoundPlace> binds = binds_;
        std::sort(binds.begin(), binds.end(), [](const BoundPlace& one, const BoundPlace& other) {
            return std::tie(one.symbol.name, one.place) < std::tie(other.symbol.name, other.place);
        });
        return binds;
    }

    const ObjectFile& object_;
    std::vector<std::string> stubs_;  // the names of their functions
    Layout layout_;
    std::vector<const host::macho::Library*> libraries_;
    std::set<std::uint32_t> relocated_;  // addresses that a relocation changed
    std::set<std::uint32_t> rebases_;    // addresses
    std::vector<BoundPlace> binds_;
    std::map<std::string, std::uint32_t> exports_;
};

}  // namespace

Bytes Link(std::span<const unsigned char> file) {
    const ObjectFile object = host::macho::ReadObject(file);
    if (object.isBundle) throw ObjectError("header", "the file is a bundle, so it is linked already");
    return Linker(object).Run();
}

}  // namespace linker
