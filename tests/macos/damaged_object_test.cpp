// damaged_object_test.cpp - damaged files: the loader refuses each with a reason, and none crashes the process.

#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "tests/macos/damaged_object.h"

namespace {

namespace format = host::macho::format;

class DamagedObjectTest : public testing::Test, protected DamagedObject {
  protected:
    static constexpr const char* kText = "__TEXT,__text";
    static constexpr const char* kFrames = "__TEXT,__eh_frame";

    // A number in the form that messages use.
    static std::string Text(std::uint64_t number) { return std::to_string(number); }

    // The index of the first relocation of this type in a section.
    std::size_t FirstOfType(const char* section, std::uint32_t type) {
        for (std::size_t i = 0;; ++i) {
            const format::Relocation& relocation = Relocation(section, i);
            const bool isScattered = (relocation.first & format::kScattered) != 0;
            if ((isScattered ? relocation.first >> 24 & 0xF : relocation.second >> 28) == type) return i;
        }
    }
};

TEST_F(DamagedObjectTest, LoadsWhenUndamaged) { EXPECT_EQ(Refusal(), ""); }

TEST_F(DamagedObjectTest, RefusesTheFileTruncatedToAnyLength) {
    const std::vector<unsigned char> whole = file;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        file.assign(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(length));
        ASSERT_NE(Refusal(), "") << length;
    }
    file.assign(whole.begin(), whole.begin() + 100);
    EXPECT_EQ(Refusal(),
              "load commands: bytes 28 to " + Text(28 + Header().commandsSize) + " are beyond the file's end at 100");
}

TEST_F(DamagedObjectTest, RefusesCodeForAnotherMachine) {
    Header().cpuType = 18;
    EXPECT_EQ(Refusal(), "header: the code is for processor 18, not for x86 (7)");
    Header().magic = format::kMagic64;
    EXPECT_EQ(Refusal(), "header: the code is 64 bits wide, not 32");
    Header().magic = 0xCEFAEDFE;
    EXPECT_EQ(Refusal(), "header: it does not begin like object code");
}

TEST_F(DamagedObjectTest, RefusesAnotherFileType) {
    Header().fileType = 6;
    EXPECT_EQ(Refusal(), "header: file type 6 is neither an object file (1) nor a bundle (8)");
}

TEST_F(DamagedObjectTest, RefusesLoadCommandsThatDoNotFit) {
    Segment().command.size = 4;
    EXPECT_EQ(Refusal(), "load command 1: its 4 bytes do not fit the load commands");
    Segment().command.size = Header().commandsSize + 1;
    EXPECT_EQ(Refusal(),
              "load command 1: its " + Text(Header().commandsSize + 1) + " bytes do not fit the load commands");
    Header().commandCount = 0;
    EXPECT_EQ(Refusal(), "segment: the file has none, so it contains no code");
}

TEST_F(DamagedObjectTest, RefusesMoreSectionsThanTheSegmentHasRoomFor) {
    Segment().sectionCount = 0x4000000;
    EXPECT_EQ(Refusal(), "segment: 67108864 sections do not fit their load command");
}

TEST_F(DamagedObjectTest, RefusesHugeSegmentsAndSegmentsNotAtZero) {
    const std::uint32_t size = std::exchange(Segment().size, 0xFFFFFFFF);
    EXPECT_EQ(Refusal(), "segment: it needs 4294967295 bytes, but the limit is 67108864");
    Segment().size = size;
    Segment().address = 16;
    EXPECT_EQ(Refusal(), "segment: it does not begin at address 0");
}

TEST_F(DamagedObjectTest, RefusesSectionsOutsideTheSegmentOrTheFile) {
    const std::uint32_t size = std::exchange(Section(kText).size, 0xFFFFFFF0);
    EXPECT_EQ(Refusal(), "section __TEXT,__text: its 4294967280 bytes at 0 lie outside the segment");
    Section(kText).size = size;
    Section(kText).fileOffset = 0xFFFFFFFF;
    EXPECT_EQ(Refusal(), "section __TEXT,__text: bytes 4294967295 to " + Text(0xFFFFFFFFull + size) +
                             " are beyond the file's end at " + Text(file.size()));
}

