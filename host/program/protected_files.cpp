// protected_files.cpp - identifies a file by its device and number, and one that does not exist by its full path.

#include "host/program/protected_files.h"

#include <sys/stat.h>

#include <system_error>

#include "host/program/exit_status.h"
#include "host/runtime/module.h"

namespace {

// Returns what two names of one file have in common; empty for a pipe or a device.
std::string IdentityOf(const std::filesystem::path& file) {
    struct stat status;
    if (stat(file.c_str(), &status) == 0) {
        if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode)) return {};
        return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
    }
    // A link to a file that does not exist stands for that file.
    constexpr int kMostLinks = 40;
    std::error_code error;
    std::filesystem::path full = std::filesystem::absolute(file, error);
    for (int i = 0; i < kMostLinks && std::filesystem::is_symlink(full, error); ++i) {
        full = full.parent_path() / std::filesystem::read_symlink(full, error);
    }
    full = std::filesystem::weakly_canonical(full, error);
    return error ? file.string() : full.string();
}

}  // namespace

void ProtectedFiles::Add(const std::filesystem::path& file) {
    // A module may be a folder.
    for (const std::filesystem::path& path : {file, host::ModuleFile(file)}) {
        if (std::string identity = IdentityOf(path); !identity.empty()) files_.emplace(std::move(identity), path);
    }
}

void ProtectedFiles::AddOutput(const std::filesystem::path& file, const char* output, const char* consequence) {
    if (const auto found = files_.find(IdentityOf(file)); found != files_.end()) {
        throw UsageError(found->second.string() + ": " + output + " would overwrite it; " + consequence);
    }
    Add(file);
}
