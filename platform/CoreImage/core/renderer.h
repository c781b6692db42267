// renderer.h - renders an image by tiles, on all cores.
//
// The region is cut into blocks. An image is prepared for one block after the other, which bounds the memory that
// prepared stages hold. The tiles of a block are rendered and stored in parallel; a bitmap of linear floats is
// rendered into directly.
// The result depends neither on these sizes nor on the number of threads.

#pragma once

#include "core/bitmap.h"
#include "core/image.h"

namespace core_image {

// How the work is divided.
struct Cut {
    std::int64_t blockEdge = 4096;  // a wide blur then holds 64 MB, and 256 MB while it is prepared
    std::int64_t tileWidth =
        256;  // a tile and its padding fit a core's own cache; if pointwise, this many pixels as whole rows
    std::int64_t tileHeight = 64;
};

// Renders a region of an image into a bitmap of that size. Throws std::bad_alloc; the bitmap is then partly written.
void Render(const ImageRef& image, const Region& region, const BitmapDestination& destination, const Cut& cut = {});

}  // namespace core_image
