// damaged_bundle_test.cpp - damaged bundles: the loader refuses each with a reason, and none crashes the process.
//
// What a bundle has in common with an object is tested in damaged_object_test.cpp, and what its programs of opcodes may
// do in link_info_test.cpp.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/macos/damaged_object.h"

namespace {

namespace format = host::macho::format;

class DamagedBundleTest : public testing::Test, protected DamagedObject {
  protected:
    DamagedBundleTest() : DamagedObject(ZEVA_TINY_BUNDLE) {}

    static std::string Text(std::uint64_t number) { return std::to_string(number); }

    // The refusal when a command's size is smaller than its structure.
    std::string RefusalOfShort(std::uint32_t kind) {
        auto& command = At<format::Command>(CommandAt(kind));
        const std::uint32_t size = std::exchange(command.size, 8);
        const std::string refusal = Refusal();
        command.size = size;
        return refusal.substr(refusal.find(':') + 2);
    }
};

TEST_F(DamagedBundleTest, LoadsWhenUndamaged) { EXPECT_EQ(Refusal(), ""); }

TEST_F(DamagedBundleTest, RefusesTheFileTruncatedToAnyLength) {
    const std::vector<unsigned char> whole = file;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        file.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        ASSERT_NE(Refusal(), "") << length;
    }
}

TEST_F(DamagedBundleTest, RefusesLoadCommandsThatEndEarly) {
    const std::uint32_t size = std::exchange(Header().commandsSize, 0);
    for (std::uint32_t at = 0; at < size; at += At<format::Command>(sizeof(format::Header) + at).size) {
        Header().commandsSize = at;
        EXPECT_NE(Refusal().find("load command"), std::string::npos) << at << ": " << Refusal();
        Header().commandsSize = at + 4;
        EXPECT_NE(Refusal().find("load command"), std::string::npos) << at << ": " << Refusal();
    }
}

TEST_F(DamagedBundleTest, RefusesLoadCommandsThatAreTooShort) {
    EXPECT_EQ(RefusalOfShort(format::kCommandSegment), "6 sections do not fit their load command");
    EXPECT_EQ(RefusalOfShort(format::kCommandLinkInfo), "its 8 bytes are too few, it needs 48");
    EXPECT_EQ(RefusalOfShort(format::kCommandSymbols), "its 8 bytes are too few, it needs 24");
    EXPECT_EQ(RefusalOfShort(format::kCommandDynamicSymbols), "its 8 bytes are too few, it needs 80");
    EXPECT_EQ(RefusalOfShort(format::kCommandLoadLibrary), "its 8 bytes are too few, it needs 24");
}

TEST_F(DamagedBundleTest, RefusesSegmentsThatOverlapOrLeaveGaps) {
    auto& data = Segment("__DATA");
    const std::uint32_t address = data.address;
    data.address -= format::kPageSize;
    EXPECT_EQ(Refusal(), "segment __DATA: it begins at address " + Text(address - format::kPageSize) +
                             ", but the previous one ends at " + Text(address));
    data.address += 2 * format::kPageSize;
    EXPECT_EQ(Refusal(), "segment __DATA: it begins at address " + Text(address + format::kPageSize) +
                             ", but the previous one ends at " + Text(address));
    data.address = address;
    Segment("__TEXT").address = format::kPageSize;
    EXPECT_EQ(Refusal(), "segment __TEXT: it begins at address 4096, but the previous one ends at 0");
}

