// suggestion_test.cpp - which known name is suggested for a misspelled one.

#include "host/runtime/suggestion.h"

#include <gtest/gtest.h>

namespace {

const std::vector<std::string> kNames = {"BoxBlur", "GaussianBlur", "Gloom", "Crop"};

TEST(Suggestion, ToleratesAWrongLetterAndASwap) {
    EXPECT_EQ(host::Suggestion("GausianBlur", kNames), ", did you mean GaussianBlur");
    EXPECT_EQ(host::Suggestion("Grop", kNames), ", did you mean Crop");
    EXPECT_EQ(host::Suggestion("Corp", kNames), ", did you mean Crop");
}

TEST(Suggestion, IgnoresCase) { EXPECT_EQ(host::Suggestion("gloom", kNames), ", did you mean Gloom"); }

TEST(Suggestion, APrefixIsEnough) { EXPECT_EQ(host::Suggestion("Gausian", kNames), ", did you mean GaussianBlur"); }

TEST(Suggestion, SuggestsNothingForDistantNames) {
    EXPECT_EQ(host::Suggestion("Sepia", kNames), "");
    EXPECT_EQ(host::Suggestion("", kNames), "");
    EXPECT_EQ(host::Suggestion("Crop", {}), "");
}

}  // namespace
