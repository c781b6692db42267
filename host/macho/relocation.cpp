// relocation.cpp - relocations of 32-bit x86 objects.
//
//   type                         action
//   vanilla, local, absolute     add the load address
//   vanilla, local, relative     none: code and target are moved together
//   vanilla, external            add the address of the symbol; if relative, subtract the load address
//   section difference, pair     none: it is a distance within the image

#include "host/macho/relocation.h"

#include "host/macho/binding.h"
#include "host/macho/object_error.h"

namespace host::macho {

namespace {

// The addresses in this process of an object's symbols. Each one is looked up on first use.
class Symbols {
  public:
    Symbols(const ObjectFile& object, const Image& image)
        : object_(object), base_(image.Base()), addresses_(object.symbols.size()) {}

    std::uint32_t operator[](std::uint32_t index) {
        if (index >= addresses_.size()) throw ObjectError("relocation", "there is no symbol " + std::to_string(index));
        const Symbol& symbol = object_.symbols[index];
        switch (symbol.kind) {
            case Symbol::Kind::kInSection:
                return base_ + symbol.value;
            case Symbol::Kind::kAbsolute:
                return symbol.value;
            case Symbol::Kind::kUndefined:
                if (addresses_[index] == 0) addresses_[index] = AddressOf(symbol.name);
                return addresses_[index];
            case Symbol::Kind::kDebug:
                break;
        }
        throw ObjectError("symbol " + std::string(symbol.name), "it has no address");
    }

  private:
    const ObjectFile& object_;
    std::uint32_t base_;
    std::vector<std::uint32_t> addresses_;
};

// The value that a vanilla relocation adds.
std::uint32_t Change(const Relocation& relocation, const Section& section, const ObjectFile& object, const Image& image,
                     Symbols& symbols) {
    if (relocation.isExternal) {
        return symbols[relocation.target] - (relocation.isRelative ? image.Base() : 0);
    }
    const bool isAbsolute = !relocation.isScattered && relocation.target == 0;
    if (!relocation.isScattered && relocation.target > object.sections.size()) {
        throw ObjectError("section " + section.name, "a relocation refers to section " +
                                                         std::to_string(relocation.target) + ", which does not exist");
    }
    if (relocation.isRelative) return isAbsolute ? 0 - image.Base() : 0;
    return isAbsolute ? 0 : image.Base();
}

void RelocateSection(const Section& section, const ObjectFile& object, const Image& image, Symbols& symbols) {
    const std::string what = "section " + section.name;
    const auto& relocations = section.relocations;
    for (std::size_t i = 0; i < relocations.size(); ++i) {
        const Relocation& relocation = relocations[i];
        const std::uint32_t address = section.address + relocation.offset;
        switch (relocation.type) {
            case format::kVanilla:
                image.SetWord(address, image.Word(address) + Change(relocation, section, object, image, symbols));
                break;
            case format::kSectionDifference:
            case format::kLocalSectionDifference:
                ++i;
                if (i == relocations.size() || relocations[i].type != format::kPair) {
                    throw ObjectError(what, "a section difference has no second half");
                }
                break;
            default:
                throw ObjectError(what, "relocation " + std::to_string(i) + " has the unknown type " +
                                            std::to_string(relocation.type));
        }
    }
}

// Fills a section that consists of pointers to symbols.
void FillPointers(const Section& section, const ObjectFile& object, const Image& image, Symbols& symbols) {
    const std::uint32_t count = static_cast<std::uint32_t>(section.bytes.size()) / 4;
    const std::size_t known = object.indirectSymbols.size();
    if (section.indirectSymbol > known || count > known - section.indirectSymbol) {
        throw ObjectError("section " + section.name,
                          "its " + std::to_string(count) + " pointers are not in the indirect symbol table");
    }
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::uint32_t symbol = object.indirectSymbols[section.indirectSymbol + i];
        // A pointer without a symbol is handled by an ordinary relocation.
        if ((symbol & (format::kIndirectLocal | format::kIndirectAbsolute)) != 0) continue;
        image.SetWord(section.address + 4 * i, symbols[symbol]);
    }
}

}  // namespace

void Relocate(const ObjectFile& object, const Image& image) {
    Symbols symbols(object, image);
    // Look up all undefined symbols, even unused ones: an object lists the classes that it needs in this way.
    for (std::uint32_t i = 0; i < object.symbols.size(); ++i) {
        if (object.symbols[i].kind == Symbol::Kind::kUndefined) symbols[i];
    }
    for (const Section& section : object.sections) {
        RelocateSection(section, object, image, symbols);
        if (section.kind == format::kSymbolPointers) FillPointers(section, object, image, symbols);
    }
}

}  // namespace host::macho
