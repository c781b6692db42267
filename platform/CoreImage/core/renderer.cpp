// renderer.cpp - blocks in turn, tiles in parallel.

#include "core/renderer.h"

#include <tbb/parallel_for.h>

namespace core_image {
namespace {

// How many pieces of a length cover a whole.
std::int64_t Pieces(std::int64_t whole, std::int64_t piece) { return (whole + piece - 1) / piece; }

// Calls a function with each piece of a region, lowest row first; index chooses the piece.
Region Piece(const Region& whole, std::int64_t width, std::int64_t height, std::int64_t index) {
    const std::int64_t columns = Pieces(whole.width, width);
    return whole.intersection({whole.x + index % columns * width, whole.y + index / columns * height, width, height});
}

std::int64_t PieceCount(const Region& whole, std::int64_t width, std::int64_t height) {
    return Pieces(whole.width, width) * Pieces(whole.height, height);
}

}  // namespace

void Render(const ImageRef& image, const Region& region, const BitmapDestination& destination, const Cut& cut) {
    const std::int64_t blocks = PieceCount(region, cut.blockEdge, cut.blockEdge);
    for (std::int64_t index = 0; index < blocks; ++index) {
        const Region block = Piece(region, cut.blockEdge, cut.blockEdge, index);
        const Prepared prepared = Prepare(image, block);
        tbb::parallel_for<std::int64_t>(
            0, PieceCount(block, cut.tileWidth, cut.tileHeight), [&](std::int64_t tileIndex) {
                const PixelBlock pixels(Piece(block, cut.tileWidth, cut.tileHeight, tileIndex));
                prepared.render(pixels.tile());
                Store(pixels.tile(), region, destination);
            });
    }
}

}  // namespace core_image
