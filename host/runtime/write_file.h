// write_file.h - writes a report or a page: a whole file at once.

#pragma once

#include <filesystem>
#include <string_view>

namespace host {

// Overwrites a file. Throws HostError, with the system's reason and number, when it cannot be written to its end.
void WriteFile(const std::filesystem::path& file, std::string_view content);

}  // namespace host
