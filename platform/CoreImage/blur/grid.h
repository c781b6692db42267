// grid.h - images computed in the cells of a grid, each of them as a whole, for methods that round the pixels of a cell
// together. The grid begins at the image's lower left corner, so that a pixel is the same in every tile.
//
// Threads: a stage is made by one thread, and rendered by many.

#pragma once

#include <functional>
#include <memory>

#include "core/image.h"

namespace core_image {

struct Grid {
    Region image;                // is divided
    std::int64_t width, height;  // of a cell

    // All cells in which a region lies.
    Region Around(const Region& region) const;
};

// Writes a part of a cell.
using RenderPart = std::function<void(const Region& cell, const Tile& part)>;

// A stage that holds a region in memory; if the region is too large for that, the stage renders it tile by tile.
// Cells are rendered on all cores. Those that reach beyond the region are kept for later regions of the same rendering,
// such as the next rows of a file.
std::unique_ptr<const Stage> MakeGridStage(const Image* image, const Grid& grid, const Region& region,
                                           RenderPart render);

}  // namespace core_image
