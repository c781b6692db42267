// crystals.h - the seeds of a mosaic, one per node of a square grid, and the search for the nearest.
//
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "core/extent.h"

namespace core_image {

// A seed's position relative to its node, in units of the grid: at most a third in each direction.
struct Seed {
    float x, y;
};

// The seed of a node: deterministic, and pseudo-random from node to node.
Seed SeedOf(std::int64_t column, std::int64_t row);

// The nodes around a place that are searched: in each direction from one before the node below the place to two after
// it. Each of the four nodes around a place is at most 5/6 away in each direction, so one of their seeds is nearer than
// 1.18; any seed farther out is at least 5/3 away.
inline constexpr std::int32_t kNodesBefore = 1, kNodesAfter = 2;
inline constexpr int kNodesAcrossBits = 2;
inline constexpr std::int32_t kNodesAcross = kNodesBefore + 1 + kNodesAfter;
static_assert(kNodesAcross == 1 << kNodesAcrossBits);

// The seeds of a range of nodes, row by row.
class SeedTable {
  public:
    explicit SeedTable(const Region& nodes);

    const Region& Nodes() const { return nodes_; }
    const float* X() const { return x_.data(); }
    const float* Y() const { return y_.data(); }

    // The index of a node.
    std::int32_t IndexOf(std::int64_t column, std::int64_t row) const {
        return static_cast<std::int32_t>((row - nodes_.y) * nodes_.width + column - nodes_.x);
    }

  private:
    Region nodes_;
    std::vector<float> x_, y_;
};

// Where the pixels of a row are: the index of the node below and to the left of each, and its position relative to that
// node, in units of the grid. One block (kBlockPixels) longer than the row.
struct GridPlaces {
    const std::int32_t* nodes;
    const float* x;
    float y;
};

// The two seeds nearest to each pixel of a row, as indices of their nodes, and the distance from the line halfway
// between them, in units of the grid. All arrays are one block longer than the row.
struct NearestSeeds {
    std::int32_t* first;
    std::int32_t* second;
    float* distance;
};

void FindNearest(const SeedTable& seeds, const GridPlaces& places, std::size_t count, const NearestSeeds& nearest);

}  // namespace core_image
