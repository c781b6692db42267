// parallel_test.cpp - tests on which threads a loop runs.

#include "core/parallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <thread>
#include <vector>

namespace {

constexpr std::int64_t kBegin = -3, kEnd = 1000;

TEST(ForEachIndexTest, EachIndexIsGivenOnceHoweverManyPixelsThereAre) {
    for (const std::int64_t pixels : {std::int64_t{1}, std::int64_t{1} << 13, std::int64_t{1} << 30}) {
        std::vector<std::atomic<int>> calls(static_cast<std::size_t>(kEnd - kBegin));
        core_image::ForEachIndex(kBegin, kEnd, pixels,
                                 [&](std::int64_t index) { ++calls[static_cast<std::size_t>(index - kBegin)]; });
        for (const std::atomic<int>& each : calls) ASSERT_EQ(each, 1) << pixels;
    }
}

TEST(ForEachIndexTest, FewPixelsStayOnTheCallingThreadInOrder) {
    const std::thread::id here = std::this_thread::get_id();
    std::vector<std::int64_t> order;
    core_image::ForEachIndex(kBegin, kEnd, 8191, [&](std::int64_t index) {
        // Time for another thread to take some of them.
        if (index == kBegin) std::this_thread::sleep_for(std::chrono::milliseconds(5));
        ASSERT_EQ(std::this_thread::get_id(), here);
        order.push_back(index);
    });
    ASSERT_EQ(order.size(), static_cast<std::size_t>(kEnd - kBegin));
    for (std::size_t i = 0; i < order.size(); ++i) ASSERT_EQ(order[i], kBegin + static_cast<std::int64_t>(i));
}

}  // namespace
