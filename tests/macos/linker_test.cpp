// linker_test.cpp - what the linker refuses, by name, and that the same object gives the same bundle.

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "host/macho/object_error.h"
#include "host/macho/object_file.h"
#include "tests/macos/damaged_object.h"
#include "tools/link_bundle/linker.h"

namespace {

namespace format = host::macho::format;

class LinkerTest : public testing::Test, protected DamagedObject {
  protected:
    static constexpr const char* kText = "__TEXT,__text";

    // The reason why the object cannot be linked; empty if it can.
    std::string Problem() const {
        try {
            static_cast<void>(linker::Link(file));
        } catch (const host::macho::ObjectError& error) {
            return error.what();
        }
        return "";
    }

    static std::uint32_t Offset(const format::Relocation& relocation) {
        return (relocation.first & format::kScattered) != 0 ? relocation.first & 0xFFFFFF : relocation.first;
    }

    // The index of the first relocation of this type in a section.
    std::size_t FirstOfType(const char* section, std::uint32_t type) {
        for (std::size_t i = 0;; ++i) {
            const format::Relocation& relocation = Relocation(section, i);
            const bool isScattered = (relocation.first & format::kScattered) != 0;
            if ((isScattered ? relocation.first >> 24 & 0xF : relocation.second >> 28) == type) return i;
        }
    }
};

TEST_F(LinkerTest, LinksTheSameObjectToTheSameBytes) {
    EXPECT_EQ(linker::Link(file), linker::Link(file));
    EXPECT_EQ(linker::Link(file), DamagedObject(ZEVA_TINY_BUNDLE).file);
}

TEST_F(LinkerTest, IdentifierDependsOnTheContentOnly) {
    const auto uuidOf = [](std::vector<unsigned char> bundle) {
        DamagedObject object;
        object.file = std::move(bundle);
        unsigned char uuid[16];
        std::memcpy(uuid, &object.At<format::UuidCommand>(object.CommandAt(format::kCommandUuid)).uuid, sizeof uuid);
        return std::vector<unsigned char>(uuid, uuid + sizeof uuid);
    };
    const std::vector<unsigned char> first = uuidOf(linker::Link(file));
    EXPECT_EQ(uuidOf(linker::Link(file)), first);
    EXPECT_EQ(first[6] >> 4, 8);
    EXPECT_EQ(first[8] >> 6, 2);
    Bytes("__TEXT,__cstring")[0] ^= 1;
    const std::vector<unsigned char> other = uuidOf(linker::Link(file));
    EXPECT_NE(other, first);
    EXPECT_FALSE(std::equal(first.begin(), first.begin() + 6, other.begin()));
    EXPECT_FALSE(std::equal(first.begin() + 9, first.end(), other.begin() + 9));
}

TEST_F(LinkerTest, RefusesFilesThatAreNotObjects) {
    EXPECT_EQ(Problem(), "");
    file = linker::Link(file);
    EXPECT_EQ(Problem(), "header: the file is a bundle, so it is linked already");
    Header().cpuType = 18;
    EXPECT_EQ(Problem(), "header: the code is for processor 18, not for x86 (7)");
}

TEST_F(LinkerTest, RefusesImportsThatNoLibraryHasByName) {
    std::memcpy(NameOf("_strlen"), "_system", 7);
    EXPECT_EQ(Problem(), "symbol _system: it is undefined, and no library that modules may use exports it");
    std::memcpy(NameOf("_system"), "_strlen", 7);
    std::memcpy(NameOf(".objc_class_name_NSNumber"), ".objc_class_name_NSTwelve", 25);
    EXPECT_EQ(Problem(),
              "symbol .objc_class_name_NSTwelve: it is undefined, and no library that modules may use exports it");
}

TEST_F(LinkerTest, RefusesWeakCommonAndAbsoluteSymbolsByName) {
    Symbol("_strlen").description |= format::kWeakReference;
    EXPECT_EQ(Problem(), "symbol _strlen: weak imports are not supported: every system has what modules may import");
    Symbol("_strlen").description = 0;
    Symbol("_strlen").value = 16;
    EXPECT_EQ(Problem(), "symbol _strlen: common symbols are not supported");
    Symbol("_strlen").value = 0;
    auto& symbol = Symbol("_TinyCount");
    const format::Symbol right = symbol;
    symbol.description |= format::kWeakDefinition;
    EXPECT_EQ(
        Problem(),
        "symbol _TinyCount: it is a weak definition that is exported, which another bundle could replace; hide it");
    symbol = right;
    symbol.type = format::kSymbolExternal | format::kSymbolAbsolute;
    EXPECT_EQ(Problem(), "symbol _TinyCount: absolute symbols are not supported");
}

TEST_F(LinkerTest, RefusesSectionsOfOtherKindsAndSegmentsByName) {
    auto& section = Section("__OBJC,__image_info");
    const format::Section right = section;
    section.flags = 9;  // functions that run at load
    EXPECT_EQ(Problem(), "section __OBJC,__image_info: section kind 9 is not supported");
    section = right;
    std::memcpy(section.segment, "__DWARF", 8);
    EXPECT_EQ(Problem(), "section __DWARF,__image_info: bundles have no segment __DWARF");
    section = right;
    Section(kText).flags |= 0x10000000;
    EXPECT_EQ(Problem(), "section __TEXT,__text: its kind or attributes are not supported");
}

TEST_F(LinkerTest, RefusesFunctionsWithoutFrameDescription) {
    const std::uint32_t functions = Section("__LD,__compact_unwind").size / 20;
    Section("__TEXT,__eh_frame").size = 0;
    Section("__TEXT,__eh_frame").relocationCount = 0;
    EXPECT_EQ(Problem(), "section __LD,__compact_unwind: " + std::to_string(functions) + " of its " +
                             std::to_string(functions) + " functions have no frame description");
}

TEST_F(LinkerTest, RefusesAddressesInCodeBecauseLoadersWouldHaveToWriteThere) {
    auto& relocation = Relocation(kText, FirstOfType(kText, format::kVanilla));
    relocation.second &= ~(1u << 24);  // no longer relative
    EXPECT_NE(Problem().find("which a loader would have to write; code must not depend on its address"),
              std::string::npos)
        << Problem();
}

TEST_F(LinkerTest, RefusesRelocationsThatItDoesNotKnow) {
    const std::size_t plain = FirstOfType(kText, format::kVanilla);
    const format::Relocation right = Relocation(kText, plain);
    const std::string place = "section __TEXT,__text: at " + std::to_string(Offset(right)) + ", ";
    Relocation(kText, plain).second |= 5u << 28;
    EXPECT_EQ(Problem(), place + "relocation type 5 is not supported");
    Relocation(kText, plain) = right;
    Relocation(kText, plain).second |= 0xFFFFFF;
    EXPECT_EQ(Problem(), place + "a relocation refers to symbol 16777215, which does not exist");
    Relocation(kText, plain).second &= ~(1u << 27);
    EXPECT_EQ(Problem(), place + "a relocation refers to section 16777215, which does not exist");
    Relocation(kText, plain) = right;
    const std::size_t number = FirstOfType(kText, format::kLocalSectionDifference);
    auto& pair = Relocation(kText, number + 1);
    pair.first ^= format::kPair << 24;
    EXPECT_EQ(Problem(), "section __TEXT,__text: at " + std::to_string(Offset(Relocation(kText, number))) +
                             ", a section difference has no second half");
    pair.first ^= format::kPair << 24;
    pair.second = 0x7FFFFFFF;
    EXPECT_EQ(Problem(), "address 2147483647: it lies outside all sections");
}

TEST_F(LinkerTest, RefusesPointersWithoutSymbol) {
    DynamicSymbols().indirectCount = 0;
    EXPECT_EQ(Problem(), "section __IMPORT,__pointers: its 1 pointers are not in the indirect symbol table");
    DynamicSymbols().indirectCount = 1;
    At<std::uint32_t>(DynamicSymbols().indirectOffset) = 0xFFFF;
    EXPECT_EQ(Problem(), "section __IMPORT,__pointers: at 0, a pointer refers to symbol 65535, which does not exist");
}

TEST_F(LinkerTest, RefusesAPointerToASymbolForDebuggers) {
    DynamicSymbols().indirectCount = 1;
    const std::uint32_t debug = 0;  // to which no relocation refers
    At<std::uint32_t>(DynamicSymbols().indirectOffset) = debug;
    auto& symbol = At<format::Symbol>(Symbols().symbolOffset + debug * sizeof(format::Symbol));
    symbol.type |= format::kSymbolDebug;
    symbol.section = 0;
    const auto* name = reinterpret_cast<const char*>(file.data()) + Symbols().stringOffset + symbol.nameOffset;
    EXPECT_EQ(Problem(), "symbol " + std::string(name) + ": it has no address");
}

TEST_F(LinkerTest, AnEmptySectionHasItsPlaceInTheFile) {
    Section("__OBJC,__image_info").size = 0;
    const std::vector<unsigned char> bundle = linker::Link(file);
    EXPECT_NO_THROW(static_cast<void>(host::macho::ReadObject(bundle)));
}

TEST_F(LinkerTest, RandomDamageNeverCrashes) {
    const std::vector<unsigned char> whole = file;
    std::mt19937 random(1);
    int refused = 0, linked = 0;
    for (int run = 0; run < 1000; ++run) {
        file = whole;
        const std::size_t range = run % 2 == 0 ? sizeof(format::Header) + Header().commandsSize : file.size();
        for (unsigned change = random() % 4 + 1; change > 0; --change) {
            file[random() % range] = static_cast<unsigned char>(random() % 3 == 0 ? 0xFF : random());
        }
        ++(Problem().empty() ? linked : refused);
    }
    EXPECT_GT(refused, 200);
    EXPECT_GT(linked, 50);
}

}  // namespace
