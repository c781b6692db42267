// heif_references_test.cpp - which HEIF files consist of too many pictures. The program's tests read whole files.

#include "platform/ImageIO/heif_references.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace {

// The bytes of a number.
std::string Number(std::uint64_t number, int size) {
    std::string bytes;
    for (int i = size; i-- > 0;) bytes += static_cast<char>(number >> (8 * i));
    return bytes;
}

std::string Box(const std::string& type, const std::string& content) {
    return Number(8 + content.size(), 4) + type + content;
}

// A reference from a picture to others, with numbers of 2 or 4 bytes.
std::string Reference(const std::string& type, std::uint64_t from, const std::vector<std::uint64_t>& to, int size = 2) {
    std::string content = Number(from, size) + Number(to.size(), 2);
    for (const std::uint64_t number : to) content += Number(number, size);
    return Box(type, content);
}

// A file with these references.
std::string File(const std::string& references, int size = 2) {
    const std::string iref = Box("iref", Number(size == 2 ? 0 : 1, 1) + Number(0, 3) + references);
    return Box("ftyp", "heic") + Box("meta", Number(0, 4) + Box("hdlr", "") + iref);
}

bool CanBeDecoded(const std::string& file, std::uint32_t picture = 1) {
    return image_io::CanBeDecoded(reinterpret_cast<const std::uint8_t*>(file.data()), file.size(), picture);
}

TEST(HeifReferencesTest, PicturesAndGridsCanBeDecoded) {
    EXPECT_TRUE(CanBeDecoded(File("")));
    EXPECT_TRUE(CanBeDecoded(File(Reference("dimg", 1, {2, 3, 2, 3}) + Reference("auxl", 4, {1}))));
    EXPECT_TRUE(CanBeDecoded(File(Reference("thmb", 1, {1}) + Reference("cdsc", 2, {1}))));
}

TEST(HeifReferencesTest, APictureCannotBeMadeOfItself) {
    EXPECT_FALSE(CanBeDecoded(File(Reference("dimg", 1, {1}))));
    EXPECT_FALSE(CanBeDecoded(File(Reference("dimg", 1, {2}) + Reference("dimg", 2, {3}) + Reference("dimg", 3, {1}))));
    EXPECT_FALSE(CanBeDecoded(File(Reference("auxl", 1, {1}))));
    EXPECT_FALSE(CanBeDecoded(File(Reference("auxl", 2, {1}) + Reference("dimg", 2, {1}))));
    EXPECT_FALSE(CanBeDecoded(File(Reference("dimg", 70000, {70000}, 4), 4), 70000));
    // Another picture may be damaged.
    EXPECT_TRUE(CanBeDecoded(File(Reference("dimg", 2, {2}))));
}

TEST(HeifReferencesTest, DepthAndNumberAreLimited) {
    std::string chain, tree;
    for (std::uint64_t i = 1; i <= 16; ++i) chain += Reference("dimg", i, {i + 1});
    EXPECT_TRUE(CanBeDecoded(File(chain)));
    EXPECT_FALSE(CanBeDecoded(File(chain + Reference("dimg", 17, {18}))));
    // Ten of ten of ten, and so on.
    for (std::uint64_t i = 1; i <= 5; ++i) {
        EXPECT_TRUE(CanBeDecoded(File(tree)));
        tree += Reference("dimg", i, std::vector<std::uint64_t>(10, i + 1));
    }
    EXPECT_FALSE(CanBeDecoded(File(tree)));
}

TEST(HeifReferencesTest, DamagedBoxesAreNotFollowed) {
    const std::string file = File(Reference("dimg", 1, {1}));
    for (std::size_t length = 0; length < file.size(); ++length) EXPECT_TRUE(CanBeDecoded(file.substr(0, length)));
    // A large box, and one that extends to the end.
    const std::string iref = Number(0, 4) + Reference("dimg", 1, {1});
    EXPECT_FALSE(CanBeDecoded(Number(1, 4) + "meta" + Number(16 + 4 + 8 + iref.size(), 8) + Number(0, 4) +
                              Number(0, 4) + "iref" + iref));
    EXPECT_TRUE(CanBeDecoded(Number(7, 4) + "meta" + file));
}

}  // namespace