TEST_F(DamagedBundleTest, RefusesSegmentsThatAreNotWholePagesOrTooLarge) {
    auto& data = Segment("__DATA");
    const format::SegmentCommand right = data;
    data.size -= 1;
    EXPECT_EQ(Refusal(), "segment __DATA: it does not begin and end with a page");
    data = right;
    data.fileOffset += 4;
    EXPECT_EQ(Refusal(), "segment __DATA: it does not begin and end with a page");
    data = right;
    data.fileSize = data.size + 1;
    EXPECT_EQ(Refusal(), "segment __DATA: its " + Text(right.size + 1) + " bytes in the file need more than its " +
                             Text(right.size) + " bytes of memory");
    data.size = 0xFFFFF000;
    EXPECT_EQ(Refusal(), "segment: it needs 4294963200 bytes, but the limit is 67108864");
    data = right;
    Segment("__TEXT").fileOffset = format::kPageSize;
    EXPECT_EQ(Refusal(), "segment __TEXT: it does not begin with the header");
    Segment("__TEXT").fileOffset = 0;
    Segment("__LINKEDIT").fileOffset += format::kPageSize;
    EXPECT_NE(Refusal().find("are beyond the file's end"), std::string::npos) << Refusal();
}

TEST_F(DamagedBundleTest, RefusesAccessRightsThatNoMemoryHasHere) {
    auto& text = Segment("__TEXT");
    for (const std::uint32_t rights : {0u, 2u, 4u, 6u, 7u, 13u}) {
        text.initialProtection = rights;
        EXPECT_EQ(Refusal(), "segment __TEXT: access rights " + Text(rights) + " of at most 7 are not supported");
    }
    text.initialProtection = 5;
    text.maximumProtection = 3;
    EXPECT_EQ(Refusal(), "segment __TEXT: access rights 5 of at most 3 are not supported");
}

TEST_F(DamagedBundleTest, RefusesSectionsThatAreNotWhatTheirSegmentHas) {
    auto& strings = Section("__TEXT,__cstring");
    const format::Section right = strings;
    const std::string elsewhere =
        "section __TEXT,__cstring: its bytes are not those that its segment has at its address";
    strings.fileOffset += 4;
    EXPECT_EQ(Refusal(), elsewhere);
    strings = right;
    strings.address = 0;
    strings.fileOffset = 0;
    strings.alignment = 0;
    EXPECT_EQ(Refusal(), "section __TEXT,__cstring: it overlaps the load commands");
    strings = right;
    Segment("__TEXT").fileSize = 0x100;
    EXPECT_NE(Refusal().find("its bytes are not those that its segment has at its address"), std::string::npos);
}

TEST_F(DamagedBundleTest, RefusesRelocations) {
    Section("__TEXT,__text").relocationCount = 1;
    EXPECT_EQ(Refusal(), "section __TEXT,__text: it has relocations, but it is linked already");
    Section("__TEXT,__text").relocationCount = 0;
    DynamicSymbols().localRelocationCount = 1;
    EXPECT_EQ(Refusal(), "dynamic symbols: bundles with relocations are not supported, only with link information");
    DynamicSymbols().localRelocationCount = 0;
    DynamicSymbols().externalRelocationCount = 1;
    EXPECT_EQ(Refusal(), "dynamic symbols: bundles with relocations are not supported, only with link information");
}

TEST_F(DamagedBundleTest, RefusesCommandsThatItMustKnow) {
    auto& command = At<format::Command>(CommandAt(format::kCommandUuid));
    command.kind = 40 | format::kCommandIsRequired;
    EXPECT_NE(Refusal().find(": loaders must know its kind, 40, but this one does not"), std::string::npos);
    command.kind = 40;
    EXPECT_EQ(Refusal(), "");
}

TEST_F(DamagedBundleTest, RefusesLibrariesThatDoNotExistAndNamesThatDoNotEnd) {
    auto& library = FirstLibrary();
    char* name = &At<char>(CommandAt(format::kCommandLoadLibrary) + library.nameOffset);
    name[0] = '!';
    EXPECT_EQ(Refusal(), "library !usr/lib/libSystem.B.dylib: it does not exist here");
    name[0] = '/';
    const std::uint32_t offset = std::exchange(library.nameOffset, library.command.size);
    EXPECT_EQ(Refusal(), "library: its name does not begin and end in its load command");
    library.nameOffset = 8;
    EXPECT_EQ(Refusal(), "library: its name does not begin and end in its load command");
    library.nameOffset = offset;
    std::memset(name, 'x', library.command.size - offset);
    EXPECT_EQ(Refusal(), "library: its name does not begin and end in its load command");
}

