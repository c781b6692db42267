// orientation.h - which way up a picture was taken, as its camera has noted it.
//
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <cstdint>

namespace image_io {

// The orientation that an Exif block in the bytes of a JPEG or PNG names: 1 (upright) to 8, in the numbers of Exif; 0 when
// there is none that can be read.
int OrientationOf(const std::uint8_t* bytes, std::size_t length);

}  // namespace image_io
