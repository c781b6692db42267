// loaded_bundle_test.cpp - what the loader does for bundles only: addresses, segments, stubs.

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstring>
#include <fstream>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "host/macho/link_info.h"
#include "host/macho/load_object.h"
#include "host/macho/object_file.h"
#include "tests/macos/damaged_object.h"

namespace {

using host::macho::LoadedObject;
using host::macho::ObjectFile;

class LoadedBundleTest : public testing::Test {
  protected:
    explicit LoadedBundleTest(const char* path = ZEVA_TINY_BUNDLE)
        : bytes(DamagedObject(path).file), file(host::macho::ReadObject(bytes)) {}

    static std::uint32_t AddressOf(const void* pointer) {
        return static_cast<std::uint32_t>(reinterpret_cast<std::uintptr_t>(pointer));
    }

    // The address at which a bundle is loaded.
    std::uint32_t BaseOf(const LoadedObject& loaded) const {
        const auto exports = host::macho::DecodeExports(file);
        return AddressOf(loaded.exports.at("TinyCount")) - exports.at("_TinyCount");
    }

    // The words of a section in memory.
    std::vector<std::uint32_t> WordsOf(const LoadedObject& loaded, const char* section) const {
        const host::macho::Section* found = file.Find(section);
        std::vector<std::uint32_t> words(found->size / 4);
        std::memcpy(words.data(), reinterpret_cast<const void*>(BaseOf(loaded) + found->address), found->size);
        return words;
    }

    // Whether a pointer gets another value after its address was adjusted: from the runtime, or when its stub is
    // called.
    bool IsReplaced(std::uint32_t address) const {
        for (const char* name : {"__OBJC,__message_refs", "__OBJC,__cls_refs", "__DATA,__la_symbol_ptr"}) {
            const host::macho::Section* section = file.Find(name);
            if (section->address <= address && address < section->End()) return true;
        }
        return false;
    }

    template <typename Function>
    static Function* Find(const LoadedObject& loaded, const char* name) {
        return reinterpret_cast<Function*>(loaded.exports.at(name));
    }

    const std::vector<unsigned char> bytes;
    const ObjectFile file;
};

// The rights of all pages in a range, in the form "r-xp".
std::set<std::string> AccessTo(std::uint32_t first, std::uint32_t last) {
    std::set<std::string> found;
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        std::uintptr_t begin = 0, end = 0;
        char dash = 0;
        std::string access;
        std::istringstream(line) >> std::hex >> begin >> dash >> end >> access;
        if (begin < last && first < end) found.insert(access);
    }
    return found;
}

TEST_F(LoadedBundleTest, RunsAtAnyAddress) {
    // Not between 0x1FFFF000 and 0x40000000, which the address sanitizer reserves.
    for (const std::uint32_t address : {0x10000000u, 0x17FFE000u, 0x42F01000u, 0x44567000u, 0x4FFFE000u}) {
        const LoadedObject loaded = host::macho::LoadObject(bytes, address);
        EXPECT_EQ(BaseOf(loaded), address);
        EXPECT_STREQ(Find<const char*(int)>(loaded, "TinyWord")(0), "kettle");
        EXPECT_EQ(Find<int()>(loaded, "TinyCount")(), 42);
        EXPECT_EQ(Find<int()>(loaded, "TinyCountThroughPointer")(), 43);
        EXPECT_EQ(Find<unsigned long(const char*)>(loaded, "TinyLength")("four"), 4u);
        for (const std::uint32_t rebased : host::macho::DecodeRebases(file)) {
            if (IsReplaced(rebased)) continue;
            std::uint32_t pointer;
            std::memcpy(&pointer, reinterpret_cast<const void*>(address + rebased), sizeof pointer);
            EXPECT_LT(pointer - address, file.size) << rebased;
        }
    }
}

TEST_F(LoadedBundleTest, RefusesAnAddressThatIsInUse) {
    // Somewhere between the heap and the libraries, both of which begin at a different address in each process.
    const std::uint32_t address = 0x90000000;
    void* taken = mmap(reinterpret_cast<void*>(address + 0x3000), 4096, PROT_READ,
                       MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED_NOREPLACE, -1, 0);
    ASSERT_EQ(AddressOf(taken), address + 0x3000);
    try {
        host::macho::LoadObject(bytes, address);
        FAIL();
    } catch (const host::macho::ObjectError& error) {
        EXPECT_STREQ(error.what(), "segment: the memory at address 2415919104 is in use");
    }
    munmap(taken, 4096);
    EXPECT_EQ(BaseOf(host::macho::LoadObject(bytes, address)), address);
}

TEST_F(LoadedBundleTest, SegmentsHaveTheirAccessRights) {
    const LoadedObject loaded = host::macho::LoadObject(bytes);
    std::vector<std::string> found;
    for (const host::macho::Segment& segment : file.segments) {
        const std::uint32_t begin = BaseOf(loaded) + segment.address;
        for (const std::string& access : AccessTo(begin, begin + segment.size)) {
            found.push_back(segment.name + " " + access);
        }
    }
    EXPECT_EQ(found, (std::vector<std::string>{"__TEXT r-xp", "__DATA rw-p", "__OBJC rw-p", "__LINKEDIT r--p"}));
}

TEST_F(LoadedBundleTest, StubsAreBoundWhenTheyAreFirstCalled) {
    const LoadedObject loaded = host::macho::LoadObject(bytes);
    const auto before = WordsOf(loaded, "__DATA,__la_symbol_ptr");
    for (const std::uint32_t word : before) EXPECT_LT(word - BaseOf(loaded), file.size);
    const auto length = Find<unsigned long(const char*)>(loaded, "TinyLength");
    EXPECT_EQ(length("kettle"), 6u);
    const auto after = WordsOf(loaded, "__DATA,__la_symbol_ptr");
    int changed = 0;
    for (std::size_t i = 0; i < before.size(); ++i) {
        if (before[i] == after[i]) continue;
        ++changed;
        EXPECT_EQ(after[i],
                  AddressOf(reinterpret_cast<const void*>(static_cast<size_t (*)(const char*)>(std::strlen))));
    }
    EXPECT_EQ(changed, 1);
    EXPECT_EQ(length("vessels"), 7u);
    EXPECT_EQ(WordsOf(loaded, "__DATA,__la_symbol_ptr"), after);
}

class BareBundleTest : public LoadedBundleTest {
  protected:
    BareBundleTest() : LoadedBundleTest(ZEVA_BARE_BUNDLE) {}
};

TEST_F(BareBundleTest, LoadsWithoutStubsAndWithoutObjectiveC) {
    const LoadedObject loaded = host::macho::LoadObject(bytes);
    EXPECT_EQ(loaded.exports.size(), 1u);
    EXPECT_EQ(Find<int()>(loaded, "BareAnswer")(), 42);
    EXPECT_EQ(file.Find("__TEXT,__symbol_stub"), nullptr);
    EXPECT_EQ(file.libraries, (std::vector<std::string>{"/usr/lib/libSystem.B.dylib"}));
    EXPECT_EQ(file.linkInfo.bind.size() + file.linkInfo.lazyBind.size() + file.linkInfo.rebase.size(), 0u);
    std::vector<std::string> names;
    for (const host::macho::Segment& segment : file.segments) names.push_back(segment.name);
    EXPECT_EQ(names, (std::vector<std::string>{"__TEXT", "__LINKEDIT"}));
}

}  // namespace
