// separable.h - sums of neighbors with the same weights in both directions.

#pragma once

#include <vector>

#include "core/tile.h"

namespace core_image {

// Each pixel of a tile becomes the weighted sum of the pixels around it: first along columns, then along rows. The
// source extends beyond the tile by half of the weights, whose number is odd. Each result is summed in the same order,
// whatever its place in the tile.
// Throws MemoryShortage. Threads: any.
void SumAround(const View& source, const std::vector<float>& weights, const Tile& tile);

}  // namespace core_image
