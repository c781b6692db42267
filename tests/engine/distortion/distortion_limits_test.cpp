// distortion_limits_test.cpp - tests distortions with hostile numbers, images of any extent, and identity settings.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <limits>
#include <ostream>
#include <string>
#include <vector>

#include "support/oracle.h"

namespace {

using namespace oracle;

// A filter, its number and point keys, the key of its second image, and values for which it returns the input.
struct Kind {
    const char* filter;
    std::vector<const char*> keys;
    const char* secondImage;
    std::vector<Value> identity;
};
void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.filter; }

const Kind kKinds[] = {
    {"CIBumpDistortion",
     {"inputCenter", "inputRadius", "inputScale"},
     nullptr,
     {{"inputRadius", {9}}, {"inputScale", {0}}}},
    {"CIBumpDistortionLinear",
     {"inputCenter", "inputRadius", "inputScale", "inputAngle"},
     nullptr,
     {{"inputRadius", {9}}, {"inputScale", {0}}}},
    {"CICircleSplashDistortion", {"inputCenter", "inputRadius"}, nullptr, {}},
    {"CICircularWrap", {"inputCenter", "inputRadius", "inputAngle"}, nullptr, {}},
    {"CIDisplacementDistortion", {"inputScale"}, "inputDisplacementImage", {{"inputScale", {0}}}},
    {"CIDroste",
     {"inputInsetPoint0", "inputInsetPoint1", "inputPeriodicity", "inputRotation", "inputStrands", "inputZoom"},
     nullptr,
     {{"inputInsetPoint1", {5, 0}}}},
    {"CIGlassDistortion", {"inputCenter", "inputScale"}, "inputTexture", {{"inputScale", {0}}}},
    {"CIGlassLozenge",
     {"inputPoint0", "inputPoint1", "inputRadius", "inputRefraction"},
     nullptr,
     {{"inputRadius", {9}}, {"inputRefraction", {1}}}},
};

class DistortionLimitsTest : public testing::TestWithParam<Kind> {
  protected:
    static std::vector<Value> With(const ImageRef& second, std::vector<Value> values) {
        if (GetParam().secondImage != nullptr) values.push_back({GetParam().secondImage, {}, second});
        return values;
    }
    const ImageRef board_ = Generated(
        "CICheckerboardGenerator", {{"inputWidth", {8}}, {"inputColor0", {1, 1, 1, 1}}, {"inputColor1", {0, 0, 0, 1}}});
    const ImageRef dot_ = SourceOf({2, 3, 1, 1}, {1, 0.5f, 0, 1}).image;
    const ImageRef empty_ = MakeCroppedImage(dot_, {});
};

TEST_P(DistortionLimitsTest, HostileNumbersAndAllExtentsGiveFinitePixels) {
    Random random;
    const auto hostile = [&] { return kHostile[static_cast<std::size_t>(random.Whole(0, std::size(kHostile) - 1))]; };
    for (int round = 0; round < 40; ++round) {
        std::vector<Value> values;
        for (const char* key : GetParam().keys) values.push_back({key, {hostile(), hostile()}});
        for (const ImageRef& image : {dot_, RandomSource(random).image, empty_, board_}) {
            for (const ImageRef& second : {board_, empty_, dot_}) {
                ExpectFinite(Output(GetParam().filter, image, With(second, values)));
            }
        }
    }
}

TEST_P(DistortionLimitsTest, MissingImagesGiveNull) {
    EXPECT_EQ(Output(GetParam().filter, nullptr, {}), nullptr);
    if (GetParam().secondImage == nullptr) return;
    EXPECT_EQ(Output(GetParam().filter, dot_, {{"inputScale", {5}}}), nullptr);
}

TEST_P(DistortionLimitsTest, IdentitySettingsReturnTheInput) {
    if (GetParam().identity.empty()) return;
    EXPECT_EQ(Output(GetParam().filter, dot_, With(board_, GetParam().identity)), dot_);
}

