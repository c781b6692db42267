// crystals.h - the seeds of a mosaic, one per cell of a square grid, and the search for the nearest.
//
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>

namespace core_image {

// A seed's position in its cell, whose corner is (0, 0) and whose side is 1. It is at least 0.1 from every side.
struct Seed {
    float x, y;
};

// The seed of a cell: deterministic, and pseudo-random from cell to cell.
Seed SeedOf(std::int64_t column, std::int64_t row);

// The number of cells that may hold the seed nearest to a place: those up to two cells away in one direction, but
// not in both. Any farther seed is farther away than the one in the place's own cell.
inline constexpr std::size_t kNearCells = 21;

// The seeds around a cell, relative to its corner.
struct NearSeeds {
    float x[kNearCells], y[kNearCells];
};

// Writes the indices of the seeds nearest to places (x[index], y). Both arrays are readable and writable one block
// (kBlockPixels) beyond the end.
void FindNearest(const NearSeeds& seeds, const float* x, float y, std::size_t count, std::int32_t* nearest);

}  // namespace core_image
