// text_test.cpp - bytes as text for people.

#include "host/runtime/text.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "host/runtime/json.h"

namespace {

TEST(TextTest, PrintableTextEscapesControlCharactersAndBytesThatAreNotText) {
    EXPECT_EQ(host::PrintableText("Gr\u00fc\u00dfe, C:\\n 100%"), "Gr\u00fc\u00dfe, C:\\n 100%");
    EXPECT_EQ(host::PrintableText("a\nb\tc\rd\x1b[0m\x7f"), "a\\nb\\tc\\rd\\x1b[0m\\x7f");
    EXPECT_EQ(host::PrintableText(std::string("\0", 1)), "\\x00");
    EXPECT_EQ(host::PrintableText("caf\xe9.jpg"), "caf\\xe9.jpg");
    EXPECT_EQ(host::PrintableText("\xc2\x9b"
                                  "1m \xed\xa0\x80 \xf0\x9f"),
              "\\xc2\\x9b1m \\xed\\xa0\\x80 \\xf0\\x9f");
}

TEST(TextTest, BeginningEndsBetweenCharacters) {
    EXPECT_EQ(host::Beginning("abc", 3), "abc");
    EXPECT_EQ(host::Beginning("a\u00fcc", 2), "a");
    EXPECT_EQ(host::Beginning("a\u00fcc", 3), "a\u00fc");
    EXPECT_EQ(host::Beginning("\x80\x80\x80\x80\x80\x80", 5).size(), 2u);
}

TEST(TextTest, Base64PadsTheLastGroup) {
    EXPECT_EQ(host::Base64(""), "");
    EXPECT_EQ(host::Base64("M"), "TQ==");
    EXPECT_EQ(host::Base64("Ma"), "TWE=");
    EXPECT_EQ(host::Base64("Man"), "TWFu");
    EXPECT_EQ(host::Base64("\xff\xfe\xfd\xfc"), "//79/A==");
}

TEST(TextTest, Base64ReadsBackAsTheSameBytes) {
    for (const std::string bytes : {"", "M", "Ma", "Man", "\xff\xfe\xfd\xfc", "caf\xe9.jpg"}) {
        EXPECT_EQ(host::BytesOfBase64(host::Base64(bytes)), bytes);
    }
}

TEST(TextTest, AReasonOfTheSystemBeginsInLowerCase) {
    EXPECT_EQ(host::SystemReason(ENOENT), "no such file or directory");
}

TEST(TextTest, JsonHasTheBytesOfANameThatIsNotTextBesideIt) {
    host::Json json = host::Json::MakeObject();
    json.SetName("input", "photo.jpg");
    json.SetName("output", "caf\xe9.jpg");
    EXPECT_EQ(json.Dump(),
              "{\"input\":\"photo.jpg\",\"output\":\"caf\xEF\xBF\xBD.jpg\",\"outputBase64\":\"Y2Fm6S5qcGc=\"}");
}

}  // namespace
