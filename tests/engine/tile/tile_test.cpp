// tile_test.cpp - compares tiles with formulas in doubles and with hand-computed rows, and checks their symmetries.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "generator/generator.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

// A point in units of the cell's edges. The functions below fold a point into the cell by the definition of each tile.
using Place = std::array<double, 2>;
double Modulo(double value, double period) { return value - period * std::floor(value / period); }
double UpAndDown(double value, double height) {
    const double up = Modulo(value, 2 * height);
    return up > height ? 2 * height - up : up;
}
Place Translated(double s, double t) { return {Modulo(s, 1), Modulo(t, 1)}; }
Place Reflected(double s, double t) { return {UpAndDown(s, 1), UpAndDown(t, 1)}; }
Place EightfoldReflected(double s, double t) {
    const double p = UpAndDown(s, 0.5), q = UpAndDown(t, 0.5);
    return {std::max(p, q), std::min(p, q)};
}
Place Rotated(double s, double t) {
    const double a = Modulo(s, 1), b = Modulo(t, 1);
    if (Modulo(s, 2) < 1) return Modulo(t, 2) < 1 ? Place{a, b} : Place{1 - b, a};
    return Modulo(t, 2) < 1 ? Place{b, 1 - a} : Place{1 - a, 1 - b};
}
Place GlideReflected(double s, double t) {
    const bool isOdd = Modulo(s, 2) >= 1;
    return {isOdd ? 1 - Modulo(s, 1) : Modulo(s, 1), Modulo(isOdd ? t + 1 : t, 2)};
}

constexpr Region kRegion = {-40, -40, 81, 79};

struct Kind {
    const char* filter;
    Place (*fold)(double s, double t);
    bool hasAcuteAngle;
};
class TileTest : public testing::TestWithParam<Kind> {
  protected:
    static ImageRef Tiled(const ImageRef& image, std::vector<double> center, double width, double angle = 0,
                          double acuteAngle = 1.5707963267948966) {
        return Output(GetParam().filter, image,
                      {{"inputCenter", std::move(center)},
                       {"inputWidth", {width}},
                       {"inputAngle", {angle}},
                       {"inputAcuteAngle", {acuteAngle}}});
    }

    static bool Is(const char* name) { return GetParam().filter == std::string(name); }
};

TEST_P(TileTest, MatchesTheFormula) {
    Random random;
    for (int round = 0; round < 20; ++round) {
        const Source source = RandomSource(random);
        const double cx = static_cast<double>(source.region.x) + random.Between(-5, 15);
        const double cy = static_cast<double>(source.region.y) + random.Between(-5, 15),
                     width = random.Between(0.6, 50);
        const double angle = random.Between(-7, 7), acute = round % 5 == 0 ? 0.004 : random.Between(-3.1, 3.1);
        const double between = GetParam().hasAcuteAngle ? acute : 1.5707963267948966;
        const double sine = std::copysign(std::max(std::abs(std::sin(between)), 0.01), std::sin(between));
        const ImageRef image = Tiled(source.image, {cx, cy}, width, angle, acute);
        const At at = [&](std::int64_t x, std::int64_t y, std::size_t channel) { return source.At(x, y, channel); };
        ExpectPixels(image, kRegion, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const double dx = static_cast<double>(x) + 0.5 - cx, dy = static_cast<double>(y) + 0.5 - cy;
            const double right = dx * std::cos(angle) + dy * std::sin(angle);
            const double up = dy * std::cos(angle) - dx * std::sin(angle);
            const double t = up / sine / width, s = right / width - t * std::cos(between);
            const auto [s1, t1] = GetParam().fold(s, t);
            const double right1 = (s1 + t1 * std::cos(between)) * width, up1 = t1 * sine * width;
            return Bilinear(at, cx + right1 * std::cos(angle) - up1 * std::sin(angle),
                            cy + right1 * std::sin(angle) + up1 * std::cos(angle), channel);
        });
    }
}

