// part_file.h - the unfinished files that pictures are written to: ".NAME.zeva-part" beside NAME, locked while a
// process writes. The writer itself is platform/ImageIO/files.h.
//
// Threads: any.

#pragma once

#include <string>

// Returns the name of the unfinished file of a target. A name that would be too long is shortened.
[[nodiscard]] std::string PartFileOf(const std::string& target);

// Removes what a process that was killed left of a target. The file of a running process stays.
void RemovePartFile(const std::string& target);
