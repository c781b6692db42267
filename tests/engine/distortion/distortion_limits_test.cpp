// distortion_limits_test.cpp - distortions with any numbers and images of any extent, and settings that move nothing.

#include "support/oracle.h"

namespace {

using namespace oracle;

// A filter with its numbers and points, the second image it needs, and values that move nothing.
struct Kind {
    const char* filter;
    std::vector<const char*> keys;
    const char* secondImage;
    std::vector<Value> identity;
};
void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.filter; }

// clang-format off
const Kind kKinds[] = {
    // filter                     keys                                                             second image              identity
    {"CIBumpDistortion",         {"inputCenter", "inputRadius", "inputScale"},                     nullptr,                  {{"inputRadius", {9}}, {"inputScale", {0}}}},
    {"CIBumpDistortionLinear",   {"inputCenter", "inputRadius", "inputScale", "inputAngle"},       nullptr,                  {{"inputRadius", {9}}, {"inputScale", {0}}}},
    {"CICircleSplashDistortion", {"inputCenter", "inputRadius"},                                   nullptr,                  {}},
    {"CICircularWrap",           {"inputCenter", "inputRadius", "inputAngle"},                     nullptr,                  {}},
    {"CIDisplacementDistortion", {"inputScale"},                                                   "inputDisplacementImage", {{"inputScale", {0}}}},
    {"CIDroste",                 {"inputInsetPoint0", "inputInsetPoint1", "inputPeriodicity", "inputRotation", "inputStrands", "inputZoom"},
                                                                                                   nullptr,                  {{"inputInsetPoint1", {5, 0}}}},
    {"CIGlassDistortion",        {"inputCenter", "inputScale"},                                    "inputTexture",           {{"inputScale", {0}}}},
    {"CIGlassLozenge",           {"inputPoint0", "inputPoint1", "inputRadius", "inputRefraction"}, nullptr,                  {{"inputRadius", {9}}, {"inputRefraction", {1}}}},
};
// clang-format on

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

TEST_P(DistortionLimitsTest, AnyNumbersAndExtentsGiveFinitePixels) {
    Random random;
    const auto hostile = [&] { return kHostile[static_cast<std::size_t>(random.Whole(0, std::size(kHostile) - 1))]; };
    for (int round = 0; round < 40; ++round) {
        std::vector<Value> values;
        for (const char* key : GetParam().keys) values.push_back({key, {hostile(), hostile()}});
        for (const ImageRef& image : {dot_, RandomSource(random).image, empty_, board_}) {
            for (const ImageRef& second : {board_, empty_, dot_}) {
                ExpectSound(Output(GetParam().filter, image, With(second, values)));
            }
        }
    }
}

TEST_P(DistortionLimitsTest, MissingImagesGiveNone) {
    EXPECT_EQ(Output(GetParam().filter, nullptr, {}), nullptr);
    if (GetParam().secondImage == nullptr) return;
    EXPECT_EQ(Output(GetParam().filter, dot_, {{"inputScale", {5}}}), nullptr);
}

TEST_P(DistortionLimitsTest, SettingsThatMoveNothingGiveTheInput) {
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

TEST(DistortionExtentTest, IsTheInputSUnlessPixelsLeaveIt) {
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

TEST(DistortionLimitsTest, EndlessImagesAreBentEverywhere) {
    const ImageRef board = Generated(
        "CICheckerboardGenerator",
        {{"inputWidth", {1e6}}, {"inputSharpness", {1}}, {"inputColor0", {1, 1, 1, 1}}, {"inputColor1", {0, 0, 0, 1}}});
    const ImageRef image = Output("CIBumpDistortion", board, {{"inputRadius", {300}}, {"inputScale", {-3}}});
    EXPECT_EQ(Pixels(image, {30, 40, 1, 1}), (std::vector<float>{1, 1, 1, 1}));
    EXPECT_EQ(Pixels(image, {-70000, 40, 1, 1}), (std::vector<float>{0, 0, 0, 1}));
}

}  // namespace
