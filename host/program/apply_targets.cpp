// apply_targets.cpp - names, folders and protected files.

#include "host/program/apply_targets.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <unordered_map>
#include <unordered_set>

#include "host/program/exit_status.h"
#include "host/program/picture_streams.h"
#include "host/program/protected_files.h"
#include "host/recipe/prepared_recipe.h"
#include "host/runtime/errors.h"
#include "host/runtime/text.h"

using host::HostError;
using std::filesystem::path;

namespace {

// Returns a path in its normal form. Nearly every path is, and finding that out is much faster than making it so.
std::string NormalName(const std::string& name) {
    const bool isNormal = !name.starts_with("./") && !name.starts_with("../") && name.find("//") == std::string::npos &&
                          name.find("/.") == std::string::npos;
    return isNormal ? name : path(name).lexically_normal().string();
}

}  // namespace

void CreateFolder(const std::string& folder) {
    std::error_code error;
    std::filesystem::create_directories(folder, error);
    const bool isWritable = faccessat(AT_FDCWD, folder.c_str(), W_OK, AT_EACCESS) == 0;
    if (!error && !isWritable) error.assign(errno, std::generic_category());
    if (error) {
        throw HostError(
            folder,
            "results cannot be written to this folder (" + host::SystemReason(error.value()) + "); nothing was written",
            error.value());
    }
}

void NameTargets(const OutputNames& names, const std::vector<ResultSize>& sizes, std::vector<PictureJob>& jobs) {
    std::unordered_map<std::string, std::size_t> taken;
    taken.reserve(jobs.size());
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        const std::string& input = jobs[i].picture.path;
        jobs[i].target = names.Of(jobs[i].picture, sizes[i]);
        const auto [other, isNew] = taken.emplace(NormalName(jobs[i].target), i);
        if (!isNew) {
            throw UsageError(jobs[i].target + ": the results of " + jobs[other->second].picture.path + " and " + input +
                             " would both be written there; nothing was written");
        }
    }
}

void ProtectNames(const std::vector<PictureJob>& jobs) {
    const std::string folder = std::filesystem::current_path().string() + "/";
    const auto nameOf = [&](const std::string& file) {
        const std::string name = NormalName(file);
        return name.starts_with('/') ? name : folder + name;
    };
    std::unordered_set<std::string> targets;
    targets.reserve(jobs.size());
    for (const PictureJob& job : jobs) targets.insert(nameOf(job.target));
    for (const PictureJob& job : jobs) {
        if (!targets.contains(nameOf(job.picture.path))) continue;
        throw UsageError(job.picture.path + ": a result would overwrite it; nothing was written");
    }
}

std::string FolderOf(const std::string& target) {
    const path folder = path(target).parent_path();
    return folder.empty() ? "." : folder.string();
}

bool IsKept(const ApplyRequest& request, const std::string& target) {
    std::error_code error;
    return request.keepsExisting && std::filesystem::exists(std::filesystem::symlink_status(target, error));
}

std::vector<std::string> OtherFiles(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe) {
    std::vector<std::string> files = FilesOfRecipe(recipe);
    if (!options.module.empty()) files.push_back(options.module);
    for (const std::filesystem::path& module : AddedModules(options)) files.push_back(module.string());
    const std::vector<std::string> profiles = FilesOfOptions(request.options);
    files.insert(files.end(), profiles.begin(), profiles.end());
    return files;
}

void ProtectInputs(const ApplyRequest& request, const std::vector<std::string>& others,
                   const std::vector<PictureJob>& jobs) {
    ProtectedFiles files;
    for (const PictureJob& job : jobs) {
        if (!request.isInPlace && job.picture.path != kStandardStream) files.Add(job.picture.path);
    }
    for (const std::string& other : others) files.Add(other);
    for (const PictureJob& job : jobs) {
        if (job.target != kStandardStream) files.AddOutput(job.target, "a result", "nothing was written");
    }
    if (!request.recipeFile.empty()) files.AddOutput(request.recipeFile, "the recipe", "nothing was written");
}
