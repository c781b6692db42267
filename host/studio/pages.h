// pages.h - the files of the studio's page, compiled in.
//
// Adding one: its file in page/, its line in CMakeLists.txt, its row in pages.cpp.

#pragma once

#include <span>

namespace studio {

struct PageFile {
    const char* path;  // "/studio.css"
    const char* type;
    const char* text;
};

[[nodiscard]] std::span<const PageFile> PageFiles();

}  // namespace studio
