// renderer.cpp - blocks in turn, tiles in parallel.

#include "core/renderer.h"

#include <tbb/parallel_for.h>

namespace core_image {
namespace {

// How many pieces of a length cover a whole.
std::int64_t Pieces(std::int64_t whole, std::int64_t piece) { return (whole + piece - 1) / piece; }

// A piece of a region, lowest row first; index chooses the piece.
Region Piece(const Region& whole, std::int64_t width, std::int64_t height, std::int64_t index) {
    const std::int64_t columns = Pieces(whole.width, width);
    return whole.intersection({whole.x + index % columns * width, whole.y + index / columns * height, width, height});
}

std::int64_t PieceCount(const Region& whole, std::int64_t width, std::int64_t height) {
    return Pieces(whole.width, width) * Pieces(whole.height, height);
}

// Whether a bitmap holds pixels as tiles do, so that they can be rendered where they belong.
bool HoldsTiles(const BitmapDestination& destination) {
    return destination.format == PixelFormat::floats && destination.transfer == Transfer::linear &&
           destination.bytesPerRow % static_cast<std::ptrdiff_t>(sizeof(float)) == 0;
}

// The part of such a bitmap, which stands for a region, that a piece of the region is.
Tile TileOf(const BitmapDestination& destination, const Region& region, const Region& piece) {
    const std::ptrdiff_t floatsPerRow = destination.bytesPerRow / static_cast<std::ptrdiff_t>(sizeof(float));
    float* lowest =
        static_cast<float*>(destination.pixels) + static_cast<std::ptrdiff_t>(region.height - 1) * floatsPerRow;
    return Tile{region, lowest, -floatsPerRow}.part(piece);
}

// Renders a piece of a region by way of memory of its own.
void RenderAndStore(const Prepared& prepared, const Region& region, const Region& piece,
                    const BitmapDestination& destination) {
    // Strips come and go in the same memory.
    const std::int64_t height = prepared.isPointwise() ? StripHeight(piece.width) : piece.height;
    const PixelBlock pixels(Region{piece.x, 0, piece.width, std::min(height, piece.height)});
    for (std::int64_t y = piece.y; y < piece.top(); y += height) {
        const Tile strip = {{piece.x, y, piece.width, std::min(height, piece.top() - y)},
                            pixels.tile().pixels,
                            pixels.tile().floatsPerRow};
        prepared.render(strip);
        Store(strip, region, destination);
    }
}

}  // namespace

void Render(const ImageRef& image, const Region& region, const BitmapDestination& destination, const Cut& cut) {
    const std::int64_t blocks = PieceCount(region, cut.blockEdge, cut.blockEdge);
    for (std::int64_t index = 0; index < blocks; ++index) {
        const Region block = Piece(region, cut.blockEdge, cut.blockEdge, index);
        const Prepared prepared = Prepare(image, block);
        tbb::parallel_for<std::int64_t>(0, PieceCount(block, cut.tileWidth, cut.tileHeight),
                                        [&](std::int64_t tileIndex) {
                                            const Region piece = Piece(block, cut.tileWidth, cut.tileHeight, tileIndex);
                                            if (HoldsTiles(destination)) {
                                                prepared.render(TileOf(destination, region, piece));
                                            } else {
                                                RenderAndStore(prepared, region, piece, destination);
                                            }
                                        });
    }
}

}  // namespace core_image
