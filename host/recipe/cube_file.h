// cube_file.h - reads color tables in the .cube format, which color grading programs write.
//
//   TITLE "warm"            optional
//   LUT_3D_SIZE 33
//   DOMAIN_MIN 0 0 0        optional; other values are refused because the filters index their tables by 0...1
//   DOMAIN_MAX 1 1 1
//   0.01 0.0 0.0            33 x 33 x 33 lines of red, green, blue; red changes fastest
//
// Lines that begin with # are comments. A byte order mark before the first line is ignored.

#pragma once

#include <cstddef>
#include <filesystem>
#include <vector>

// The largest size that the filters accept.
inline constexpr int kLargestCubeSize = 128;

// The longest line, in bytes. Why a limit: a file that is not a color table may be one line of any length.
inline constexpr std::size_t kLongestCubeLine = 1000;

// Returns the table as red, green, blue and alpha, red changing fastest. Alpha is always 1.
//
// Throws HostError, which names the line, for a file that is not in the format, is truncated or holds a one-dimensional
// table.
[[nodiscard]] std::vector<float> ReadCubeFile(const std::filesystem::path& path);
