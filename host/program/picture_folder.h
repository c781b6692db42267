// picture_folder.h - finds the files below a folder, for the option --recursive.
//
// Links to folders are not followed, so no folder is visited twice; the folder that is given may be a link. Files come
// in the order of their bytes, whatever the file system's order is.
//
// Failure: std::filesystem::filesystem_error for a folder that cannot be read.
// Threads: any.

#pragma once

#include <string>
#include <vector>

#include "host/program/output_names.h"

// Whether a file or a folder can be read.
[[nodiscard]] bool IsReadable(const std::string& path);

// The files below a folder, each with its folder within it. The files in `omitted`, a folder of results or "", are left
// out. A folder that cannot be read is among the files, so that it is reported like one of them.
[[nodiscard]] std::vector<InputPicture> FilesBelow(const std::string& folder, const std::string& omitted);
