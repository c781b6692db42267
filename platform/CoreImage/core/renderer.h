// renderer.h - renders an image by tiles, on all cores.
//
// The region is cut into blocks. An image is prepared for one block after the other, which bounds the memory that
// prepared stages hold; blocks are low where a picture is shrunk, and where an image holds its pixels. The tiles of a
// block are rendered and stored in parallel; a bitmap of linear floats is rendered into directly.
// Images that several others use, and images that tiles would render again and again, are held for the block
// (plan.cpp). A block that exceeds the memory budget is rendered as four smaller ones.
// The result depends neither on these sizes nor on the budget nor on the number of threads.

#pragma once

#include "core/bitmap.h"
#include "core/buffered.h"
#include "core/image.h"
#include "core/memory_budget.h"
#include "core/render_session.h"

namespace core_image {

// How the work is divided.
struct Cut {
    std::int64_t blockEdge = 4096;        // a wide box then holds 256 MB, and up to 128 MB for rows around the block
    std::int64_t tileWidth = kTileWidth;  // if pointwise, this many pixels as whole rows
    std::int64_t tileHeight = kTileHeight;
};

// Renders a region of an image into a bitmap of that size. Throws SourceFailure, and MemoryShortage when even small
// blocks exceed the budget; the bitmap is then partly written. Several renderings of one recipe can share a session.
void Render(const ImageRef& image, const Region& region, const BitmapDestination& destination, const Cut& cut = {},
            MemoryBudget& budget = MemoryBudget::Default(), RenderSession* session = nullptr);

}  // namespace core_image
