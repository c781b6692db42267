// renderer.cpp - blocks one after the other, their tiles in parallel; pointwise images run by run straight into the
// bitmap.

#include "core/renderer.h"
#include "core/transfer.h"

#include <algorithm>
#include <vector>

#include <hwy/cache_control.h>
#include <tbb/parallel_for.h>

namespace core_image {
namespace {

// The number of pieces of a length that cover a whole.
std::int64_t Pieces(std::int64_t whole, std::int64_t piece) { return (whole + piece - 1) / piece; }

// The piece of a region at an index. The uppermost comes first, because that is the order in which pictures are
// decoded.
Region Piece(const Region& whole, std::int64_t width, std::int64_t height, std::int64_t index) {
    const std::int64_t columns = Pieces(whole.width, width);
    return whole.Intersection(
        {whole.x + index % columns * width, whole.Top() - (index / columns + 1) * height, width, height});
}

std::int64_t PieceCount(const Region& whole, std::int64_t width, std::int64_t height) {
    return Pieces(whole.width, width) * Pieces(whole.height, height);
}

// Whether an output is written past the caches, by non-temporal stores, so that it does not evict the input.
bool GoesPastCache(const Region& region, const BitmapDestination& destination) {
    constexpr std::uint64_t kCacheSize = 16 << 20;
    const auto width = static_cast<std::uint64_t>(region.width), height = static_cast<std::uint64_t>(region.height);
    return width * height * SizeOfPixel(destination.format) > kCacheSize;
}

// Whether a bitmap has the same layout as a tile, so that tiles can be rendered into it directly.
bool HoldsTiles(const BitmapDestination& destination) {
    return destination.format == PixelFormat::kFloats && destination.transfer == Transfer::kLinear &&
           destination.bytesPerRow % static_cast<std::ptrdiff_t>(sizeof(float)) == 0;
}

// The part of such a bitmap, which covers a region, that belongs to a piece of the region.
Tile TileOf(const BitmapDestination& destination, const Region& region, const Region& piece) {
    const std::ptrdiff_t floatsPerRow = destination.bytesPerRow / static_cast<std::ptrdiff_t>(sizeof(float));
    float* lowest =
        static_cast<float*>(destination.pixels) + static_cast<std::ptrdiff_t>(region.height - 1) * floatsPerRow;
    return Tile{region, lowest, -floatsPerRow}.Part(piece);
}

// Renders a piece of a region run by run. All runs but the first begin on a cache line.
void RenderRuns(const Prepared& prepared, const Region& region, const Region& piece,
                const BitmapDestination& destination) {
    const bool pastCache = GoesPastCache(region, destination);
    const RunMemory memory(1 + prepared.SpareRuns());
    for (std::int64_t y = piece.y; y < piece.Top(); ++y) {
        std::size_t most = pastCache ? PixelsToLine(destination, region, piece.x, y) : 0;
        for (Run run = {piece.x, y, 0}; run.x < piece.Right(); run.x += static_cast<std::int64_t>(run.count)) {
            if (most == 0) most = kRunPixels;
            run.count = std::min(static_cast<std::size_t>(piece.Right() - run.x), most);
            prepared.RenderRun(run, memory.Run(0), memory.Run(1));
            Store(memory.Run(0), run, region, destination, pastCache);
            most = 0;
        }
    }
    if (pastCache) hwy::FlushStream();
}

// Renders a piece of a region by way of its own memory.
void RenderAndStore(const Prepared& prepared, const Region& region, const Region& piece,
                    const BitmapDestination& destination) {
    const PixelBlock pixels(piece);
    prepared.Render(pixels.GetTile());
    const RunMemory memory(1);
    ForEachRun(piece, [&](const Run& run) {
        ToBlocks(pixels.GetTile().Part(run.GetRegion()).pixels, run.count, memory.Run(0));
        Store(memory.Run(0), run, region, destination, /*pastCache=*/false);
    });
}

// Renders a block of a region, prepared as a whole.
void RenderWhole(const ImageRef& image, const Region& region, const Region& block, const BitmapDestination& destination,
                 const Cut& cut) {
    const Prepared prepared = Prepare(image, block);
    const bool isPointwise = prepared.IsPointwise();
    // Only runs are written past the caches.
    const bool isByTiles = !isPointwise || (HoldsTiles(destination) && !GoesPastCache(region, destination));
    // Rows are long when only runs of them are held in memory.
    const std::int64_t width = isPointwise ? block.width : cut.tileWidth;
    const std::int64_t height = std::max<std::int64_t>(1, cut.tileWidth * cut.tileHeight / width);
    const auto render = [&](std::int64_t tileIndex) {
        const Region piece = Piece(block, width, height, tileIndex);
        if (!isByTiles) {
            RenderRuns(prepared, region, piece, destination);
        } else if (HoldsTiles(destination)) {
            prepared.Render(TileOf(destination, region, piece));
        } else {
            RenderAndStore(prepared, region, piece, destination);
        }
    };
    // Handing a single piece to another thread would take longer than rendering a small image.
    const std::int64_t count = PieceCount(block, width, height);
    if (count == 1) {
        render(0);
    } else {
        tbb::parallel_for<std::int64_t>(0, count, render);
    }
}

// How many pixels a block holds, about, or reads of a picture that is shrunk. The decoded rows of a block are held
// until it is done, so in low blocks a large picture passes through memory instead of staying there.
constexpr double kMostPixelsHeld = 2 << 20;

bool PrefersLowBlocks(const Image* image) {
    while (const Image* shown = image->Shown()) image = shown;
    return image->PrefersLowBlocks();
}

// Returns the height of the blocks of a region; no side of a block is longer than the edge.
std::int64_t BlockHeight(const ImageRef& image, const Region& region, std::int64_t edge, std::int64_t tileHeight) {
    const Region block = Piece(region, edge, edge, 0);
    const double shown = PixelCount(block), read = MostPixelsRead(image, block);
    const double held = read >= 2 * shown ? read : PrefersLowBlocks(image.Get()) ? shown : 0;
    if (held < kMostPixelsHeld) return edge;
    const auto height = static_cast<std::int64_t>(static_cast<double>(block.height) * kMostPixelsHeld / held);
    return std::max(tileHeight, height / tileHeight * tileHeight);
}

// Below this size a block's padding outgrows it, so that dividing it further would save no memory.
constexpr std::int64_t kSmallestBlockEdge = 256;

}  // namespace

void Render(const ImageRef& image, const Region& region, const BitmapDestination& destination, const Cut& cut,
            MemoryBudget& budget, RenderSession* session) {
    const BudgetScope scope(budget);
    RenderSession ownSession;
    const RenderSession::Scope sessionScope(session != nullptr ? *session : ownSession);
    std::int64_t edge = std::min(cut.blockEdge, std::max(region.width, region.height));
    // The blocks that are still to be rendered, the next one last.
    std::vector<Region> blocks;
    const auto divide = [&](const Region& whole) {
        const std::int64_t height = BlockHeight(image, whole, edge, cut.tileHeight);
        for (std::int64_t index = PieceCount(whole, edge, height); index-- > 0;) {
            blocks.push_back(Piece(whole, edge, height, index));
        }
    };
    divide(region);
    bool isTriedAgain = false;
    while (!blocks.empty()) {
        const Region block = blocks.back();
        blocks.pop_back();
        if (std::max(block.width, block.height) > edge) {
            divide(block);
            continue;
        }
        try {
            RenderWhole(image, region, block, destination, cut);
            isTriedAgain = false;
        } catch (const MemoryShortage&) {
            // The smallest blocks are tried again once, without what earlier ones have kept.
            if (isTriedAgain) throw;
            isTriedAgain = edge <= kSmallestBlockEdge;
            if (!isTriedAgain) edge = (edge + 1) / 2;
            RenderSession::Current()->FreeMemory();
            blocks.push_back(block);
        }
    }
}

}  // namespace core_image