TEST_F(DamagedBundleTest, RefusesSymbolsOfAnotherLibraryAndUnknownOnes) {
    const unsigned char strlenName[] = "_strlen";
    const auto begin = file.begin() + LinkInfo().lazyBindOffset;
    const auto found =
        std::search(begin, begin + LinkInfo().lazyBindSize, std::begin(strlenName), std::end(strlenName));
    const auto at = static_cast<std::size_t>(found - file.begin());
    ++file[at - 2];  // the library, before the opcode of the name
    EXPECT_EQ(Refusal(),
              "symbol _strlen: it is a symbol of /usr/lib/libSystem.B.dylib, not of /usr/lib/libobjc.A.dylib");
    --file[at - 2];
    std::memcpy(&file[at], "_system", 7);
    EXPECT_EQ(Refusal(), "symbol _system: it is undefined, and modules have no access to a function with this name");
}

TEST_F(DamagedBundleTest, RefusesClassesThatDoNotExistByName) {
    const std::string name = "NSNumber";
    const auto found = std::search(file.begin(), file.begin() + Segment("__DATA").fileOffset, name.begin(), name.end());
    *found = 'X';
    EXPECT_EQ(Refusal(), "class XSNumber: no class with this name exists here");
}

TEST_F(DamagedBundleTest, RefusesLinkInformationOutsideTheFileAndWeakSymbols) {
    const format::LinkInfoCommand right = LinkInfo();
    LinkInfo().rebaseSize = 0x7FFFFFFF;
    EXPECT_NE(Refusal().find("rebase information: bytes "), std::string::npos) << Refusal();
    LinkInfo() = right;
    LinkInfo().bindOffset = 0xFFFFFFFF;
    EXPECT_NE(Refusal().find("bind information: bytes 4294967295 to "), std::string::npos) << Refusal();
    LinkInfo() = right;
    LinkInfo().lazyBindOffset = static_cast<std::uint32_t>(file.size());
    EXPECT_NE(Refusal().find("lazy bind information: bytes "), std::string::npos) << Refusal();
    LinkInfo() = right;
    LinkInfo().exportSize = static_cast<std::uint32_t>(file.size());
    EXPECT_NE(Refusal().find("exports: bytes "), std::string::npos) << Refusal();
    LinkInfo() = right;
    LinkInfo().weakBindSize = 1;
    EXPECT_EQ(Refusal(), "link information: weak symbols are not supported");
}

// Without the programs of opcodes, addresses stay those of the file, and the runtime's tables do not point to names.
TEST_F(DamagedBundleTest, RefusesABundleWhoseAddressesAreNotAdjusted) {
    LinkInfo().rebaseSize = 0;
    EXPECT_EQ(Refusal(), "section __OBJC,__message_refs: pointer 0 does not point to a name");
}

// Changes random bytes: of the header and the load commands, of the link information, or anywhere.
TEST_F(DamagedBundleTest, RandomDamageNeverCrashes) {
    const std::vector<unsigned char> whole = file;
    const std::size_t commands = sizeof(format::Header) + Header().commandsSize;
    const std::size_t linkBegin = LinkInfo().rebaseOffset;
    const std::size_t linkSize = LinkInfo().exportOffset + LinkInfo().exportSize - linkBegin;
    const std::pair<std::size_t, std::size_t> ranges[] = {{0, commands}, {linkBegin, linkSize}, {0, file.size()}};
    std::mt19937 random(1);
    int refused = 0, loaded = 0;
    for (int run = 0; run < 3000; ++run) {
        file = whole;
        const auto [begin, size] = ranges[run % 3];
        for (unsigned change = random() % 4 + 1; change > 0; --change) {
            file[begin + random() % size] = static_cast<unsigned char>(random() % 3 == 0 ? 0xFF : random());
        }
        ++(Refusal().empty() ? loaded : refused);
    }
    EXPECT_GT(refused, 1000);
    EXPECT_GT(loaded, 100);
}

}  // namespace
