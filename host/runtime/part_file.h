// part_file.h - the unfinished files that pictures and texts are written to: ".NAME.zeva-part" beside NAME. Those of
// pictures are locked while a process writes; their writer is platform/ImageIO/files.h.
//
// Threads: any.

#pragma once

#include <string>

namespace host {

// Returns the name of the unfinished file of a target. A name that would be too long is shortened.
[[nodiscard]] std::string PartFileOf(const std::string& target);

// Removes what a process that was killed left of a target. The file of a running process stays.
void RemovePartFile(const std::string& target);

}  // namespace host
