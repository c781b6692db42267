// parts_test.cpp - the small parts of a batch: hashes, names of unfinished files, the text of the progress.

#include <gtest/gtest.h>

#include <string>

#include "host/batch/progress.h"
#include "host/batch/sha256.h"
#include "host/runtime/part_file.h"

namespace {

TEST(Sha256Test, GivesThePublishedHashes) {
    EXPECT_EQ(HashOfText(""), "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
    EXPECT_EQ(HashOfText("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(HashOfText("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(HashOfText(std::string(1'000'000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

TEST(Sha256Test, DoesNotDependOnThePiecesThatAreAdded) {
    for (std::size_t length = 0; length < 200; ++length) {
        std::string text;
        for (std::size_t i = 0; i < length; ++i) text += static_cast<char>(i * 7);
        Sha256 hash;
        for (std::size_t at = 0, piece = 1; at < length; at += piece++)
            hash.Add(std::string_view(text).substr(at, piece));
        EXPECT_EQ(hash.Hex(), HashOfText(text)) << length;
    }
}

TEST(PartFileTest, LiesBesideItsTargetWithANameThatIsNotTooLong) {
    EXPECT_EQ(host::PartFileOf("photo.jpg"), ".photo.jpg.zeva-part");
    EXPECT_EQ(host::PartFileOf("a/b/photo.jpg"), "a/b/.photo.jpg.zeva-part");
    EXPECT_EQ(host::PartFileOf("a/" + std::string(255, 'n')), "a/." + std::string(244, 'n') + ".zeva-part");
}

TEST(ProgressTest, SaysTheRateAndTheTimeThatIsLeft) {
    EXPECT_EQ(ProgressText(0, 10, 5), "0 of 10");
    EXPECT_EQ(ProgressText(5, 10, 2), "5 of 10, 2.5 a second, 2 s left");
    EXPECT_EQ(ProgressText(300, 100'000, 1), "300 of 100000, 300 a second, 6 min left");
    EXPECT_EQ(ProgressText(10, 100'000, 1), "10 of 100000, 10 a second, 2.8 h left");
    EXPECT_EQ(ProgressText(1, 1'000'000, 2), "1 of 1000000, 0.5 a second, 23.1 days left");
    EXPECT_EQ(ProgressText(10, 10, 4), "10 of 10, 2.5 a second, 0 s left");
}

}  // namespace