// Tiles of whole pixels must not change under their symmetries.
TEST_P(TileTest, IsInvariantUnderItsSymmetries) {
    constexpr std::int64_t kWidth = 6, kCenterX = 11, kCenterY = -7;
    using Symmetry = std::array<std::int64_t, 2> (*)(std::int64_t x, std::int64_t y);  // relative to the center
    const Symmetry mirrorX = [](std::int64_t x, std::int64_t y) { return std::array{-1 - x, y}; };
    const Symmetry mirrorY = [](std::int64_t x, std::int64_t y) { return std::array{x, -1 - y}; };
    const Symmetry diagonal = [](std::int64_t x, std::int64_t y) { return std::array{y, x}; };
    const Symmetry moveX = [](std::int64_t x, std::int64_t y) { return std::array{x + kWidth, y}; };
    const Symmetry moveY = [](std::int64_t x, std::int64_t y) { return std::array{x, y + kWidth}; };
    const Symmetry moveX2 = [](std::int64_t x, std::int64_t y) { return std::array{x + 2 * kWidth, y}; };
    const Symmetry moveY2 = [](std::int64_t x, std::int64_t y) { return std::array{x, y + 2 * kWidth}; };
    const Symmetry quarter = [](std::int64_t x, std::int64_t y) { return std::array{-1 - y, x}; };
    const Symmetry otherQuarter = [](std::int64_t x, std::int64_t y) { return std::array{2 * kWidth - 1 - y, x}; };
    const Symmetry glide = [](std::int64_t x, std::int64_t y) { return std::array{-1 - x, y + kWidth}; };
    std::vector<Symmetry> symmetries;
    if (Is("CIFourfoldTranslatedTile")) symmetries = {moveX, moveY};
    if (Is("CIFourfoldReflectedTile")) symmetries = {mirrorX, mirrorY, moveX2, moveY2};
    if (Is("CIEightfoldReflectedTile")) symmetries = {mirrorX, mirrorY, diagonal, moveX, moveY};
    if (Is("CIFourfoldRotatedTile")) symmetries = {quarter, otherQuarter, moveX2, moveY2};
    if (Is("CIGlideReflectedTile")) symmetries = {glide, moveX2, moveY2};
    const ImageRef image = MakeAffineImage(RandomImage(9, 9), {1, 0, 0, 1, 10, -8});
    const ImageRef tiles = Tiled(image, {kCenterX, kCenterY}, kWidth);
    const auto pixel = [&](std::int64_t x, std::int64_t y) {
        return Pixels(tiles, {kCenterX + x, kCenterY + y, 1, 1});
    };
    ASSERT_FALSE(symmetries.empty());
    for (const Symmetry symmetry : symmetries) {
        for (std::int64_t y = -14; y < 14; ++y) {
            for (std::int64_t x = -14; x < 14; ++x) {
                const auto [x1, y1] = symmetry(x, y);
                const std::vector<float> one = pixel(x, y), other = pixel(x1, y1);
                for (std::size_t i = 0; i < 4; ++i) ASSERT_NEAR(one[i], other[i], 1e-6) << x << ", " << y;
            }
        }
    }
}

TEST_P(TileTest, SeamsThroughPixelCentersAreStraight) {
    const ImageRef image = RandomImage(40, 40);
    constexpr double kQuarter = 1.5707963267948966, kFloatQuarter = 1.57079637050628662,
                     kFloatHalf = 3.1415927410125732;
    for (const auto& [width, angle, acute] : {std::array{7.0, kQuarter, kQuarter},
                                              {7.0, kFloatQuarter, kFloatQuarter},
                                              {7.0, kFloatHalf, kQuarter},
                                              {7 * std::sqrt(2.0), kQuarter / 2, kQuarter}}) {
        const ImageRef tiles = Tiled(image, {10.5, 10.5}, width, angle, acute);
        for (const std::int64_t far : {14, 1400, 140000}) {
            const std::vector<float> near = Pixels(tiles, {0, 0, 30, 30}), same = Pixels(tiles, {far, -far, 30, 30});
            for (std::size_t i = 0; i < near.size(); ++i) ASSERT_NEAR(near[i], same[i], 1e-5) << far;
        }
    }
}

TEST_P(TileTest, DoesNotDependOnTiling) {
    const ImageRef tiles = Tiled(RandomImage(40, 40), {10.5, 11}, 7, 1, 2);
    EXPECT_EQ(Pixels(tiles, kRegion, {23, 16, 7}), Pixels(tiles, kRegion));
}

TEST_P(TileTest, ExtentIsInfiniteAndNoInputGivesNull) {
    EXPECT_TRUE(Tiled(RandomImage(3, 3), {1, 1}, 2)->GetExtent().IsInfinite());
    EXPECT_TRUE(Tiled(MakeConstantImage({1, 1, 1, 1}), {1, 1}, 2)->GetExtent().IsInfinite());
    EXPECT_EQ(Tiled(nullptr, {1, 1}, 2), nullptr);
}

TEST_P(TileTest, ConstantImageIsUnchanged) {
    const ImageRef tiles = Tiled(MakeConstantImage({0.25f, 0.5f, 0.75f, 1}), {1, 1}, 7.3, 0.4, 1);
    EXPECT_EQ(Pixels(tiles, {-99, 1000000, 1, 1}), (std::vector<float>{0.25f, 0.5f, 0.75f, 1}));
}

TEST_P(TileTest, HostileNumbersAndImagesGiveFinitePixels) {
    const ImageRef usual = SourceOf({2, 3, 2, 1}, {1, 1, 1, 1, 0, 0, 0, 1}).image;
    const ImageRef images[] = {usual, MakeConstantImage({1, 0.5f, 0, 1}), MakeCroppedImage(usual, {})};
    for (const ImageRef& image : images) {
        for (const double number : kHostile) {
            for (const double other : kHostile) {
                ExpectFinite(Tiled(image, {number, other}, other, number, other));
                ExpectFinite(Tiled(image, {2, 3}, number, 0, other));
            }
        }
    }
}

