// grid.cpp - cells rendered from the uppermost down, as pictures are decoded.

#include "blur/grid.h"

#include <tbb/parallel_for_each.h>

#include <utility>
#include <vector>

#include "blur/sums.h"
#include "core/buffered.h"
#include "core/render_session.h"

namespace core_image {
namespace {

// The last line of a grid at or before a place. One of its lines is at the origin.
std::int64_t LineBefore(std::int64_t place, std::int64_t origin, std::int64_t apart) {
    return place - FloorRemainder(place - origin, apart);
}

// Calls a function with each cell in which a region lies.
template <typename Function>
void ForEachCell(const Grid& grid, const Region& region, const Function& function) {
    const Region all = grid.Around(region);
    for (std::int64_t y = LineBefore(all.Top() - 1, grid.image.y, grid.height); y >= all.y; y -= grid.height) {
        for (std::int64_t x = all.x; x < all.Right(); x += grid.width) {
            function(Region{x, y, grid.width, grid.height}.Intersection(grid.image));
        }
    }
}

// Renders the cells around each tile anew.
class GridStage : public Stage {
  public:
    GridStage(const Grid& grid, RenderPart render) : grid_(grid), render_(std::move(render)) {}

    void Render(const Tile& tile) const override {
        ForEachCell(grid_, tile.region,
                    [&](const Region& cell) { render_(cell, tile.Part(tile.region.Intersection(cell))); });
    }

  private:
    Grid grid_;
    RenderPart render_;
};

// A part of a cell to render.
struct CellPart {
    Region cell;
    Tile tile;
    std::shared_ptr<PixelBlock> whole;  // null if nothing but the part is rendered
};

// Memory for a cell of which later regions of a rendering need more; null if that would take too much.
std::shared_ptr<PixelBlock> TryKeeping(const Region& cell) {
    if (RenderSession::Current() == nullptr || !BudgetScope::IsHalfFree()) return nullptr;
    try {
        return std::make_shared<PixelBlock>(cell);
    } catch (const MemoryShortage&) {
        return nullptr;
    }
}

// What an earlier region of the rendering has kept of a cell, if anything. It is kept until the last region has
// asked.
std::shared_ptr<const PixelBlock> KeptCell(const Image* image, const Region& cell, bool isLast) {
    RenderSession* const session = RenderSession::Current();
    if (session == nullptr) return nullptr;
    std::shared_ptr<const PixelBlock>& kept = session->KeptForNow(image, cell);
    return isLast ? std::exchange(kept, nullptr) : kept;
}

}  // namespace

Region Grid::Around(const Region& region) const {
    const std::int64_t left = LineBefore(region.x, image.x, width), bottom = LineBefore(region.y, image.y, height);
    const std::int64_t right = LineBefore(region.Right() - 1, image.x, width) + width,
                       top = LineBefore(region.Top() - 1, image.y, height) + height;
    return image.Intersection({left, bottom, right - left, top - bottom});
}

std::unique_ptr<const Stage> MakeGridStage(const Image* image, const Grid& grid, const Region& region,
                                           RenderPart render) {
    if (PixelCount(region) > kMostHeld) return std::make_unique<GridStage>(grid, std::move(render));
    PixelBlock block(region);
    std::vector<CellPart> parts;
    ForEachCell(grid, region, [&](const Region& cell) {
        const Tile tile = block.GetTile().Part(region.Intersection(cell));
        // Regions follow each other from left to right and from the top down.
        const bool isLast = region.Contains(cell.Right() - 1, cell.y);
        if (const auto kept = KeptCell(image, cell, isLast)) {
            Copy(kept->GetView().Part(tile.region), tile);
        } else {
            parts.push_back({cell, tile, isLast ? nullptr : TryKeeping(cell)});
        }
    });
    tbb::parallel_for_each(parts, [&](const CellPart& part) {
        render(part.cell, part.whole != nullptr ? part.whole->GetTile() : part.tile);
        if (part.whole != nullptr) Copy(part.whole->GetView().Part(part.tile.region), part.tile);
    });
    for (const CellPart& part : parts) {
        if (part.whole != nullptr) RenderSession::Current()->KeptForNow(image, part.cell) = part.whole;
    }
    return MakeHeldStage(std::move(block));
}

}  // namespace core_image
