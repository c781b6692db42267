// apply_worker.h - what worker processes do for "zeva apply". The program's own process keeps no host: workers check
// the recipe, look for pictures, and process them.
//
// A worker prepares the recipe once and then does one task after another. The command's options and words reach it as
// they were given, so that it reads the recipe as the command did.
//
// Failure: a Failure with the exit status and what is wrong.
// Threads: the program's main thread.

#pragma once

#include <string>
#include <vector>

#include "host/batch/batch.h"
#include "host/batch/report.h"
#include "host/program/apply_request.h"
#include "host/program/output_names.h"
#include "host/program/program_host.h"

// Returns what workers of a command are told when they start; `options` says how many share the memory and how many
// threads each has.
[[nodiscard]] BatchOptions ApplyWorkers(const ProgramOptions& options, const ApplyRequest& request);

// The tasks as texts. Each says what its result is.
namespace apply_task {

// Prepares the recipe, tries it on a plain color, checks the options and saves the recipe if asked to. A target that is
// not empty must be writable. Result: see RunIn.
[[nodiscard]] std::string Check(const std::string& target);

// Result: a 1 for each file that is a picture, a 0 for each other one.
[[nodiscard]] std::string FindPictures(const std::vector<std::string>& files);

// Result: see SizeIn.
[[nodiscard]] std::string Measure(const std::string& input);

// Processes a picture, unless hashes are given and are those of the input and of the output that is there. Result: see
// OutcomeIn.
[[nodiscard]] std::string Process(const std::string& input, const std::string& target,
                                  const std::string& inputHash = {}, const std::string& outputHash = {});

}  // namespace apply_task

[[nodiscard]] RunFacts RunIn(const std::string& result);
[[nodiscard]] ResultSize SizeIn(const std::string& result);

struct PictureOutcome {
    FileFacts input, output;  // known if the command has a report
    bool wasDone = false;     // the hashes were the same, so that nothing was written
};
[[nodiscard]] PictureOutcome OutcomeIn(const std::string& result);

// Runs one task in a process of its own and returns its result. Throws a Failure with what is wrong.
[[nodiscard]] std::string RunTask(const ProgramOptions& options, const ApplyRequest& request, const std::string& task);
