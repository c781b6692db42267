// cube_file.h - color tables in the .cube format, as color grading programs write them.
//
//   TITLE "warm"            may be left out
//   LUT_3D_SIZE 33
//   DOMAIN_MIN 0 0 0        may be left out; other values than these are refused, as the filters index their tables by 0...1
//   DOMAIN_MAX 1 1 1
//   0.01 0.0 0.0            33 x 33 x 33 lines of red, green, blue; red changes fastest
//
// Lines that begin with # are comments.

#pragma once

#include <filesystem>
#include <vector>

// The table as red, green, blue and alpha, which is 1; red changes fastest. Throws HostError, with the number of the line,
// for a file that is none, is cut short or holds a one-dimensional table.
std::vector<float> ReadCubeFile(const std::filesystem::path& path);