TEST_F(DamagedObjectTest, RefusesSectionsOfUnknownKindWrongAlignmentOrThatOverlap) {
    const std::uint32_t flags = std::exchange(Section(kText).flags, 17);
    EXPECT_EQ(Refusal(), "section __TEXT,__text: section kind 17 is not supported");
    Section(kText).flags = flags;
    const std::uint32_t alignment = std::exchange(Section("__DATA,__data").alignment, 13);
    EXPECT_EQ(Refusal(), "section __DATA,__data: it is not aligned to 2^13");
    Section("__DATA,__data").alignment = alignment;
    Section("__OBJC,__cls_refs").address = Section("__OBJC,__message_refs").address;
    EXPECT_NE(Refusal().find("it overlaps section __OBJC,__"), std::string::npos) << Refusal();
}

TEST_F(DamagedObjectTest, RefusesDataAndCodeThatShareAPage) {
    Section(kFrames).flags |= format::kSomeInstructions;
    EXPECT_NE(Refusal().find("so they would share a page"), std::string::npos) << Refusal();
}

TEST_F(DamagedObjectTest, RefusesRelocationsOfUnknownType) {
    const std::size_t number = FirstOfType(kText, format::kVanilla);
    Relocation(kText, number).second |= 5u << 28;
    EXPECT_EQ(Refusal(), "section __TEXT,__text: relocation " + Text(number) + " has the unknown type 5");
}

TEST_F(DamagedObjectTest, RefusesRelocationsOutsideTheirSection) {
    const std::size_t number = FirstOfType(kText, format::kVanilla);
    Relocation(kText, number).first = Section(kText).size - 3;
    EXPECT_EQ(Refusal(), "section __TEXT,__text: a relocation at " + Text(Section(kText).size - 3) +
                             " lies outside its " + Text(Section(kText).size) + " bytes");
}

TEST_F(DamagedObjectTest, RefusesRelocationsOfAnotherWidth) {
    Relocation(kText, FirstOfType(kText, format::kVanilla)).second ^= 3u << 25;
    EXPECT_EQ(Refusal(), "section __TEXT,__text: a relocation does not change 4 bytes");
}

TEST_F(DamagedObjectTest, RefusesRelocationsToUnknownSymbolsOrSections) {
    auto& relocation = Relocation(kText, FirstOfType(kText, format::kVanilla));
    relocation.second |= 0xFFFFFF;
    EXPECT_EQ(Refusal(), "relocation: there is no symbol 16777215");
    relocation.second &= ~(1u << 27);
    EXPECT_EQ(Refusal(), "section __TEXT,__text: a relocation refers to section 16777215, which does not exist");
}

TEST_F(DamagedObjectTest, RefusesIncompletePairs) {
    const std::size_t number = FirstOfType(kText, format::kLocalSectionDifference);
    Relocation(kText, number + 1).first ^= format::kPair << 24;
    EXPECT_EQ(Refusal(), "section __TEXT,__text: a section difference has no second half");
    Relocation(kText, number).first ^= (format::kPair ^ format::kLocalSectionDifference) << 24;
    EXPECT_EQ(Refusal(), "section __TEXT,__text: relocation " + Text(number) + " has the unknown type 1");
}

TEST_F(DamagedObjectTest, RefusesFunctionsThatAreNotOnTheListByName) {
    std::memcpy(NameOf("_strlen"), "_system", 7);
    EXPECT_EQ(Refusal(), "symbol _system: it is undefined, and modules have no access to a function with this name");
}

TEST_F(DamagedObjectTest, RefusesUnknownClassesByName) {
    std::memcpy(NameOf(".objc_class_name_NSNumber"), ".objc_class_name_NSTwelve", 25);
    EXPECT_EQ(Refusal(), "class NSTwelve: no class with this name exists here");
}

TEST_F(DamagedObjectTest, RefusesInvalidSymbols) {
    auto& symbol = Symbol("_TinyCount");
    const format::Symbol right = symbol;
    symbol.section = 200;
    EXPECT_EQ(Refusal(), "symbol _TinyCount: there is no section 200");
    symbol = right;
    symbol.value = 0x7FFFFFFF;
    EXPECT_EQ(Refusal(), "symbol _TinyCount: address 2147483647 lies outside section __TEXT,__text");
    symbol = right;
    symbol.type = format::kSymbolExternal | 0x0A;
    EXPECT_EQ(Refusal(), "symbol _TinyCount: symbol type 11 is not supported");
    symbol = right;
    symbol.type = format::kSymbolExternal;
    symbol.value = 8;
    EXPECT_EQ(Refusal(), "symbol _TinyCount: common symbols are not supported");
    symbol = right;
    symbol.nameOffset = 0x7FFFFFFF;
    EXPECT_EQ(Refusal(), "symbol: its name lies outside the symbol names");
}

