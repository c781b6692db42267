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

TEST(Suggestion, UpToThreeNamesThatContainTheGivenOneAreSuggested) {
    EXPECT_EQ(host::Suggestion("blur", kNames), ", did you mean BoxBlur or GaussianBlur");
    EXPECT_EQ(host::Suggestion("blur", {"BlurA", "ABlur", "BlurAB"}), ", did you mean BlurA");
    EXPECT_EQ(host::Suggestion("blur", {"FarBlur", "NewBlur", "OldBlur"}),
              ", did you mean FarBlur, NewBlur or OldBlur");
    EXPECT_EQ(host::Suggestion("blur", {"FarBlur", "NewBlur", "OldBlur", "RedBlur"}), "");
    EXPECT_EQ(host::Suggestion("lu", {"FarBlur"}), "");
}

TEST(Suggestion, NamesAreEqualIgnoringTheCaseOfTheirLettersOnly) {
    EXPECT_TRUE(host::EqualIgnoringCase("GaussianBlur", "gAUSSIANbLUR"));
    EXPECT_FALSE(host::EqualIgnoringCase("Gloom", "Gloo"));
    EXPECT_FALSE(host::EqualIgnoringCase("a[", "a{"));
}

TEST(Suggestion, SuggestsNothingForDistantNames) {
    EXPECT_EQ(host::Suggestion("Sepia", kNames), "");
    EXPECT_EQ(host::Suggestion("", kNames), "");
    EXPECT_EQ(host::Suggestion("Crop", {}), "");
}

}  // namespace
