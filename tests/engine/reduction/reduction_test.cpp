// reduction_test.cpp - compares reductions of rectangles with loops over all pixels in doubles.

#include <gtest/gtest.h>
#include <tbb/global_control.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "support/oracle.h"

namespace {

using namespace oracle;

// A random rectangle that overlaps an image, and the overlap.
struct Part {
    std::vector<double> rectangle;
    Region region;
};
Part RandomPart(Random& random, const Region& image) {
    const Region region = {random.Whole(image.x - 9, image.Right() - 1), random.Whole(image.y - 9, image.Top() - 1),
                           random.Whole(10, 50), random.Whole(10, 50)};
    const Extent extent = Extent::Of(region);
    return {{extent.left, extent.bottom, extent.right - extent.left, extent.top - extent.bottom},
            region.Intersection(image)};
}

// Returns the pixels of a region row by row, bottom row first.
using Pixel4 = std::array<double, 4>;
std::vector<Pixel4> PixelsOf(const Source& source, const Region& region) {
    std::vector<Pixel4> pixels;
    for (std::int64_t y = region.y; y < region.Top(); ++y) {
        for (std::int64_t x = region.x; x < region.Right(); ++x) {
            pixels.push_back({source.At(x, y, 0), source.At(x, y, 1), source.At(x, y, 2), source.At(x, y, 3)});
        }
    }
    return pixels;
}

// Slow versions of the filters.
Pixel4 Average(const std::vector<Pixel4>& pixels) {
    Pixel4 sum{};
    for (const Pixel4& pixel : pixels) {
        for (std::size_t c = 0; c < 4; ++c) sum[c] += pixel[c] / static_cast<double>(pixels.size());
    }
    return sum;
}
template <bool kLargest>
Pixel4 Extreme(const std::vector<Pixel4>& pixels) {
    Pixel4 best = pixels[0];
    for (const Pixel4& pixel : pixels) {
        for (std::size_t c = 0; c < 4; ++c)
            best[c] = kLargest ? std::max(best[c], pixel[c]) : std::min(best[c], pixel[c]);
    }
    return best;
}
template <bool kLargest>
Pixel4 ExtremeAlpha(const std::vector<Pixel4>& pixels) {
    Pixel4 best = pixels[0];
    for (const Pixel4& pixel : pixels) {
        if (kLargest ? pixel[3] > best[3] : pixel[3] < best[3]) best = pixel;
    }
    return best;
}

struct Reduction {
    const char* filter;
    Pixel4 (*slow)(const std::vector<Pixel4>&);
};

class AreaTest : public testing::TestWithParam<Reduction> {};

TEST_P(AreaTest, MatchesALoopOverAllPixels) {
    Random random;
    for (int round = 0; round < 30; ++round) {
        const Source source = RandomSource(random);
        const Part part = RandomPart(random, source.region);
        const ImageRef image = Output(GetParam().filter, source.image, {{"inputExtent", part.rectangle}});
        EXPECT_EQ(image->GetExtent(), (Extent{0, 0, 1, 1}));
        const Pixel4 expected = GetParam().slow(PixelsOf(source, part.region));
        ExpectPixels(image, {0, 0, 1, 1}, [&](auto, auto, std::size_t channel) { return expected[channel]; });
    }
}

TEST_P(AreaTest, OnePixelGivesThatPixelAndNoPixelGivesTransparent) {
    const Source source = SourceOf({3, 4, 2, 1}, {0.1f, 0.2f, 0.3f, 0.5f, 2, -1, 0, 1});
    const char* filter = GetParam().filter;
    EXPECT_EQ(Pixels(Output(filter, source.image, {{"inputExtent", {4, 4, 1, 1}}}), {0, 0, 1, 1}),
              (std::vector<float>{2, -1, 0, 1}));
    EXPECT_EQ(Pixels(Output(filter, source.image, {{"inputExtent", {9, 9, 5, 5}}}), {0, 0, 1, 1}),
              std::vector<float>(4, 0.0f));
    EXPECT_EQ(Output(filter, nullptr, {}), nullptr);
}

TEST_P(AreaTest, HugeExtentsOfAnInfinitePatternRender) {
    const ImageRef board = Generated(
        "CICheckerboardGenerator",
        {{"inputWidth", {1e6}}, {"inputSharpness", {1}}, {"inputColor0", {1, 1, 1, 1}}, {"inputColor1", {0, 0, 0, 1}}});
    for (const std::vector<double>& rectangle :
         {std::vector<double>{0, 0, 1e9, 1e9}, {0, 0, 1e12, 1}, {-1e300, -1e300, HUGE_VAL, HUGE_VAL}}) {
        const std::vector<float> pixel =
            Pixels(Output(GetParam().filter, board, {{"inputExtent", rectangle}}), {0, 0, 1, 1});
        EXPECT_EQ(pixel[3], 1);
        EXPECT_TRUE(pixel[0] >= 0 && pixel[0] <= 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Filters, AreaTest,
                         testing::Values(Reduction{"CIAreaAverage", Average}, Reduction{"CIAreaMaximum", Extreme<true>},
                                         Reduction{"CIAreaMinimum", Extreme<false>},
                                         Reduction{"CIAreaMaximumAlpha", ExtremeAlpha<true>},
                                         Reduction{"CIAreaMinimumAlpha", ExtremeAlpha<false>}),
                         [](const auto& test) { return std::string(test.param.filter); });

TEST(AreaAlphaTest, TiesGoToTheLowestThenLeftmostPixel) {
    // Wider and higher than what the engine processes in one step.
    const Region region = {0, 0, 1100, 70};
    std::vector<float> pixels(static_cast<std::size_t>(region.width * region.height) * 4);
    for (std::size_t index = 0; index < pixels.size(); index += 4) pixels[index] = static_cast<float>(index);
    const Source source = SourceOf(region, pixels);
    for (const char* filter : {"CIAreaMaximumAlpha", "CIAreaMinimumAlpha"}) {
        const ImageRef image = Output(filter, source.image, {{"inputExtent", {30, 7, 2000, 2000}}});
        EXPECT_EQ(Pixels(image, {0, 0, 1, 1})[0], static_cast<float>(4 * ((69 - 7) * 1100 + 30))) << filter;
    }
}

TEST(AreaAlphaTest, PixelsWithoutAnAlphaAreLeftOut) {
    constexpr float kNoNumber = std::numeric_limits<float>::quiet_NaN();
    for (const std::size_t missing : {0, 1, 5, 9, 11}) {
        std::vector<float> pixels;
        for (std::size_t index = 0; index < 12; ++index) {
            const float alpha = index == missing ? kNoNumber : index == 4 ? 0.75f : index == 7 ? 0.25f : 0.5f;
            pixels.insert(pixels.end(), {static_cast<float>(index), 0, 0, alpha});
        }
        const Source source = SourceOf({0, 0, 3, 4}, pixels);
        const auto found = [&](const char* filter) {
            return Pixels(Output(filter, source.image, {{"inputExtent", {0, 0, 3, 4}}}), {0, 0, 1, 1})[3];
        };
        EXPECT_EQ(found("CIAreaMaximumAlpha"), 0.75f) << missing;
        EXPECT_EQ(found("CIAreaMinimumAlpha"), 0.25f) << missing;
    }
}

TEST(AreaAverageTest, IsExactOverMillionsOfPixelsAndDoesNotDependOnThreads) {
    const ImageRef board = Generated(
        "CICheckerboardGenerator",
        {{"inputWidth", {1}}, {"inputSharpness", {1}}, {"inputColor0", {1, 1, 1, 1}}, {"inputColor1", {0, 0, 0, 1}}});
    const ImageRef average = Output("CIAreaAverage", board, {{"inputExtent", {0, 0, 3001, 2001}}});
    const double expected = (3001.0 * 2001 + 1) / 2 / (3001.0 * 2001);
    EXPECT_EQ(Pixels(average, {0, 0, 1, 1}),
              (std::vector<float>{static_cast<float>(expected), static_cast<float>(expected),
                                  static_cast<float>(expected), 1}));
    const Source source = SourceOf({0, 0, 1, 1}, {1, 1, 1, 1});
    const ImageRef image = Output("CIAreaAverage", RandomImage(901, 701), {{"inputExtent", {0, 0, 901, 701}}});
    const std::vector<float> usual = Pixels(image, {0, 0, 1, 1});
    const tbb::global_control one(tbb::global_control::max_allowed_parallelism, 1);
    EXPECT_EQ(Pixels(image, {0, 0, 1, 1}), usual);
}

TEST(AreaHistogramTest, GivesTheShareOfPixelsInEachBin) {
    Random random;
    for (int round = 0; round < 30; ++round) {
        const Source source = RandomSource(random);
        const Part part = RandomPart(random, source.region);
        const std::int64_t bins = random.Whole(1, 40);
        const double scale = random.Between(0, 3);
        const ImageRef image = Output(
            "CIAreaHistogram", source.image,
            {{"inputExtent", part.rectangle}, {"inputCount", {static_cast<double>(bins)}}, {"inputScale", {scale}}});
        EXPECT_EQ(image->GetExtent(), (Extent{0, 0, static_cast<double>(bins), 1}));
        const std::vector<Pixel4> pixels = PixelsOf(source, part.region);
        ExpectPixels(image, {-1, -1, bins + 2, 3}, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            if (y != 0) return 0.0;
            double count = 0;
            for (const Pixel4& pixel : pixels) {
                // The product is computed in floats, as in the engine.
                const float place = static_cast<float>(pixel[channel]) * static_cast<float>(bins);
                const double bin =
                    std::clamp(std::floor(static_cast<double>(place)), 0.0, static_cast<double>(bins - 1));
                count += bin == static_cast<double>(x);
            }
            return count * scale / static_cast<double>(pixels.size());
        });
    }
}

TEST(AreaHistogramTest, CountIsClampedToOneThrough2048) {
    const Source source = SourceOf({0, 0, 1, 1}, {0.5f, 0.25f, 1, 1});
    const auto width = [&](double count) {
        return Output("CIAreaHistogram", source.image, {{"inputExtent", {0, 0, 1, 1}}, {"inputCount", {count}}})
            ->GetExtent()
            .right;
    };
    EXPECT_EQ(width(0), 1);
    EXPECT_EQ(width(-1e300), 1);
    EXPECT_EQ(width(std::nan("")), 1);
    EXPECT_EQ(width(10.4), 10);
    EXPECT_EQ(width(1e300), 2048);
}

TEST(ColumnAverageTest, AveragesEachColumn) {
    Random random;
    for (int round = 0; round < 30; ++round) {
        const Source source = RandomSource(random);
        const Part part = RandomPart(random, source.region);
        const ImageRef image = Output("CIColumnAverage", source.image, {{"inputExtent", part.rectangle}});
        EXPECT_EQ(image->GetExtent(), (Extent{0, 0, static_cast<double>(part.region.width), 1}));
        ExpectPixels(image, {0, -1, part.region.width, 3}, [&](std::int64_t x, std::int64_t y, std::size_t channel) {
            double sum = 0;
            for (std::int64_t row = part.region.y; y == 0 && row < part.region.Top(); ++row) {
                sum += source.At(part.region.x + x, row, channel);
            }
            return sum / static_cast<double>(part.region.height);
        });
    }
}

TEST(ColumnAverageTest, InfiniteAndEmptyExtentsRender) {
    const ImageRef board = Generated("CICheckerboardGenerator", {{"inputWidth", {8}}, {"inputColor0", {1, 1, 1, 1}}});
    const ImageRef infinite = Output("CIColumnAverage", board, {{"inputExtent", {0, 0, 1e15, 1e15}}});
    EXPECT_EQ(Pixels(infinite, {1000, 0, 100, 1}).size(), 400u);
    ExpectFinite(infinite);
    const Source source = SourceOf({0, 0, 1, 1}, {1, 1, 1, 1});
    EXPECT_TRUE(Output("CIColumnAverage", source.image, {{"inputExtent", {5, 5, 1, 1}}})->GetExtent().IsEmpty());
}

}  // namespace
