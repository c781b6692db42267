// apply_targets.h - where the results of "zeva apply" go, and what they must not overwrite.
//
// Failure: UsageError for names that cannot be used, before anything is created.
// Threads: any.

#pragma once

#include <string>
#include <vector>

#include "host/program/apply_request.h"
#include "host/program/output_names.h"
#include "host/program/program_host.h"
#include "host/recipe/recipe.h"

// A picture and the file for its result.
struct PictureJob {
    InputPicture picture;
    std::string target;
};

// Stores the target of each job, whose size is that of its result. Throws UsageError when two would share a file.
void NameTargets(const OutputNames& names, const std::vector<ResultSize>& sizes, std::vector<PictureJob>& jobs);

// Throws UsageError when a result would overwrite the picture of another job. Compares names: it is for the jobs of a
// whole list of which this machine does a part, so that no file is looked up.
void ProtectNames(const std::vector<PictureJob>& jobs);

// Returns the folder of a file, "." for a name alone.
[[nodiscard]] std::string FolderOf(const std::string& target);

// Creates the folder of the results, unless it exists and can be written to. Throws HostError.
void CreateFolder(const std::string& folder);

// Whether a result is to be left alone, because its file exists.
[[nodiscard]] bool IsKept(const ApplyRequest& request, const std::string& target);

// Returns the files that the command reads, apart from its pictures.
[[nodiscard]] std::vector<std::string> OtherFiles(const ProgramOptions& options, const ApplyRequest& request,
                                                  const Recipe& recipe);

// Throws UsageError when a result would overwrite a file that the command reads, or another result. In place, a result
// overwrites its own picture.
void ProtectInputs(const ApplyRequest& request, const std::vector<std::string>& others,
                   const std::vector<PictureJob>& jobs);
