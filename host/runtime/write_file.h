// write_file.h - writes a report or a page: a whole file at once.

#pragma once

#include <filesystem>
#include <string_view>

namespace host {

// Overwrites a file, or the one that a link points to. An existing file stays as it is until the new one is complete; a
// pipe or a device is written to directly. Throws HostError, with the system's reason and number, when the file cannot
// be written to its end.
void WriteFile(const std::filesystem::path& file, std::string_view content);

}  // namespace host
