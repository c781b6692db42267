// droste_test.cpp - compares the Droste effect with its conformal map in complex doubles, searching copy by copy.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "support/counting_image.h"
#include "support/oracle.h"

namespace {

using namespace oracle;
using Complex = std::complex<double>;

// A picture, its inset, and the parameters of the effect.
struct Layout {
    Region picture;
    double inset[4];  // left, bottom, right, top
    double periodicity, strands, rotation, zoom;

    std::vector<Value> Values() const {
        return {{"inputInsetPoint0", {inset[2], inset[1]}},
                {"inputInsetPoint1", {inset[0], inset[3]}},
                {"inputPeriodicity", {periodicity}},
                {"inputStrands", {strands}},
                {"inputRotation", {rotation}},
                {"inputZoom", {zoom}}};
    }
};

// Returns the source position of a pixel. The map turns around the fixed point of shrinking the picture to its inset.
Complex Place(const Layout& layout, Complex p) {
    const Region& all = layout.picture;
    const double left = static_cast<double>(all.x), bottom = static_cast<double>(all.y);
    const double right = static_cast<double>(all.Right()), top = static_cast<double>(all.Top());
    const double ratioX = (right - left) / (layout.inset[2] - layout.inset[0]);
    const double ratioY = (top - bottom) / (layout.inset[3] - layout.inset[1]);
    const Complex meeting = {(layout.inset[0] * ratioX - left) / (ratioX - 1),
                             (layout.inset[1] * ratioY - bottom) / (ratioY - 1)};
    const double ratio = std::max(ratioX, ratioY);
    const Complex turned = (p - meeting) * std::polar(1.0, -layout.rotation) / layout.zoom;
    const Complex unrolled = {std::log(std::hypot(turned.real(), turned.imag())), std::arg(turned)};
    Complex way = std::exp(Complex(layout.strands, -layout.periodicity * std::log(ratio) / (2 * M_PI)) * unrolled);
    const auto isInside = [&](Complex w) {
        const Complex q = meeting + w;
        return q.real() > left && q.real() < right && q.imag() > bottom && q.imag() < top;
    };
    while (!isInside(way)) way /= ratio;
    while (isInside(way * ratio)) way *= ratio;
    // The fraction of the way inward to the next copy.
    double inward = 0;
    for (double step = 0.5; step > 1e-17; step /= 2) {
        if (isInside(way * std::pow(ratio, inward + step))) inward += step;
    }
    return {meeting.real() + way.real() * std::pow(ratio / ratioX, inward),
            meeting.imag() + way.imag() * std::pow(ratio / ratioY, inward)};
}

Layout RandomLayout(Random& random) {
    Layout layout;
    layout.picture = {random.Whole(-30, 30), random.Whole(-30, 30), 41, 33};
    const double x = static_cast<double>(layout.picture.x), y = static_cast<double>(layout.picture.y);
    const double left = x + random.Between(2, 20), bottom = y + random.Between(2, 15);
    const double edges[] = {left, bottom, left + random.Between(5, 19), bottom + random.Between(5, 16)};
    std::copy(edges, edges + 4, layout.inset);
    layout.periodicity = static_cast<double>(random.Whole(1, 3));
    layout.strands = static_cast<double>(random.Whole(-2, 2));
    layout.rotation = random.Between(-3, 3);
    layout.zoom = random.Between(0.3, 3);
    return layout;
}

// Returns a random opaque picture.
Source Picture(Random& random, const Region& region) {
    std::vector<float> pixels;
    for (std::int64_t index = 0; index < region.width * region.height * 4; ++index) {
        pixels.push_back(index % 4 == 3 ? 1 : static_cast<float>(random.Between(0, 1)));
    }
    return SourceOf(region, pixels);
}

TEST(DrosteTest, MatchesTheConformalMap) {
    Random random;
    for (int round = 0; round < 5; ++round) {
        const Layout layout = RandomLayout(random);
        const Source picture = Picture(random, layout.picture);
        const Region& all = layout.picture;
        const At at = [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            return picture.At(std::clamp(x, all.x, all.Right() - 1), std::clamp(y, all.y, all.Top() - 1), channel);
        };
        const ImageRef image = Output("CIDroste", picture.image, layout.Values());
        EXPECT_TRUE(image->GetExtent().IsInfinite());
        ExpectPixels(image, {-40, -40, 111, 97}, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            const Complex place = Place(layout, {static_cast<double>(x) + 0.5, static_cast<double>(y) + 0.5});
            return Bilinear(at, place.real(), place.imag(), channel);
        });
    }
}

