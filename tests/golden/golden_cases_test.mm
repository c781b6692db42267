// golden_cases_test.mm - tests the reader of reference renders with cases that the tests write.

#include "golden_cases.h"

#import <Foundation/Foundation.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace {

// Sets ZEVA_GOLDEN to a folder of its own for each test.
class GoldenCasesTest : public testing::Test {
  protected:
    void SetUp() override {
        folder_ = [[NSTemporaryDirectory()
            stringByAppendingPathComponent:[[NSProcessInfo processInfo] globallyUniqueString]] retain];
        const char* before = std::getenv("ZEVA_GOLDEN");
        before_ = before != nullptr ? before : "";
        setenv("ZEVA_GOLDEN", [folder_ UTF8String], /*overwrite=*/1);
    }

    void TearDown() override {
        [[NSFileManager defaultManager] removeFileAtPath:folder_ handler:nil];
        [folder_ release];
        before_.empty() ? unsetenv("ZEVA_GOLDEN") : setenv("ZEVA_GOLDEN", before_.c_str(), /*overwrite=*/1);
    }

    void Write(NSString* name, NSString* text) {
        NSString* folder = [folder_ stringByAppendingPathComponent:name];
        [[NSFileManager defaultManager] createDirectoryAtPath:folder
                                  withIntermediateDirectories:YES
                                                   attributes:nil
                                                        error:nullptr];
        [text writeToFile:[folder stringByAppendingPathComponent:@"case.json"] atomically:NO];
    }

  private:
    NSString* folder_;
    std::string before_;
};

golden::Picture PictureOf(std::size_t width, std::size_t height, std::vector<std::uint8_t> pixels) {
    return {width, height, std::move(pixels)};
}

TEST_F(GoldenCasesTest, IsPresentTellsWhetherTheFolderExists) {
    EXPECT_FALSE(golden::IsPresent());
    Write(@"Any-1", @"{}");
    EXPECT_TRUE(golden::IsPresent());
}

TEST_F(GoldenCasesTest, CaseNamesAreSortedFoldersWithACase) {
    EXPECT_TRUE(golden::CaseNames().empty());
    Write(@"Second-1", @"{}");
    Write(@"First-1", @"{}");
    [[NSFileManager defaultManager]
              createDirectoryAtPath:[NSString stringWithUTF8String:(golden::Folder() + "inputs").c_str()]
        withIntermediateDirectories:YES
                         attributes:nil
                              error:nullptr];
    EXPECT_EQ(golden::CaseNames(), (std::vector<std::string>{"First-1", "Second-1"}));
}

TEST_F(GoldenCasesTest, ReadsEveryKindOfParameter) {
    Write(@"Some-1", @"{\"filter\": \"CISome\", \"kind\": \"render\", \"output\": \"out.png\", \"outputSize\": [3, 2],"
                     @"\"outputOrigin\": [-4, 5], \"parameters\": {\"inputRadius\": 2.5, \"inputCenter\": [1, 2],"
                     @"\"inputColor\": {\"color\": [0.5, 0, 1, 1]}, \"inputImage\": {\"image\": \"../in.png\"}}}");
    const std::optional<golden::Case> read = golden::ReadCase("Some-1");
    ASSERT_TRUE(read.has_value());
    EXPECT_TRUE(read->isRender);
    EXPECT_EQ(read->originX, -4);
    EXPECT_EQ(read->originY, 5);
    EXPECT_EQ(read->width, 3u);
    EXPECT_EQ(read->height, 2u);
    EXPECT_EQ(read->outputPath, golden::Folder() + "Some-1/out.png");
    ASSERT_EQ(read->steps.size(), 1u);
    EXPECT_EQ(read->steps[0].filter, "CISome");
    const auto& parameters = read->steps[0].parameters;
    ASSERT_EQ(parameters.size(), 4u);
    EXPECT_EQ(parameters.at("inputRadius").numbers, std::vector<double>{2.5});
    EXPECT_EQ(parameters.at("inputCenter").kind, golden::Parameter::Kind::kVector);
    EXPECT_EQ(parameters.at("inputColor").kind, golden::Parameter::Kind::kColor);
    EXPECT_EQ(parameters.at("inputColor").numbers.size(), 4u);
    EXPECT_EQ(parameters.at("inputImage").imagePath, golden::Folder() + "Some-1/../in.png");
}

