// link_info_test.cpp - the programs of opcodes: what each opcode does, and that the linker's programs say what it
// meant.

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "host/macho/link_info.h"
#include "host/macho/object_error.h"
#include "tools/link_bundle/opcodes.h"

namespace {

namespace format = host::macho::format;
using host::macho::Bind;
using linker::Bytes;

using Addresses = std::vector<std::uint32_t>;

class LinkInfoTest : public testing::Test {
  protected:
    LinkInfoTest() {
        bundle.isBundle = true;
        bundle.size = 0x4000;
        const std::uint32_t writable = format::kReadable | format::kWritable;
        bundle.segments = {{.name = "__TEXT", .address = 0, .size = 0x1000, .protection = format::kReadable},
                           {.name = "__DATA", .address = 0x1000, .size = 0x2000, .protection = writable},
                           {.name = "__OBJC", .address = 0x3000, .size = 0x1000, .protection = writable}};
        bundle.libraries = {"one", "two"};
    }

    Addresses Rebases(const Bytes& program) {
        bundle.linkInfo.rebase = program;
        return host::macho::DecodeRebases(bundle);
    }

    // The bindings of a program as text: "address symbol library+addend".
    static std::string Text(const Bind& bind) {
        return std::to_string(bind.address) + " " + std::string(bind.symbol) + " " + std::to_string(bind.library) +
               "+" + std::to_string(static_cast<std::int32_t>(bind.addend));
    }

    std::vector<std::string> Binds(const Bytes& program) {
        bundle.linkInfo.bind = program;
        std::vector<std::string> texts;
        for (const Bind& bind : host::macho::DecodeBinds(bundle)) texts.push_back(Text(bind));
        return texts;
    }

    // The error of a function; empty without one.
    template <typename Function>
    static std::string ErrorOf(Function function) {
        try {
            function();
        } catch (const host::macho::ObjectError& error) {
            return error.what();
        }
        return "";
    }

    std::string RebaseError(const Bytes& program) {
        return ErrorOf([&] { Rebases(program); });
    }

    std::string BindError(const Bytes& program) {
        return ErrorOf([&] { Binds(program); });
    }

    std::string ExportError(const Bytes& tree) {
        bundle.linkInfo.exports = tree;
        return ErrorOf([&] { static_cast<void>(host::macho::DecodeExports(bundle)); });
    }

    host::macho::ObjectFile bundle;
    std::mt19937 random{1};
};

TEST_F(LinkInfoTest, EachOpcodeOfRebasesMovesAndChanges) {
    EXPECT_EQ(Rebases({}), Addresses());
    EXPECT_EQ(Rebases({0x11, 0x21, 0x08, 0x52, 0x00, 0x51}), (Addresses{0x1008, 0x100C})) << "set, times, done";
    EXPECT_EQ(Rebases({0x22, 0x00, 0x30, 0x84, 0x01, 0x51}), (Addresses{0x3084})) << "advance";
    EXPECT_EQ(Rebases({0x21, 0x00, 0x43, 0x51, 0x51}), (Addresses{0x100C, 0x1010})) << "advance by words";
    EXPECT_EQ(Rebases({0x21, 0x00, 0x60, 0x03}), (Addresses{0x1000, 0x1004, 0x1008})) << "many times";
    EXPECT_EQ(Rebases({0x21, 0x00, 0x70, 0x0C, 0x51}), (Addresses{0x1000, 0x1010})) << "and advance";
    EXPECT_EQ(Rebases({0x21, 0x00, 0x80, 0x03, 0x04, 0x51}), (Addresses{0x1000, 0x1008, 0x1010, 0x1018}));
}

TEST_F(LinkInfoTest, EachOpcodeOfBindsMovesAndBinds) {
    using Texts = std::vector<std::string>;
    EXPECT_EQ(Binds({}), Texts());
    EXPECT_EQ(Binds({0x51, 0x11, 0x40, 'a', 0, 0x71, 0x04, 0x90, 0x00, 0x90}), (Texts{"4100 a 0+0"}));
    EXPECT_EQ(Binds({0x20, 0x02, 0x40, 'a', 0, 0x60, 0x7E, 0x71, 0x00, 0x80, 0x08, 0x90}), (Texts{"4104 a 1+-2"}));
    EXPECT_EQ(Binds({0x11, 0x40, 'a', 0, 0x71, 0x00, 0xA0, 0x04, 0x90}), (Texts{"4096 a 0+0", "4104 a 0+0"}));
    EXPECT_EQ(Binds({0x11, 0x40, 'a', 0, 0x71, 0x00, 0xB2, 0x90}), (Texts{"4096 a 0+0", "4108 a 0+0"}));
    EXPECT_EQ(Binds({0x11, 0x40, 'a', 0, 0x71, 0x00, 0xC0, 0x02, 0x0C, 0x40, 'b', 0, 0x90}),
              (Texts{"4096 a 0+0", "4112 a 0+0", "4128 b 0+0"}));
}

TEST_F(LinkInfoTest, LazyProgramsStartAnewAfterEachPart) {
    const Bytes program = {0x71, 0x00, 0x11, 0x40, 'a', 0,    0x90, 0x00, 0x72,
                           0x04, 0x12, 0x40, 'b',  0,   0x90, 0x00, 0x00};
    bundle.linkInfo.lazyBind = program;
    const auto binds = host::macho::DecodeLazyBinds(bundle);
    ASSERT_EQ(binds.size(), 2u);
    EXPECT_EQ(Text(binds.at(0)), "4096 a 0+0");
    EXPECT_EQ(Text(binds.at(8)), "12292 b 1+0");
    const Bytes withoutName = {0x71, 0x00, 0x11, 0x40, 'a', 0, 0x90, 0x00, 0x71, 0x04, 0x12, 0x90};
    bundle.linkInfo.lazyBind = withoutName;
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(host::macho::DecodeLazyBinds(bundle)); }),
              "lazy bind information, byte 12: it binds a place before it names a symbol");
    const Bytes twice = {0x71, 0x00, 0x11, 0x40, 'a', 0, 0x90, 0x90};
    bundle.linkInfo.lazyBind = twice;
    EXPECT_EQ(ErrorOf([&] { static_cast<void>(host::macho::DecodeLazyBinds(bundle)); }),
              "lazy bind information, byte 8: it binds two places for one stub");
}