TEST_P(TileTest, CellsWithoutWidthAreOnePixelWide) {
    const ImageRef image = RandomImage(9, 9);
    for (const double tooSmall : {0.0, -5.0}) {
        EXPECT_EQ(Pixels(Tiled(image, {3, 4}, tooSmall), kRegion), Pixels(Tiled(image, {3, 4}, 1), kRegion));
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, TileTest,
                         testing::Values(Kind{"CIEightfoldReflectedTile", EightfoldReflected, false},
                                         Kind{"CIFourfoldReflectedTile", Reflected, true},
                                         Kind{"CIFourfoldRotatedTile", Rotated, false},
                                         Kind{"CIFourfoldTranslatedTile", Translated, true},
                                         Kind{"CIGlideReflectedTile", GlideReflected, false}),
                         [](const auto& test) { return std::string(test.param.filter); });

// Returns the red of eight pixels in a row of tiles. The cell is 2 x 2 pixels, 1 2 above 3 4, and its corner is the
// origin. The row starts four pixels to the left of the origin.
std::vector<float> RowOf(const char* filter, std::int64_t y, double width = 2) {
    const Source cell = SourceOf({0, 0, 2, 2}, {1, 0, 0, 1, 2, 0, 0, 1, 3, 0, 0, 1, 4, 0, 0, 1});
    const ImageRef tiles = Output(filter, cell.image,
                                  {{"inputCenter", {0, 0}},
                                   {"inputWidth", {width}},
                                   {"inputAngle", {0}},
                                   {"inputAcuteAngle", {1.5707963267948966}}});
    std::vector<float> row;
    const std::vector<float> pixels = Pixels(tiles, {-4, y, 8, 1});
    for (std::size_t index = 0; index < pixels.size(); index += 4)
        row.push_back(std::round(pixels[index] * 1e5f) / 1e5f);
    return row;
}

TEST(TilesByHandTest, CellIsRepeated) {
    EXPECT_EQ(RowOf("CIFourfoldTranslatedTile", 0), (std::vector<float>{3, 4, 3, 4, 3, 4, 3, 4}));
    EXPECT_EQ(RowOf("CIFourfoldTranslatedTile", 3), (std::vector<float>{1, 2, 1, 2, 1, 2, 1, 2}));
}

TEST(TilesByHandTest, CellIsReflected) {
    EXPECT_EQ(RowOf("CIFourfoldReflectedTile", 0), (std::vector<float>{3, 4, 4, 3, 3, 4, 4, 3}));
    EXPECT_EQ(RowOf("CIFourfoldReflectedTile", 2), (std::vector<float>{1, 2, 2, 1, 1, 2, 2, 1}));
    EXPECT_EQ(RowOf("CIFourfoldReflectedTile", 3), (std::vector<float>{3, 4, 4, 3, 3, 4, 4, 3}));
}

TEST(TilesByHandTest, CellIsRotated) {
    EXPECT_EQ(RowOf("CIFourfoldRotatedTile", 0), (std::vector<float>{3, 4, 1, 3, 3, 4, 1, 3}));
    EXPECT_EQ(RowOf("CIFourfoldRotatedTile", 1), (std::vector<float>{1, 2, 2, 4, 1, 2, 2, 4}));
    EXPECT_EQ(RowOf("CIFourfoldRotatedTile", 2), (std::vector<float>{4, 2, 2, 1, 4, 2, 2, 1}));
}

// The cell is twice as tall as wide; its upper half is transparent here.
TEST(TilesByHandTest, OddColumnsOfCellsAreReflectedAndMovedByHalfTheCell) {
    EXPECT_EQ(RowOf("CIGlideReflectedTile", 0), (std::vector<float>{3, 4, 0, 0, 3, 4, 0, 0}));
    EXPECT_EQ(RowOf("CIGlideReflectedTile", 2), (std::vector<float>{0, 0, 4, 3, 0, 0, 4, 3}));
    EXPECT_EQ(RowOf("CIGlideReflectedTile", -1), (std::vector<float>{0, 0, 2, 1, 0, 0, 2, 1}));
    EXPECT_EQ(RowOf("CIGlideReflectedTile", 5), (std::vector<float>{1, 2, 0, 0, 1, 2, 0, 0}));
}

TEST(TilesByHandTest, TriangleIsReflected) {
    // The cell is 4 x 4 pixels. The triangle in its lower left quarter has 3 4 in the lower row and 2 on the diagonal.
    EXPECT_EQ(RowOf("CIEightfoldReflectedTile", 0, 4), (std::vector<float>{3, 4, 4, 3, 3, 4, 4, 3}));
    EXPECT_EQ(RowOf("CIEightfoldReflectedTile", 1, 4), (std::vector<float>{4, 2, 2, 4, 4, 2, 2, 4}));
}

}  // namespace