TEST_P(DistortionLimitsTest, EmptyImagesStayEmpty) {
    std::vector<Value> values;
    for (const char* key : GetParam().keys) values.push_back({key, {7, 9}});
    const ImageRef image = Output(GetParam().filter, empty_, With(board_, values));
    EXPECT_TRUE(image->GetExtent().IsEmpty() || Pixels(image, {0, 0, 2, 2}) == std::vector<float>(16, 0.0f));
}

INSTANTIATE_TEST_SUITE_P(Kinds, DistortionLimitsTest, testing::ValuesIn(kKinds),
                         [](const auto& test) { return std::string(test.param.filter); });

TEST(DistortionExtentTest, MatchesTheInputUnlessPixelsLeaveIt) {
    Random random;
    const Source source = RandomSource(random);
    const auto extent = [&](const char* filter, std::vector<Value> values) {
        return Output(filter, source.image, values)->GetExtent();
    };
    const Value radius = {"inputRadius", {30}}, scale = {"inputScale", {0.5}};
    EXPECT_EQ(extent("CIBumpDistortion", {radius, scale}), source.image->GetExtent());
    EXPECT_EQ(extent("CIBumpDistortionLinear", {radius, scale}), source.image->GetExtent());
    EXPECT_EQ(extent("CIGlassLozenge", {radius, {"inputRefraction", {1.7}}}), source.image->GetExtent());
    EXPECT_EQ(extent("CIGlassDistortion", {scale, {"inputTexture", {}, source.image}}), source.image->GetExtent());
    EXPECT_TRUE(extent("CICircleSplashDistortion", {radius}).IsInfinite());
    const ImageRef board = Generated("CICheckerboardGenerator", {{"inputWidth", {8}}});
    EXPECT_TRUE(Output("CIBumpDistortion", board, {radius, scale})->GetExtent().IsInfinite());
    EXPECT_EQ(Output("CICircularWrap", board, {radius}), nullptr);
}

TEST(DistortionLimitsTest, GlassMayBeInfiniteInOneDirectionOrTooFarAway) {
    const ImageRef board = Generated(
        "CICheckerboardGenerator",
        {{"inputWidth", {3}}, {"inputSharpness", {1}}, {"inputColor0", {1, 1, 1, 1}}, {"inputColor1", {0, 0, 0, 1}}});
    Random random;
    const Source source = RandomSource(random);
    const auto seen = [&](const Extent& cell, std::vector<double> center) {
        return Pixels(
            Output(
                "CIGlassDistortion", source.image,
                {{"inputTexture", {}, MakeCroppedImage(board, cell)}, {"inputCenter", center}, {"inputScale", {20}}}),
            source.region);
    };
    const auto all = std::numeric_limits<double>::infinity();
    const std::vector<float> whole = Pixels(source.image, source.region);
    for (const Extent& cell : {Extent{-all, 0, all, 64}, Extent{0, -all, 64, all}}) {
        const std::vector<float> pixels = seen(cell, {-30, -30});
        EXPECT_NE(pixels, whole);
        EXPECT_TRUE(std::ranges::all_of(pixels, [](float number) { return std::isfinite(number); }));
    }
    EXPECT_EQ(seen({-1e15, 0, -1e15 + 64, 64}, {1e30, 0}), whole);
}

TEST(DistortionLimitsTest, InfiniteImagesAreDistortedEverywhere) {
    const ImageRef board = Generated(
        "CICheckerboardGenerator",
        {{"inputWidth", {1e6}}, {"inputSharpness", {1}}, {"inputColor0", {1, 1, 1, 1}}, {"inputColor1", {0, 0, 0, 1}}});
    const ImageRef image = Output("CIBumpDistortion", board, {{"inputRadius", {300}}, {"inputScale", {-3}}});
    EXPECT_EQ(Pixels(image, {30, 40, 1, 1}), (std::vector<float>{1, 1, 1, 1}));
    EXPECT_EQ(Pixels(image, {-70000, 40, 1, 1}), (std::vector<float>{0, 0, 0, 1}));
}

}  // namespace