TEST_F(LinkInfoTest, RefusesProgramsThatLeaveTheirBounds) {
    EXPECT_EQ(RebaseError({0x23}), "rebase information, byte 1: it ends within an entry");
    EXPECT_EQ(RebaseError({0x23, 0x00}), "rebase information, byte 2: there is no segment 3");
    EXPECT_EQ(RebaseError({0x51}), "rebase information, byte 1: it changes a place before it names one");
    EXPECT_EQ(RebaseError({0x20, 0x00, 0x51}),
              "rebase information, byte 3: it changes segment __TEXT, which is not writable");
    EXPECT_EQ(RebaseError({0x21, 0xFD, 0x3F, 0x51}),
              "rebase information, byte 4: offset 8189 lies outside segment __DATA");
    EXPECT_EQ(RebaseError({0x21, 0xFC, 0x3F, 0x51}), "");
    EXPECT_EQ(RebaseError({0x21, 0xFC, 0x3F, 0x52}),
              "rebase information, byte 4: offset 8192 lies outside segment __DATA");
    EXPECT_EQ(RebaseError({0x21, 0x04, 0x30, 0xF8, 0xFF, 0xFF, 0xFF, 0x0F, 0x51}),
              "rebase information, byte 9: offset 4294967292 lies outside segment __DATA");
    EXPECT_EQ(RebaseError({0x21, 0x00, 0x80, 0xFF, 0xFF, 0xFF, 0xFF, 0x0F, 0xFC, 0xFF, 0xFF, 0xFF, 0x0F}),
              "rebase information, byte 13: it changes more places than there are");
    EXPECT_EQ(RebaseError({0x12}), "rebase information, byte 1: type 2 is not that of pointers");
    EXPECT_EQ(RebaseError({0xF0}), "rebase information, byte 1: opcode 240 is unknown");
}

TEST_F(LinkInfoTest, RefusesBindsWithoutSymbolOrLibraryAndThoseOfOtherKinds) {
    EXPECT_EQ(BindError({0x90}), "bind information, byte 1: it binds a place before it names a symbol");
    EXPECT_EQ(BindError({0x40, 'a', 0, 0x90}), "bind information, byte 4: it binds a place before it names a library");
    EXPECT_EQ(BindError({0x13}), "bind information, byte 1: there is no library 3");
    EXPECT_EQ(BindError({0x10}), "bind information, byte 1: there is no library 0");
    EXPECT_EQ(BindError({0x20, 0x80, 0x01}), "bind information, byte 3: there is no library 128");
    EXPECT_EQ(BindError({0x3E}),
              "bind information, byte 1: symbols that are not of a certain library are not supported");
    EXPECT_EQ(BindError({0x41, 'a', 0}), "bind information, byte 1: symbols with flags are not supported");
    EXPECT_EQ(BindError({0x40, 'a'}), "bind information, byte 1: a name does not end in it");
    EXPECT_EQ(BindError({0x52}), "bind information, byte 1: type 2 is not that of pointers");
    EXPECT_EQ(BindError({0xD0}), "bind information, byte 1: opcode 208 is unknown");
}

