// counting_image.h - images that show what a rendering does: one counts its pixels, one hides what is below it.
//
// Threads: any; counts are atomic.

#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "core/image.h"

// How often a part of a recipe was prepared and rendered.
struct Count {
    std::atomic<std::int64_t> stages = 0;
    std::atomic<std::int64_t> pixels = 0;
};

// Returns the same image. Each of its stages and each pixel that they render is counted.
core_image::ImageRef Counted(core_image::ImageRef image, std::shared_ptr<Count> count);

// Returns the same image, posing as a source. Whatever uses it prepares and renders everything below it again, as if
// nothing were shared or held.
core_image::ImageRef Unshared(core_image::ImageRef image);
