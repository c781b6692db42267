// deflate_runs.h - compresses bytes by run lengths and Huffman codes, in the deflate format (RFC 1951).
//
// Why not zlib, which has the same method (Z_RLE) and makes files of the same size within two percent: it takes four
// times as long, which was most of the time of writing a PNG file. The libraries that are as fast write whole streams
// only, and so cannot compress strips on several cores.
// Threads: any.

#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace image_io {

// Appends the compressed form of one or more bytes. It ends at a byte border: unless it is the last part of a stream,
// with an empty block. Throws std::bad_alloc.
void DeflateRuns(const std::uint8_t* bytes, std::size_t count, bool isLast, std::vector<std::uint8_t>& to);

}  // namespace image_io