TEST_F(LinkInfoTest, RefusesTreesOfExportsThatAreDamaged) {
    EXPECT_EQ(ExportError({0x00, 0x01, 'a', 0, 0x05, 0x02, 0x00, 0x08, 0x00}), "");
    EXPECT_EQ(ExportError({0x00}), "exports, byte 1: it ends within an entry");
    EXPECT_EQ(ExportError({0x00, 0x01, 'a', 0, 0x00}), "exports, byte 0: two names lead to one node");
    EXPECT_EQ(ExportError({0x00, 0x01, 'a', 0, 0x7F}), "exports, byte 5: position 127 lies outside it");
    EXPECT_EQ(ExportError({0x00, 0x01, 'a', 0, 0x05, 0x02, 0x08, 0x08, 0x00}),
              "exports, byte 7: \"a\" is not a plain symbol");
    EXPECT_EQ(ExportError({0x00, 0x01, 'a', 0, 0x05, 0x04, 0x00, 0x80, 0x80, 0x01, 0x00}),
              "exports, byte 10: the address of \"a\", 16384, lies outside the bundle");
    EXPECT_EQ(ExportError({0x09, 0x00, 0x00}), "exports, byte 3: position 10 lies outside it");
}

TEST_F(LinkInfoTest, EncodedRebasesDecodeToTheSamePlaces) {
    for (int run = 0; run < 300; ++run) {
        std::set<linker::Place> places;
        const std::uint32_t range = run % 3 == 0 ? 16 : 0x1000;
        for (unsigned count = random() % 60; count > 0; --count) {
            linker::Place place{.segment = 1 + random() % 2, .offset = random() % range / 4 * 4};
            // Runs at equal distances, which have opcodes of their own.
            for (unsigned step = random() % 4 * 4 + 4, length = random() % 5; length > 0; --length) {
                places.insert(place);
                place.offset = std::min(place.offset + step, 0xFFCu);
            }
        }
        Addresses expected;
        for (const linker::Place& place : places) {
            expected.push_back(bundle.segments[place.segment].address + place.offset);
        }
        const Bytes program = linker::EncodeRebases({places.begin(), places.end()});
        ASSERT_EQ(Rebases(program), expected) << "run " << run;
    }
}

TEST_F(LinkInfoTest, EncodedBindsDecodeToTheSameBindings) {
    bundle.libraries.assign(40, "library");
    for (int run = 0; run < 100; ++run) {
        std::map<std::pair<std::string, linker::Place>, std::int32_t> addends;
        for (unsigned count = random() % 40; count > 0; --count) {
            const std::string name(1 + random() % 3, static_cast<char>('a' + random() % 3));
            const linker::Place place{.segment = 1 + random() % 2, .offset = random() % 0x3FF * 4};
            addends[{name, place}] = random() % 2 == 0 ? 0 : static_cast<std::int32_t>(random());
        }
        std::vector<linker::BoundPlace> binds;
        std::vector<std::string> expected;
        for (const auto& [key, addend] : addends) {
            const auto& [name, place] = key;
            const auto library = static_cast<std::uint32_t>(name.size() * 12);
            binds.push_back({{name, library}, place, addend});
            expected.push_back(Text({.address = bundle.segments[place.segment].address + place.offset,
                                     .library = library - 1,
                                     .symbol = name,
                                     .addend = static_cast<std::uint32_t>(addend)}));
        }
        const Bytes program = linker::EncodeBinds(binds);
        ASSERT_EQ(Binds(program), expected) << "run " << run;
    }
}

TEST_F(LinkInfoTest, EncodedExportsDecodeToTheSameNames) {
    for (int run = 0; run < 100; ++run) {
        std::map<std::string, std::uint32_t> exports;
        for (unsigned count = random() % 80; count > 0; --count) {
            std::string name = "_";
            for (unsigned length = random() % 6; length > 0; --length) name += static_cast<char>('a' + random() % 3);
            exports[name] = random() % bundle.size;
        }
        const Bytes tree = linker::EncodeExports(exports);
        bundle.linkInfo.exports = tree;
        ASSERT_EQ(host::macho::DecodeExports(bundle), exports) << "run " << run;
    }
}

}  // namespace
