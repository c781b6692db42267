// encode_tiff.h - encodes pixels as a TIFF file, as encode.h describes it.

#pragma once

#include "encode.h"

namespace image_io {

[[nodiscard]] int EncodeTIFF(const Pixels& pixels, const EncodeOptions& options, EncodedFile* file);

}  // namespace image_io
