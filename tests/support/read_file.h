// read_file.h - the content of a whole file.

#pragma once

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>

// Throws if the file cannot be opened.
[[nodiscard]] inline std::string ReadFile(const std::filesystem::path& path) {
    const std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error(path.string() + ": cannot be opened");
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}
