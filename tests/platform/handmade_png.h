// handmade_png.h - PNG files put together byte by byte, so that tests can make them wrong in one place.

#pragma once

#include <cstdint>
#include <string>
#include <vector>

using FileBytes = std::vector<std::uint8_t>;

// The color types of a PNG.
enum ColorType : std::uint8_t { kGray = 0, kRGB = 2, kPalette = 3, kGreyAlpha = 4, kRGBA = 6 };

// What a file holds; the rows are packed as the color type and depth say.
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
    FileBytes profile = {};  // what the iCCP chunk holds, less than 64 KB

    FileBytes bytes() const;
};

// One chunk with its checksum.
FileBytes Chunk(const std::string& type, const FileBytes& content);
