// engine_images.h - images for tests of the engine alone, and what they render to.

#pragma once

#include <vector>

#include "core/renderer.h"

// An image of pseudo-random premultiplied floats, some pixels opaque, its lower left pixel at (0, 0).
core_image::ImageRef RandomImage(std::size_t width, std::size_t height);

// The linear floats of a region, the topmost row first.
std::vector<float> Pixels(const core_image::ImageRef& image, const core_image::Region& region,
                          const core_image::Cut& cut = {});
