// picture_folder.cpp - walks through a folder and sorts what it finds.

#include "host/program/picture_folder.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

std::vector<InputPicture> FilesBelow(const std::string& folder, const std::string& omitted) {
    std::vector<InputPicture> files;
    for (auto entry = std::filesystem::recursive_directory_iterator(folder);
         entry != std::filesystem::recursive_directory_iterator(); ++entry) {
        std::error_code error;
        if (entry->is_directory(error) && !omitted.empty() &&
            std::filesystem::equivalent(entry->path(), omitted, error)) {
            entry.disable_recursion_pending();
        }
        if (!entry->is_regular_file(error)) continue;
        const std::filesystem::path within = entry->path().lexically_relative(folder).parent_path();
        files.push_back({entry->path().string(), within.empty() ? "." : within.string()});
    }
    std::ranges::sort(files, {}, &InputPicture::path);
    return files;
}
