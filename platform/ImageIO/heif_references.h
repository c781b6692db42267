// heif_references.h - how the pictures in a HEIF file are made of one another.
//
// A picture can be a grid of others, which can be grids again. libheif follows such references wherever they lead, with
// a thread for each picture. In a damaged file they can lead back to where they came from.
//
// Failure: none; what is damaged is not followed.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <cstdint>

namespace image_io {

// Whether a picture of a file, which is named by its number, consists of at most 100,000 pictures, nested 16 deep.
bool CanBeDecoded(const std::uint8_t* bytes, std::size_t length, std::uint32_t picture);

}  // namespace image_io
