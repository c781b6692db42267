// engine_images.h - helpers for tests of the engine alone: random images, and rendering to floats.
//
// Threads: call from the test's thread; rendering uses all threads.

#pragma once

#include <cstddef>
#include <vector>

#include "core/renderer.h"

// Returns an image of pseudo-random premultiplied floats, some pixels opaque; its lower left pixel is at (0, 0).
core_image::ImageRef RandomImage(std::size_t width, std::size_t height);

// Returns an image of premultiplied linear floats, four for each pixel, top row first; its lower left pixel is at (0,
// 0).
core_image::ImageRef ImageOf(std::size_t width, std::size_t height, std::vector<float> floats);

// Returns a picture of two opaque pixels side by side, black and white, stored as bytes.
core_image::ImageRef BlackAndWhite();

// Renders a region to linear floats, top row first.
std::vector<float> Pixels(const core_image::ImageRef& image, const core_image::Region& region,
                          const core_image::Cut& cut = {});
