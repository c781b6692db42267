// handmade_png.h - builds PNG files byte by byte, so that tests can break them in one place.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

using FileBytes = std::vector<std::uint8_t>;

// The color types of PNG.
enum ColorType : std::uint8_t { kGray = 0, kRGB = 2, kPalette = 3, kGrayAlpha = 4, kRGBA = 6 };

// The contents of a file. Its rows are packed for its color type and depth.
struct HandmadePNG {
    std::uint32_t width = 1;
    std::uint32_t height = 1;
    std::uint8_t depth = 8;
    ColorType colorType = kRGBA;
    std::vector<FileBytes> rows;
    FileBytes palette;       // red, green and blue of each entry
    FileBytes transparency;  // the tRNS chunk
    bool isInterlaced = false;
    FileBytes gamma;         // the gAMA chunk
    FileBytes profile = {};  // the profile in the iCCP chunk, shorter than 64 KB

    // Returns the bytes of the file.
    [[nodiscard]] FileBytes Bytes() const;
};

// Returns a chunk with its length and checksum.
[[nodiscard]] FileBytes Chunk(const std::string& type, const FileBytes& content);
