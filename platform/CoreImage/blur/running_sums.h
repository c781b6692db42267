// running_sums.h - sums of a window that moves along a line, at a cost that does not depend on its width.
//
// The line is divided into blocks as long as the window, counted from the origin of the plane. A window is the end of one block
// and the beginning of the next: one sum from the window's start to the end of its block, one from the beginning of the next
// block to the window's end. Nothing is ever subtracted, so nothing is lost, and the result does not depend on where the line
// was cut.

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace core_image {

// The remainder of a division rounded downward.
inline std::int64_t FloorRemainder(std::int64_t number, std::int64_t divisor) {
    const std::int64_t rest = number % divisor;
    return rest < 0 ? rest + divisor : rest;
}

// The four channels of a pixel, as the processor adds them: in floats or in doubles.
template <typename Number>
struct FourOf;
template <>
struct FourOf<float> {
    using Type = float __attribute__((vector_size(16)));
};
template <>
struct FourOf<double> {
    using Type = double __attribute__((vector_size(32)));
};

// Some lines of pixels side by side: the address of the pixel at a place of the first line, and what follows to the next line.
// in(place) may be null for transparent pixels in all lines.
template <typename Address>
struct Lines {
    Address address;
    std::ptrdiff_t stride;
};

// Writes count sums for each of kLines lines: number i is that of the pixels first + i ... first + i + width - 1, times scale.
// Sums go to out.address(i), which must not be where pixels are read. Number is what is summed in.
//
// Why several lines: a sum waits for the one before it; those of other lines are added in the meantime.
template <typename Number, std::size_t kLines, typename In, typename Out>
inline void RunningSums(const Lines<In>& in, const Lines<Out>& out, std::int64_t first, std::int64_t count,
                        std::int64_t width, float scale) {
    using Four = typename FourOf<Number>::Type;
    using Floats = FourOf<float>::Type;
    Four sums[kLines];
    const auto clear = [&] {
        for (Four& sum : sums) sum = Four{};
    };
    const auto add = [&](std::int64_t place) {
        const float* pixel = in.address(place);
        if (pixel == nullptr) return;
        for (Four& sum : sums) {
            Floats item;
            std::memcpy(&item, pixel, sizeof item);
            sum += __builtin_convertvector(item, Four);
            pixel += in.stride;
        }
    };
    // Hands the sums and where they go to a function.
    const auto store = [&](std::int64_t index, const auto& combine) {
        float* to = out.address(index);
        for (const Four& sum : sums) {
            Floats before;
            std::memcpy(&before, to, sizeof before);
            const Floats after = combine(before, __builtin_convertvector(sum, Floats));
            std::memcpy(to, &after, sizeof after);
            to += out.stride;
        }
    };
    const std::int64_t last = first + count - 1;
    for (std::int64_t start = last - FloorRemainder(last, width); start > first - width; start -= width) {
        clear();
        std::int64_t place = start + width - 1;
        for (; place > last; --place) add(place);
        for (; place >= std::max(start, first); --place) {
            add(place);
            store(place - first, [](const Floats&, const Floats& sum) { return sum; });
        }
    }
    const std::int64_t firstEnd = first + width - 1, lastEnd = last + width - 1;
    for (std::int64_t start = firstEnd - FloorRemainder(firstEnd, width); start <= lastEnd; start += width) {
        clear();
        std::int64_t place = start;
        for (; place < firstEnd && place < start + width - 1; ++place) add(place);
        for (; place <= lastEnd && place < start + width - 1; ++place) {
            add(place);
            store(place - firstEnd,
                  [scale](const Floats& before, const Floats& sum) { return (before + sum) * scale; });
        }
        // A window that ends where a block does is that block, and complete.
        if (place > lastEnd) continue;
        store(place - firstEnd, [scale](const Floats& before, const Floats&) { return before * scale; });
    }
}

}  // namespace core_image
