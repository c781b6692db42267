// apply.h - the two ways in which "zeva apply" runs: one picture here, many pictures in worker processes.
//
// Failure: a Failure with the exit status, or an exception that becomes one (exit_status.h).
// Threads: the program's main thread.

#pragma once

#include <vector>

#include "host/program/apply_request.h"
#include "host/program/output_names.h"
#include "host/program/program_host.h"
#include "host/recipe/recipe.h"

// Returns the pictures that the words name. With --recursive, a folder stands for the pictures in it, whatever their
// names are.
[[nodiscard]] std::vector<InputPicture> PicturesOf(const ProgramOptions& options, const ApplyRequest& request,
                                                   const Recipe& recipe);

// Processes one picture or none, and prints each step.
void ApplyToOne(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
                const OutputNames& names, const std::vector<InputPicture>& pictures);

// Processes many pictures in parallel, and prints failures, the progress and a summary. Returns the exit status.
[[nodiscard]] int ApplyToMany(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
                              const OutputNames& names, const std::vector<InputPicture>& pictures);
