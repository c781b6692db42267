// picture_folder.cpp - walks through a folder and sorts what it finds.

#include "host/program/picture_folder.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

bool IsReadable(const std::string& path) {
    std::error_code error;
    const int needed = std::filesystem::is_directory(path, error) ? R_OK | X_OK : R_OK;
    return faccessat(AT_FDCWD, path.c_str(), needed, AT_EACCESS) == 0;
}

std::vector<InputPicture> FilesBelow(const std::string& folder, const std::string& omitted) {
    std::vector<InputPicture> files;
    std::error_code failure;
    for (auto entry = std::filesystem::recursive_directory_iterator(folder);
         entry != std::filesystem::recursive_directory_iterator(); entry.increment(failure)) {
        std::error_code error;
        const bool isFolder = entry->is_directory(error) && !entry->is_symlink(error);
        const bool isOmitted =
            isFolder && !omitted.empty() && std::filesystem::equivalent(entry->path(), omitted, error);
        const bool isClosed = isFolder && !isOmitted && !IsReadable(entry->path().string());
        if (isOmitted || isClosed) entry.disable_recursion_pending();
        if (!entry->is_regular_file(error) && !isClosed) continue;
        const std::filesystem::path within = entry->path().lexically_relative(folder).parent_path();
        files.push_back({entry->path().string(), within.empty() ? "." : within.string()});
    }
    if (failure) throw std::filesystem::filesystem_error("", folder, failure);
    std::ranges::sort(files, {}, &InputPicture::path);
    return files;
}
