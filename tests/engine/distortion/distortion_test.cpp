// distortion_test.cpp - compares each distortion with textbook formulas in doubles and with hand-computed positions.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "core/luminance.h"
#include "core/transfer.h"
#include "support/oracle.h"

namespace {

using namespace oracle;

struct Point {
    double x, y;
};

// A filter, its random values, and the source position of the pixel at a point for these values and images.
struct Kind {
    const char* filter;
    std::function<std::vector<Value>(Random&, const Source& second)> values;
    std::function<Point(const std::vector<Value>&, Point, const Source& image, const Source& second)> place;
    // For an image that is extended by its outermost pixels, and blended with itself undistorted: the share of the
    // distorted one.
    double (*share)(const std::vector<Value>&, Point) = nullptr;
};
void PrintTo(const Kind& kind, std::ostream* out) { *out << kind.filter; }

double Smooth(double t) {
    t = std::clamp(t, 0.0, 1.0);
    return t * t * (3 - 2 * t);
}

Value RandomPoint(Random& random, const char* key) { return {key, {random.Between(-40, 60), random.Between(-40, 60)}}; }

Point Bump(const std::vector<Value>& v, Point p, const Source&, const Source&) {
    const double dx = p.x - v[0].elements[0], dy = p.y - v[0].elements[1];
    const double factor = 1 - v[2].elements[0] * (1 - Smooth(std::hypot(dx, dy) / v[1].elements[0]));
    return {v[0].elements[0] + dx * factor, v[0].elements[1] + dy * factor};
}

// Rotates so that the line becomes the x axis, and back.
Point LinearBump(const std::vector<Value>& v, Point p, const Source&, const Source&) {
    const double c = std::cos(v[3].elements[0]), s = std::sin(v[3].elements[0]);
    const double dx = p.x - v[0].elements[0], dy = p.y - v[0].elements[1];
    const double along = c * dx + s * dy;
    double across = c * dy - s * dx;
    across *= 1 - v[2].elements[0] * (1 - Smooth(std::abs(across) / v[1].elements[0]));
    return {v[0].elements[0] + c * along - s * across, v[0].elements[1] + s * along + c * across};
}

Point Splash(const std::vector<Value>& v, Point p, const Source&, const Source&) {
    const double dx = p.x - v[0].elements[0], dy = p.y - v[0].elements[1], radius = v[1].elements[0];
    const double share = std::min(1.0, radius / std::hypot(dx, dy));
    return {v[0].elements[0] + dx * share, v[0].elements[1] + dy * share};
}

Point Wrap(const std::vector<Value>& v, Point p, const Source& image, const Source&) {
    const double dx = p.x - v[0].elements[0], dy = p.y - v[0].elements[1], radius = v[1].elements[0];
    double angle = v[2].elements[0] - std::atan2(dy, dx);
    const double least = -std::min(0.5 / radius, M_PI);
    while (angle >= least + 2 * M_PI) angle -= 2 * M_PI;
    while (angle < least) angle += 2 * M_PI;
    angle += 0.0102 * std::sin(8 * angle);
    return {static_cast<double>(image.region.x) + 0.5 + radius * angle,
            static_cast<double>(image.region.y) + 0.5 + std::hypot(dx, dy) - radius};
}

// The vector to a point from the nearest point of the axis of a lozenge.
Point FromAxis(const std::vector<Value>& v, Point p) {
    const double ax = v[0].elements[0], ay = v[0].elements[1], wx = v[1].elements[0] - ax, wy = v[1].elements[1] - ay;
    const double along = std::clamp(((p.x - ax) * wx + (p.y - ay) * wy) / (wx * wx + wy * wy), 0.0, 1.0);
    return {p.x - ax - along * wx, p.y - ay - along * wy};
}

Point Lozenge(const std::vector<Value>& v, Point p, const Source&, const Source&) {
    const auto [dx, dy] = FromAxis(v, p);
    const double radius = v[2].elements[0], distance = std::hypot(dx, dy), r = distance / radius;
    if (r >= 1) return p;
    const double a = std::asin(r), b = std::asin(std::min(1.0, r / v[3].elements[0]));
    const double move = radius * (std::sqrt(1 - r * r) + 2) * std::tan(a - b);
    return {p.x - dx / distance * move, p.y - dy / distance * move};
}

// Returns the share of the glass in the colors at a point; the rim of a lozenge is 1.25 pixels wide.
double ShareOfLozenge(const std::vector<Value>& v, Point p) {
    const auto [dx, dy] = FromAxis(v, p);
    return std::clamp((v[2].elements[0] - std::hypot(dx, dy)) / 1.25, 0.0, 1.0);
}

double Light(const Source& source, std::int64_t x, std::int64_t y) {
    double sum = 0;
    for (std::size_t channel = 0; channel < 3; ++channel) sum += kLuminance[channel] * source.At(x, y, channel);
    return sum;
}

Point Displacement(const std::vector<Value>& v, Point p, const Source&, const Source& second) {
    const auto x = static_cast<std::int64_t>(std::floor(p.x)), y = static_cast<std::int64_t>(std::floor(p.y));
    const double alpha = second.At(x, y, 3);
    if (alpha == 0) return p;
    const double move = v[1].elements[0] * alpha * (std::clamp(Light(second, x, y) / alpha, 0.0, 1.0) - 0.5);
    return {p.x + move, p.y + move};
}

Point Glass(const std::vector<Value>& v, Point p, const Source&, const Source& second) {
    const auto height = [&](std::int64_t x, std::int64_t y) {
        const auto wrapped = [](std::int64_t place, double start, std::int64_t length) {
            return ((place - static_cast<std::int64_t>(start)) % length + length) % length;
        };
        return std::clamp(Light(second, second.region.x + wrapped(x, v[1].elements[0], second.region.width),
                                second.region.y + wrapped(y, v[1].elements[1], second.region.height)),
                          0.0, 1.0);
    };
    const auto x = static_cast<std::int64_t>(std::floor(p.x)), y = static_cast<std::int64_t>(std::floor(p.y));
    const double half = v[2].elements[0] / 2;
    return {p.x + half * (height(x + 1, y) - height(x - 1, y)), p.y + half * (height(x, y + 1) - height(x, y - 1))};
}

const Kind kKinds[] = {
    {"CIBumpDistortion",
     [](Random& r, const Source&) {
         return std::vector<Value>{
             RandomPoint(r, "inputCenter"), {"inputRadius", {r.Between(1, 90)}}, {"inputScale", {r.Between(-2, 2)}}};
     },
     Bump},
    {"CIBumpDistortionLinear",
     [](Random& r, const Source&) {
         return std::vector<Value>{RandomPoint(r, "inputCenter"),
                                   {"inputRadius", {r.Between(1, 90)}},
                                   {"inputScale", {r.Between(-2, 2)}},
                                   {"inputAngle", {r.Between(-7, 7)}}};
     },
     LinearBump},
    {"CICircleSplashDistortion",
     [](Random& r, const Source&) {
         return std::vector<Value>{RandomPoint(r, "inputCenter"), {"inputRadius", {r.Between(0, 60)}}};
     },
     Splash},
    {"CICircularWrap",
     [](Random& r, const Source&) {
         return std::vector<Value>{
             RandomPoint(r, "inputCenter"), {"inputRadius", {r.Between(0, 30)}}, {"inputAngle", {r.Between(-7, 7)}}};
     },
     Wrap},
    {"CIGlassLozenge",
     [](Random& r, const Source&) {
         return std::vector<Value>{RandomPoint(r, "inputPoint0"),
                                   RandomPoint(r, "inputPoint1"),
                                   {"inputRadius", {r.Between(1, 60)}},
                                   {"inputRefraction", {r.Between(0.2, 3)}}};
     },
     Lozenge, ShareOfLozenge},
    {"CIDisplacementDistortion",
     [](Random& r, const Source& second) {
         return std::vector<Value>{{"inputDisplacementImage", {}, second.image}, {"inputScale", {r.Between(-60, 60)}}};
     },
     Displacement},
    {"CIGlassDistortion",
     [](Random& r, const Source& second) {
         return std::vector<Value>{
             {"inputTexture", {}, second.image},
             {"inputCenter", {static_cast<double>(r.Whole(-40, 40)), static_cast<double>(r.Whole(-40, 40))}},
             {"inputScale", {r.Between(-30, 30)}}};
     },
     Glass},
};

class DistortionTest : public testing::TestWithParam<Kind> {};

constexpr Region kAround = {-70, -60, 151, 127};

// The engine's positions are floats, 2^-16 apart from 128 on, and neighboring pixels differ by up to 2.5.
constexpr double kPositionTolerance = 4e-5;

TEST_P(DistortionTest, InterpolatesAtThePositionOfTheFormula) {
    Random random;
    for (int round = 0; round < 20; ++round) {
        const Source source = RandomSource(random), second = RandomSource(random);
        const std::vector<Value> values = GetParam().values(random, second);
        const ImageRef image = Output(GetParam().filter, source.image, values);
        const Extent extent = image->GetExtent();
        const auto share = GetParam().share;
        const At at = [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            return share != nullptr ? AtNearest(source, x, y, channel) : source.At(x, y, channel);
        };
        const Slow slow = [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const Point p = {static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5};
            if (p.x < extent.left || p.x > extent.right || p.y < extent.bottom || p.y > extent.top) return 0.0;
            const Point place = GetParam().place(values, p, source, second);
            const double distorted = Bilinear(at, place.x, place.y, channel);
            return share == nullptr ? distorted : std::lerp(source.At(x, y, channel), distorted, share(values, p));
        };
        ExpectPixels(image, kAround, slow, kPositionTolerance);
    }
}

// Also checks that each block requests all of the input that it needs.
TEST_P(DistortionTest, DoesNotDependOnTiling) {
    Random random;
    for (int round = 0; round < 10; ++round) {
        const Source source = RandomSource(random), second = RandomSource(random);
        const ImageRef image = Output(GetParam().filter, source.image, GetParam().values(random, second));
        const std::vector<float> whole = Pixels(image, kAround);
        for (const Cut& cut : {Cut{4096, 5, 3}, Cut{9, 9, 9}, Cut{31, 16, 64}}) {
            ASSERT_EQ(Pixels(image, kAround, cut), whole) << cut.blockEdge;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Kinds, DistortionTest, testing::ValuesIn(kKinds),
                         [](const auto& test) { return std::string(test.param.filter); });

// Returns an image whose red is the column and whose green is the row, so that results show source positions.
Source Numbered(const Region& region) {
    std::vector<float> pixels;
    for (std::int64_t y = region.Top() - 1; y >= region.y; --y) {
        for (std::int64_t x = region.x; x < region.Right(); ++x) {
            pixels.insert(pixels.end(), {static_cast<float>(x), static_cast<float>(y), 0, 1});
        }
    }
    return SourceOf(region, pixels);
}

// Expects that a pixel comes from this column and row.
void ExpectFrom(const ImageRef& image, std::int64_t x, std::int64_t y, double column, double row) {
    const std::vector<float> pixel = Pixels(image, {x, y, 1, 1});
    EXPECT_NEAR(static_cast<double>(pixel[0]), column, 1e-4);
    EXPECT_NEAR(static_cast<double>(pixel[1]), row, 1e-4);
}

TEST(DistortionNumbersTest, BumpSamplesCloserToTheCenter) {
    const ImageRef image = Output("CIBumpDistortion", Numbered({0, 0, 101, 61}).image,
                                  {{"inputCenter", {50.5, 30.5}}, {"inputRadius", {40}}, {"inputScale", {0.5}}});
    // At 10 of 40 from the center: smooth(1/4) = 0.15625, and 10 (1 - 0.5 * 0.84375) = 5.78125.
    ExpectFrom(image, 60, 30, 55.78125, 30);
    ExpectFrom(image, 50, 40, 50, 35.78125);
    ExpectFrom(image, 50, 30, 50, 30);
    ExpectFrom(image, 90, 30, 90, 30);
}

TEST(DistortionNumbersTest, LinearBumpMovesPixelsOnlyAcrossItsLine) {
    const std::vector<Value> flat = {{"inputCenter", {50.5, 30.5}}, {"inputRadius", {40}}, {"inputScale", {0.5}}};
    const ImageRef image = Output("CIBumpDistortionLinear", Numbered({0, 0, 101, 61}).image, flat);
    ExpectFrom(image, 3, 40, 3, 35.78125);
    std::vector<Value> upright = flat;
    upright.push_back({"inputAngle", {M_PI / 2}});
    const ImageRef turned = Output("CIBumpDistortionLinear", Numbered({0, 0, 101, 61}).image, upright);
    ExpectFrom(turned, 60, 3, 55.78125, 3);
}

TEST(DistortionNumbersTest, SplashKeepsTheDiscAndExtendsItsRim) {
    const ImageRef image = Output("CICircleSplashDistortion", Numbered({0, 0, 101, 61}).image,
                                  {{"inputCenter", {50.5, 30.5}}, {"inputRadius", {20}}});
    EXPECT_TRUE(image->GetExtent().IsInfinite());
    ExpectFrom(image, 60, 30, 60, 30);
    ExpectFrom(image, 90, 30, 70, 30);
    // 30 to the right and 40 up is a distance of 50; the rim is at 12 and 16.
    ExpectFrom(image, 80, 70, 62, 46);
    ExpectFrom(image, -100000, 30, 30, 30);
}

TEST(DistortionNumbersTest, WrapBeginsOnTheRightAndRunsClockwise) {
    const std::vector<Value> values = {{"inputCenter", {0.5, 0.5}}, {"inputRadius", {20}}};
    const ImageRef image = Output("CICircularWrap", Numbered({0, 0, 101, 61}).image, values);
    // The center of the first row is on the circle.
    ExpectFrom(image, 25, 0, 0, 5);
    ExpectFrom(image, 0, -25, 10 * M_PI, 5);
    ExpectFrom(image, -25, 0, 20 * M_PI, 5);
    ExpectFrom(image, 0, 80, 30 * M_PI, 60);
    EXPECT_EQ(Pixels(image, {0, 0, 1, 1}), std::vector<float>(4, 0.0f));
    std::vector<Value> quarter = values;
    quarter.push_back({"inputAngle", {M_PI / 2}});
    ExpectFrom(Output("CICircularWrap", Numbered({0, 0, 101, 61}).image, quarter), 0, 25, 0, 5);
}

TEST(DistortionNumbersTest, WrapExtendsOverTheSectorThatItsImageFills) {
    const auto extent = [](std::int64_t width, double angle) {
        return Output("CICircularWrap", Numbered({7, 8, width, 61}).image,
                      {{"inputCenter", {0.5, 0.5}}, {"inputRadius", {20}}, {"inputAngle", {angle}}})
            ->GetExtent();
    };
    // Five radians: all four directions of the axes.
    EXPECT_EQ(extent(101, 0), (Extent{-80, -80, 81, 81}));
    // One radian: 20 cos 1 = 10.81 to the left, 80 sin 1 = 67.32 below.
    EXPECT_EQ(extent(21, 0), (Extent{11, -67, 81, 1}));
    EXPECT_EQ(extent(21, 1), (Extent{11, 0, 81, 68}));
    // Longer than the circle.
    EXPECT_EQ(extent(999, 2), (Extent{-80, -80, 81, 81}));
}

TEST(DistortionNumbersTest, LozengeRefractsAcrossItsAxis) {
    const ImageRef image = Output("CIGlassLozenge", Numbered({0, 0, 101, 61}).image,
                                  {{"inputPoint0", {20.5, 30.5}},
                                   {"inputPoint1", {80.5, 30.5}},
                                   {"inputRadius", {20}},
                                   {"inputRefraction", {1.5}}});
    // At half a radius from the axis, 30 degrees become 19.4712 degrees, and 20 (cos(30) + 2) tan(10.5288) = 10.6535.
    ExpectFrom(image, 50, 40, 50, 40 - 10.6535);
    ExpectFrom(image, 50, 20, 50, 20 + 10.6535);
    ExpectFrom(image, 90, 30, 90 - 10.6535, 30);
    ExpectFrom(image, 50, 30, 50, 30);
    ExpectFrom(image, 50, 51, 50, 51);
}

TEST(DistortionNumbersTest, DisplacementFollowsTheGrayLevel) {
    const Source image = Numbered({0, 0, 101, 61});
    // White, linear 0.5, black, half transparent white, and transparent.
    const Source gray =
        SourceOf({40, 30, 5, 1}, {1, 1, 1, 1, .5f, .5f, .5f, 1, 0, 0, 0, 1, .5f, .5f, .5f, .5f, 0, 0, 0, 0});
    const ImageRef moved = Output("CIDisplacementDistortion", image.image,
                                  {{"inputDisplacementImage", {}, gray.image}, {"inputScale", {20}}});
    EXPECT_EQ(moved->GetExtent(), image.image->GetExtent());
    ExpectFrom(moved, 40, 30, 50, 40);
    ExpectFrom(moved, 41, 30, 41, 30);
    ExpectFrom(moved, 42, 30, 32, 20);
    ExpectFrom(moved, 43, 30, 48, 35);
    ExpectFrom(moved, 44, 30, 44, 30);
}

TEST(DistortionNumbersTest, GlassFollowsTheSlopesOfTheTiledTexture) {
    // A roof: it rises by 1/4 per pixel to the middle and then falls.
    std::vector<float> roof;
    for (const float height : {0.0f, 0.25f, 0.5f, 0.25f}) roof.insert(roof.end(), {height, height, height, 1});
    const ImageRef image = Output(
        "CIGlassDistortion", Numbered({0, 0, 101, 61}).image,
        {{"inputTexture", {}, SourceOf({7, 7, 4, 1}, roof).image}, {"inputCenter", {20, 0}}, {"inputScale", {10}}});
    ExpectFrom(image, 41, 30, 43.5, 30);
    ExpectFrom(image, 42, 30, 42, 30);
    ExpectFrom(image, 43, 30, 40.5, 30);
    ExpectFrom(image, 15, 3, 12.5, 3);
}

TEST(DistortionPictureTest, PicturesAreSampledAsStoredAndResultsAreLinear) {
    // This huge bump moves pixels here by half a pixel, to within 1e-3.
    const std::vector<Value> half = {
        {"inputCenter", {1.5 - 1e-4, 0.5}}, {"inputRadius", {1e6}}, {"inputScale", {5001}}};
    const ImageRef once = Output("CIBumpDistortion", BlackAndWhite(), half);
    const double stored = static_cast<double>(Pixels(once, {1, 0, 1, 1})[0]);
    EXPECT_NEAR(stored, static_cast<double>(DecodeSRGB(0.5f)), 1e-3);
    EXPECT_EQ(once->Encoded(), nullptr);
}

}  // namespace
