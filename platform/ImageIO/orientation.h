// orientation.h - reads the Exif orientation of a picture: which way up the camera was held.
//
// Failure: 0; nothing is printed.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <cstdint>

namespace image_io {

// Returns the Exif orientation in the bytes of a JPEG or PNG file: 1 (upright) to 8; 0 when there is none or it
// cannot be read.
[[nodiscard]] int OrientationOf(const std::uint8_t* bytes, std::size_t length);

}  // namespace image_io
