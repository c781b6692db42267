// tiff_tables.h - the data about pictures in TIFF files.
//
// A TIFF file has the structure of an Exif block. It keeps what such a block says about a picture in the same image
// file directory (IFD) as how the pixels are stored, so the entries are copied from one to the other, and the values
// get other offsets.
//
// Failure: an IFD or a value that is damaged is left out.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <cstdint>

#include "encode.h"
#include "metadata.h"
#include "tiff_stream.h"

namespace image_io {

// Reads the data in a file. Throws std::bad_alloc.
void ReadMetadataOfTIFF(const std::uint8_t* bytes, std::size_t length, Metadata* metadata);

// Adds what an Exif block says to a file that was written and closed. Returns false when memory is short.
[[nodiscard]] bool AddExif(const Block& exif, TiffStream* file);

}  // namespace image_io