// A picture in memory is read in place, any other one of this size is held.
TEST(DrosteTest, DoesNotDependOnHowThePictureIsRead) {
    Random random;
    for (int round = 0; round < 5; ++round) {
        const Layout layout = RandomLayout(random);
        const ImageRef picture = Picture(random, layout.picture).image;
        const auto droste = [&](const ImageRef& image) {
            return Pixels(Output("CIDroste", image, layout.Values()), layout.picture, {4096, 17, 9});
        };
        EXPECT_EQ(droste(Unshared(picture)), droste(picture));
    }
}

TEST(DrosteTest, WithoutPeriodicityThePictureStaysAndItsInsetIsACopy) {
    Random random;
    // The inset is a third of the picture, off its center.
    const Layout layout = {{0, 0, 99, 66}, {30, 33, 63, 55}, 0, 1, 0, 1};
    const Source picture = Picture(random, layout.picture);
    const ImageRef image = Output("CIDroste", picture.image, layout.Values());
    ExpectPixels(image, {0, 0, 99, 33},
                 [&](std::int64_t x, std::int64_t y, std::size_t channel) { return picture.At(x, y, channel); });
    // Inset pixel (31, 34) is the middle of a 3 x 3 block; scaled by three, its center is the center of pixel (4, 4).
    ExpectPixels(image, {31, 34, 1, 1}, [&](std::int64_t, std::int64_t, std::size_t c) { return picture.At(4, 4, c); });
    ExpectPixels(image, {61, 53, 1, 1},
                 [&](std::int64_t, std::int64_t, std::size_t c) { return picture.At(94, 61, c); });
}

TEST(DrosteTest, WholeStrandsLeaveNoSeamButOthersDo) {
    // Neighboring pixels of the picture differ little, so a large step across the negative x axis is a seam.
    const Region region = {0, 0, 90, 90};
    std::vector<float> pixels;
    for (std::int64_t index = 0; index < region.width * region.height; ++index) {
        const double x = static_cast<double>(index % 90), y = static_cast<double>(index / 90);
        const auto wave = static_cast<float>(0.5 + 0.5 * std::sin(x / 9) * std::cos(y / 9));
        pixels.insert(pixels.end(), {wave, wave, wave, 1});
    }
    const Source picture = SourceOf(region, pixels);
    const auto largestStep = [&](double strands) {
        const Layout layout = {region, {30, 30, 60, 60}, 0, strands, 0, 1};
        const std::vector<float> both = Pixels(Output("CIDroste", picture.image, layout.Values()), {3, 44, 8, 2});
        float largest = 0;
        for (std::size_t x = 0; x < 8; ++x) largest = std::max(largest, std::abs(both[4 * x] - both[4 * (x + 8)]));
        return largest;
    };
    EXPECT_LT(largestStep(1), 0.06f);
    EXPECT_GT(largestStep(1.3), 0.1f);
}

TEST(DrosteTest, UnusableInsetReturnsTheInput) {
    Random random;
    const Source picture = Picture(random, {0, 0, 20, 20});
    const auto output = [&](double left, double bottom, double right, double top) {
        return Output("CIDroste", picture.image, Layout{{}, {left, bottom, right, top}, 1, 1, 0, 1}.Values());
    };
    EXPECT_EQ(output(5, 5, 5, 9), picture.image);
    EXPECT_EQ(output(30, 30, 40, 40), picture.image);
    EXPECT_EQ(output(-5, 3, 25, 9), picture.image);
    EXPECT_NE(output(5, 5, 25, 9), picture.image);
}

}  // namespace