TEST_F(DamagedObjectTest, RefusesSymbolPointersBeyondTheirTable) {
    DynamicSymbols().indirectCount = 0;
    EXPECT_EQ(Refusal(), "section __IMPORT,__pointers: its 1 pointers are not in the indirect symbol table");
}

TEST_F(DamagedObjectTest, RefusesInvalidObjectiveCPointers) {
    const std::uint32_t far = 0x70000000;
    std::memcpy(Bytes("__OBJC,__message_refs"), &far, sizeof far);
    EXPECT_EQ(Refusal(), "section __OBJC,__message_refs: pointer 0 does not point to a name");
}

TEST_F(DamagedObjectTest, RefusesObjectsThatDefineClasses) {
    std::memcpy(Section("__OBJC,__image_info").name, "__class\0\0\0\0\0", 12);
    EXPECT_EQ(Refusal(),
              "section __OBJC,__class: classes, categories and protocols that a module defines are not supported");
}

TEST_F(DamagedObjectTest, RefusesImageAndSourceDescriptionsThatTheRuntimeWouldRead) {
    auto* image = reinterpret_cast<std::uint32_t*>(Bytes("__OBJC,__image_info"));
    const std::uint32_t flags = std::exchange(image[1], 6);
    EXPECT_EQ(Refusal(), "section __OBJC,__image_info: version 0 with flags 6 is not supported");
    image[1] = flags;
    image[0] = 1;
    EXPECT_EQ(Refusal(), "section __OBJC,__image_info: version 1 with flags " + Text(flags) + " is not supported");
    image[0] = 0;
    auto* source = reinterpret_cast<std::uint32_t*>(Bytes("__OBJC,__module_info"));
    source[3] = 8;
    EXPECT_EQ(Refusal(), "section __OBJC,__module_info: a source has a table of definitions; none is supported");
    source[0] = 6;
    EXPECT_EQ(Refusal(), "section __OBJC,__module_info: version 6 of 16 bytes is not supported");
    Section("__OBJC,__image_info").size = 7;
    EXPECT_EQ(Refusal(), "section __OBJC,__image_info: its 7 bytes are not a multiple of 8");
}

TEST_F(DamagedObjectTest, RefusesConstantStringsOfAnotherKindOrLength) {
    auto* words = reinterpret_cast<std::uint32_t*>(Bytes("__DATA,__cfstring"));
    words[1] = 0x7D0;
    EXPECT_EQ(Refusal(), "constant string 0: its characters are not 8 bits wide");
    words[1] = 0x7C8;
    words[3] = 7;
    EXPECT_EQ(Refusal(), "constant string 0: its text is not 7 characters long");
}

TEST_F(DamagedObjectTest, RefusesInvalidFrameDescriptions) {
    unsigned char* frames = Bytes(kFrames);
    const std::uint32_t commonLength = *reinterpret_cast<std::uint32_t*>(frames);
    frames[8] = 3;
    EXPECT_EQ(Refusal(), "section __TEXT,__eh_frame: version 3 is unknown");
    frames[8] = 1;
    frames[9] = 'x';
    EXPECT_NE(Refusal().find("is unknown"), std::string::npos);
    frames[9] = 'z';
    auto* function = reinterpret_cast<std::uint32_t*>(frames + 4 + commonLength + 8);
    const std::uint32_t right = std::exchange(*function, 0x70000000);
    EXPECT_EQ(Refusal(), "section __TEXT,__eh_frame: a function lies outside the object");
    *function = right;
    function[-1] += 4;
    EXPECT_EQ(Refusal(), "section __TEXT,__eh_frame: a function refers to an unknown common part");
    function[-2] = 0x70000000;
    EXPECT_EQ(Refusal(), "section __TEXT,__eh_frame: an entry is truncated");
}

// Changes random bytes. Half of the runs change only the header and the load commands.
TEST_F(DamagedObjectTest, RandomDamageNeverCrashes) {
    const std::vector<unsigned char> whole = file;
    std::mt19937 random(1);
    int refused = 0, loaded = 0;
    for (int run = 0; run < 4000; ++run) {
        file = whole;
        const std::size_t range = run % 2 == 0 ? sizeof(format::Header) + Header().commandsSize : file.size();
        for (unsigned change = random() % 4 + 1; change > 0; --change) {
            file[random() % range] = static_cast<unsigned char>(random() % 3 == 0 ? 0xFF : random());
        }
        ++(Refusal().empty() ? loaded : refused);
    }
    EXPECT_GT(refused, 1000);
    EXPECT_GT(loaded, 100);
}

}  // namespace
