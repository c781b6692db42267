// crystals.h - the seeds of a mosaic, one in each cell of a square grid, and which of them is nearest.
//
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>

namespace core_image {

// A seed's place in its cell, whose corner is (0, 0) and whose side is 1. It is 0.1 at least from every side.
struct Seed {
    float x, y;
};

// The seed of a cell: always the same, and like chance from cell to cell.
Seed SeedOf(std::int64_t column, std::int64_t row);

// How many cells may hold the seed that is nearest to a place: those two away in one direction, but not in both. A seed further
// away is further than the one in the place's own cell.
inline constexpr std::size_t kNearCells = 21;

// Seeds around a cell, counted from its corner.
struct NearSeeds {
    float x[kNearCells], y[kNearCells];
};

// Writes the numbers of the seeds nearest to places (x[index], y). Both lists go on for a block more (kBlockPixels).
void FindNearest(const NearSeeds& seeds, const float* x, float y, std::size_t count, std::int32_t* nearest);

}  // namespace core_image
