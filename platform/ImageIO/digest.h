// digest.h - the MD5 digest, which names a block of bytes.
//
// Threads: any; nothing is shared.

#pragma once

#include <string>
#include <string_view>

namespace image_io {

// Returns the digest as 32 hexadecimal digits, in capitals. Throws std::bad_alloc.
[[nodiscard]] std::string DigestOf(std::string_view bytes);

}  // namespace image_io
