// weighted_sums_test.cpp - tests sums along rows of pixels and of numbers.

#include "sampling/weighted_sums.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace {

// As long as several vectors together, a few vectors, less than one, and with rests.
constexpr std::size_t kFloats[] = {4, 8, 12, 16, 60, 64, 128, 256, 300, 516};

// A row of numbers followed by some that are not.
std::vector<float> RowOf(std::size_t count) {
    std::uint32_t state = 1;
    std::vector<float> row;
    for (std::size_t i = 0; i < count; ++i) {
        state = state * 1664525 + 1013904223;
        row.push_back(static_cast<float>(state >> 8) / (1 << 24) - 0.5f);
    }
    row.resize(count + 64, std::numeric_limits<float>::quiet_NaN());
    return row;
}

std::vector<float> WeightsOf(std::size_t count) {
    std::vector<float> weights;
    for (std::size_t k = 0; k < count; ++k) weights.push_back(1 / (static_cast<float>(k) + 1.5f));
    return weights;
}

// Neighbors are pixels or numbers.
class SumsAlongARow : public testing::TestWithParam<std::size_t> {};

TEST_P(SumsAlongARow, AreThoseOfItsWeightedNeighborsAlone) {
    const std::size_t apart = GetParam();
    for (std::size_t count = 1; count <= 40; ++count) {
        const std::vector<float> weights = WeightsOf(count);
        for (const std::size_t floats : kFloats) {
            SCOPED_TRACE(std::to_string(count) + " neighbors of " + std::to_string(floats) + " floats");
            const std::vector<float> in = RowOf(floats + (count - 1) * apart);
            std::vector<float> out(floats + 1, -7.0f);
            core_image::SumAlong(in.data(), apart, weights.data(), count, out.data(), floats);
            for (std::size_t i = 0; i < floats; ++i) {
                double expected = 0;
                for (std::size_t k = 0; k < count; ++k) {
                    expected += static_cast<double>(weights[k]) * static_cast<double>(in[i + k * apart]);
                }
                ASSERT_NEAR(out[i], expected, 1e-6) << i;
            }
            ASSERT_EQ(out[floats], -7.0f) << "written beyond the row";
        }
    }
}

TEST_P(SumsAlongARow, HaveTheSameBitsWhereverTheRowBeginsAndEnds) {
    const std::size_t apart = GetParam();
    constexpr std::size_t kCount = 31;
    constexpr std::size_t kWhole = 516;
    const std::vector<float> weights = WeightsOf(kCount), in = RowOf(kWhole + (kCount - 1) * apart);
    std::vector<float> whole(kWhole);
    core_image::SumAlong(in.data(), apart, weights.data(), kCount, whole.data(), kWhole);
    for (std::size_t begin = 0; begin < 64; begin += 4) {
        for (const std::size_t floats : kFloats) {
            if (begin + floats > kWhole) continue;
            std::vector<float> part(floats);
            core_image::SumAlong(in.data() + begin, apart, weights.data(), kCount, part.data(), floats);
            const auto from = whole.begin() + static_cast<std::ptrdiff_t>(begin);
            ASSERT_EQ(part, std::vector<float>(from, from + static_cast<std::ptrdiff_t>(floats)))
                << floats << " floats from " << begin;
        }
    }
}

TEST(SumsOfNeighbors, AreThoseOfTheirPixelsAlone) {
    constexpr std::size_t kPixels = 9, kMost = 9, kRows = 5;
    for (std::size_t count = 1; count <= kMost; ++count) {
        SCOPED_TRACE(count);
        const std::size_t floats = 4 * (kPixels - 1 + count);
        const std::vector<float> row = RowOf(floats);
        std::vector<float> in;
        for (std::size_t y = 0; y < kRows; ++y) in.insert(in.end(), row.begin(), row.end());
        std::vector<std::int32_t> first, counts(kPixels, static_cast<std::int32_t>(count));
        std::vector<float> weights(kPixels * 16 + core_image::kMostLanes);
        for (std::size_t pixel = 0; pixel < kPixels; ++pixel) {
            first.push_back(static_cast<std::int32_t>(pixel));
            std::ranges::copy(WeightsOf(count), weights.begin() + static_cast<std::ptrdiff_t>(pixel * 16));
        }
        std::vector<float> out(kRows * kPixels * 4);
        core_image::SumNeighborsOfRows(in.data(), static_cast<std::ptrdiff_t>(row.size()), kRows,
                                       {first.data(), counts.data(), weights.data(), 16}, out.data(), kPixels * 4,
                                       kPixels);
        for (std::size_t i = 0; i < out.size(); ++i) {
            double expected = 0;
            for (std::size_t k = 0; k < count; ++k) {
                expected += static_cast<double>(WeightsOf(count)[k]) * static_cast<double>(row[i % 36 + 4 * k]);
            }
            ASSERT_NEAR(out[i], expected, 1e-6) << i;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(OfNumbersAndPixels, SumsAlongARow, testing::Values(1, 4));

}  // namespace
