// renderer.h - walks an image by tiles, on all cores.
//
// The wanted region is cut into blocks; an image is prepared for one block after the other, which bounds the memory that
// prepared stages hold. The tiles of a block are rendered and stored side by side by as many threads as there are; a bitmap of
// linear floats is rendered into directly.
// The result does not depend on either size, nor on the number of threads.

#pragma once

#include "core/bitmap.h"
#include "core/image.h"

namespace core_image {

// How the work is cut.
struct Cut {
    std::int64_t blockEdge = 4096;  // a wide blur then holds 64 MB, and 256 MB while it is prepared
    std::int64_t tileWidth =
        256;  // a tile and its padding stay in a core's own cache; pointwise, one as large of whole rows
    std::int64_t tileHeight = 64;
};

// Renders a region of an image into a bitmap of that size. Throws std::bad_alloc; the bitmap is then partly written.
void Render(const ImageRef& image, const Region& region, const BitmapDestination& destination, const Cut& cut = {});

}  // namespace core_image
