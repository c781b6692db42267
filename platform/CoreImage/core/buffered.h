// buffered.h - pixels rendered once for a region, where many tiles would otherwise render the same ones again.

#pragma once

#include <functional>

#include "core/image.h"

namespace core_image {

// A stage that shows a block of pixels.
std::unique_ptr<const Stage> MakeHeldStage(PixelBlock pixels);

// A prepared image whose pixels in a region are held in memory; the rest of it is left out.
Prepared Hold(const Prepared& prepared, const Region& region);

// The most pixels of an image that are held in memory to save time: 1 GB. Infinite patterns may be asked for more.
inline constexpr double kMostHeld = 1 << 26;

// The size of the tiles that are rendered at once: with their padding they fit into a core's own cache.
inline constexpr std::int64_t kTileWidth = 256;
inline constexpr std::int64_t kTileHeight = 64;

// Calls a function with the tiles that make up a large one, on all cores.
void RenderByTiles(const Tile& all, const std::function<void(const Tile& tile)>& render);

// A region of an image, rendered on all cores; transparent outside the image.
PixelBlock RenderBlock(const ImageRef& image, const Region& region);
PixelBlock RenderBlock(const Prepared& prepared, const Region& region);

}  // namespace core_image
