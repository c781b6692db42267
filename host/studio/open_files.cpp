// open_files.cpp - numbers for files, and names that stay in their folder.

#include "host/studio/open_files.h"

#include <stdlib.h>

#include <algorithm>
#include <cerrno>
#include <system_error>

#include "host/studio/gate.h"

namespace studio {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t kMostFiles = 1000;

// The path without symbolic links; empty when it does not exist.
fs::path Resolved(const fs::path& path) {
    std::error_code error;
    return fs::canonical(path, error);
}

}  // namespace

std::string SafeName(const std::string& name) {
    std::string safe = name.substr(name.find_last_of("/\\") + 1);
    std::erase_if(safe, [](unsigned char character) { return character < ' ' || character == 127; });
    constexpr std::size_t kLongest = 120;
    safe = safe.substr(0, kLongest);
    while (safe.starts_with('.') || safe.starts_with('-')) safe.erase(0, 1);
    return safe.empty() ? "picture" : safe;
}

bool IsBelow(const fs::path& folder, const fs::path& path) {
    const fs::path above = Resolved(folder);
    const fs::path below = Resolved(path);
    if (above.empty() || below.empty()) return false;
    return std::mismatch(above.begin(), above.end(), below.begin(), below.end()).first == above.end();
}

OpenFiles::OpenFiles(const fs::path& folder) : folder_(folder.empty() ? folder : fs::canonical(folder)) {
    std::string name = (fs::temp_directory_path() / "zeva-studio-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw fs::filesystem_error("no private folder", name, std::error_code(errno, std::generic_category()));
    }
    privateFolder_ = name;
}

OpenFiles::~OpenFiles() {
    std::error_code error;
    fs::remove_all(privateFolder_, error);
}

fs::path OpenFiles::NewPath(const std::string& suffix) const { return privateFolder_ / (RandomName() + suffix); }

int OpenFiles::Add(OpenFile file) {
    file.path = Resolved(file.path);
    if (file.path.empty()) return 0;
    if (const int number = Find(file.path); number != 0) return number;
    const std::scoped_lock lock(mutex_);
    if (files_.size() >= kMostFiles) return 0;
    const int number = files_.empty() ? 1 : files_.rbegin()->first + 1;
    files_.emplace(number, std::move(file));
    return number;
}

int OpenFiles::Find(const fs::path& path) const {
    const fs::path resolved = Resolved(path);
    const std::scoped_lock lock(mutex_);
    const auto found = std::ranges::find_if(files_, [&](const auto& each) { return each.second.path == resolved; });
    return found != files_.end() && !resolved.empty() ? found->first : 0;
}

bool OpenFiles::IsBelowFolder(const fs::path& path) const { return IsBelow(folder_, path); }

std::map<int, OpenFile> OpenFiles::All() const {
    const std::scoped_lock lock(mutex_);
    return files_;
}

fs::path OpenFiles::NewResult(const std::string& name, const std::string& suffix) const {
    const std::string stem = fs::path(SafeName(name)).stem().string();
    for (int number = 1;; ++number) {
        const fs::path path = folder_ / (stem + (number == 1 ? "" : "-" + std::to_string(number)) + "." + suffix);
        std::error_code error;
        if (!fs::exists(fs::symlink_status(path, error))) return path;
    }
}

}  // namespace studio