TEST_F(GoldenCasesTest, FirstStepOfAChainTakesTheImageOfTheCase) {
    Write(@"Chain-1", @"{\"filter\": \"A\", \"output\": \"o\", \"outputSize\": [1, 1], \"outputOrigin\": [0, 0],"
                      @"\"parameters\": {\"inputImage\": {\"image\": \"i\"}},"
                      @"\"chain\": [{\"filter\": \"A\", \"parameters\": {\"inputEV\": 1}}, {\"filter\": \"B\"}]}");
    const std::optional<golden::Case> read = golden::ReadCase("Chain-1");
    ASSERT_TRUE(read.has_value());
    ASSERT_EQ(read->steps.size(), 2u);
    EXPECT_EQ(read->steps[0].parameters.size(), 2u);
    EXPECT_EQ(read->steps[1].filter, "B");
    EXPECT_TRUE(read->steps[1].parameters.empty());
}

TEST_F(GoldenCasesTest, BrokenAndMissingCasesAreEmpty) {
    Write(@"Broken-1", @"{\"filter\": ");
    Write(@"Bare-1", @"{\"filter\": \"A\"}");
    EXPECT_FALSE(golden::ReadCase("Broken-1").has_value());
    EXPECT_FALSE(golden::ReadCase("Bare-1").has_value());
    EXPECT_FALSE(golden::ReadCase("Absent-1").has_value());
}

TEST(GoldenCompareTest, MeasuresRootMeanSquareAndLargestDifference) {
    const golden::Picture first = PictureOf(1, 2, {0, 0, 0, 0, 10, 10, 10, 10});
    const golden::Picture second = PictureOf(1, 2, {0, 0, 0, 0, 10, 14, 10, 7});
    const std::optional<golden::Difference> difference = golden::Compare(first, second);
    ASSERT_TRUE(difference.has_value());
    EXPECT_EQ(difference->largest, 4);
    EXPECT_DOUBLE_EQ(difference->rms, std::sqrt(25.0 / 8));
    EXPECT_FALSE(golden::Compare(first, PictureOf(2, 1, second.pixels)).has_value());
}

TEST(GoldenCompareTest, ComparesTintsInLinearLight) {
    const auto difference = [](const std::vector<std::uint8_t>& one, const std::vector<std::uint8_t>& other) {
        return golden::CompareTints(PictureOf(1, 1, one), PictureOf(1, 1, other));
    };
    const auto tint = difference({128, 64, 64, 255}, {64, 64, 64, 255});
    ASSERT_TRUE(tint.has_value());
    const double light =
        255 * (std::pow((128 / 255.0 + 0.055) / 1.055, 2.4) - std::pow((64 / 255.0 + 0.055) / 1.055, 2.4));
    EXPECT_NEAR(tint->largest, light, 1e-9);
    EXPECT_NEAR(tint->rms, light / std::sqrt(2.0), 1e-9);
    EXPECT_NEAR(difference({90, 90, 90, 128}, {9, 9, 9, 255})->largest, 0, 1e-9);
    EXPECT_FALSE(difference({255, 64, 64, 255}, {64, 64, 64, 255}).has_value());
    EXPECT_FALSE(difference({0, 64, 64, 255}, {64, 64, 64, 255}).has_value());
}

// The view shows a ramp at half its width, three levels too high. The render has a step at its end, which is not
// compared.
TEST(GoldenCompareTest, ComparesViewsWhereTheyAreSmooth) {
    golden::Picture render = {20, 7, {}}, picture = {10, 7, {}};
    for (int y = 0; y < 7; ++y) {
        for (int x = 0; x < 20; ++x)
            render.pixels.insert(render.pixels.end(), 4, static_cast<std::uint8_t>(x < 15 ? x / 2 : 90));
        for (int x = 0; x < 10; ++x) picture.pixels.insert(picture.pixels.end(), 4, static_cast<std::uint8_t>(x + 3));
    }
    const golden::View view = {20, 7, 2, 1, 0.5, 0};
    const std::optional<golden::Difference> difference = golden::CompareView(render, picture, view);
    ASSERT_TRUE(difference.has_value());
    EXPECT_DOUBLE_EQ(difference->rms, 3);
    EXPECT_DOUBLE_EQ(difference->largest, 3);
    EXPECT_FALSE(golden::CompareView(picture, picture, view).has_value());
}

}  // namespace
