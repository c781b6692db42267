// row_decoder.cpp - what the decoders of rows share.

#include "row_decoder.h"

#include <sys/mman.h>

namespace image_io {

void ReadPages::DropBefore(std::size_t place) {
    // Also a multiple of every page size.
    constexpr std::size_t kPiece = 1 << 18;
    const std::size_t end = place / kPiece * kPiece;
    if (!file_.isMapped || end <= dropped_) return;
    madvise(const_cast<std::uint8_t*>(file_.bytes) + dropped_, end - dropped_, MADV_DONTNEED);
    dropped_ = end;
}

}  // namespace image_io
