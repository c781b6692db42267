// apply_many.cpp - many pictures in parallel worker processes, each with a host of its own (host/batch/batch.h).

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/batch/batch.h"
#include "host/batch/progress.h"
#include "host/batch/shared_array.h"
#include "host/program/apply.h"
#include "host/program/apply_picture.h"
#include "host/program/apply_targets.h"
#include "host/program/apply_worker.h"
#include "host/program/exit_status.h"
#include "host/program/picture_streams.h"
#include "host/runtime/errors.h"
#include "host/runtime/text.h"

namespace {

using host::Host;
using host::HostError;
using host::Value;

// A worker's host and what it needs to process a picture.
struct Worker {
    std::unique_ptr<Host> host;
    Plan plan;
};

// A job that failed, and why.
struct JobFailure {
    PictureJob job;
    std::string text;
    int errorNumber;
};

// Calls a function with a worker and the index of each job, in parallel.
void RunJobs(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
             const std::vector<PictureJob>& jobs, const std::function<void(const Worker&, std::size_t)>& function,
             const BatchReport& report) {
    ProgramOptions ofWorker = options;
    ofWorker.workers = WorkersOfBatch(jobs.size());
    const auto prepare = [&]() -> BatchJob {
        const auto worker = std::make_shared<Worker>();
        worker->host = MakeHost(ofWorker);
        worker->plan = PreparePlan(*worker->host, request, recipe, "");
        return [&, worker](std::size_t i) { function(*worker, i); };
    };
    RunBatch(jobs.size(), prepare, report);
}

// Returns the size of each job's result. Moves the jobs that fail to the failures.
std::vector<ResultSize> Measure(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
                                std::vector<PictureJob>& jobs, std::vector<JobFailure>& failures) {
    const StepReport quiet = [](auto&&...) {};
    const SharedArray<ResultSize> measured(jobs.size());
    std::vector<bool> hasFailed(jobs.size());
    RunJobs(
        options, request, recipe, jobs,
        [&](const Worker& worker, std::size_t i) {
            const Value opened = Opened(*worker.host, jobs[i].picture.path, quiet);
            measured[i] = SizeOf(*worker.host, Filtered(*worker.host, request, worker.plan, opened, quiet));
        },
        [&](std::size_t i, const std::string& failure, int errorNumber) {
            if (failure.empty()) return;
            failures.push_back({jobs[i], failure, errorNumber});
            hasFailed[i] = true;
        });
    std::vector<PictureJob> sound;
    std::vector<ResultSize> sizes;
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        if (hasFailed[i]) continue;
        sound.push_back(jobs[i]);
        sizes.push_back(measured[i]);
    }
    jobs = std::move(sound);
    return sizes;
}

}  // namespace

int ApplyToMany(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
                const OutputNames& names, const std::vector<InputPicture>& pictures) {
    if (!options.trace.empty()) {
        throw HostError("--trace",
                        "one picture at a time can be traced, got " + std::to_string(pictures.size()) + " pictures");
    }
    const bool isFromInput = std::ranges::count(pictures, kStandardStream, &InputPicture::path) > 0;
    if (isFromInput) throw UsageError("-: standard input can only be the only picture");
    const std::vector<std::string> others = OtherFiles(options, request, recipe);
    std::vector<PictureJob> jobs;
    for (const InputPicture& picture : pictures) jobs.push_back({picture, ""});
    const auto nameTargets = [&](const std::vector<ResultSize>& sizes) {
        NameTargets(names, sizes, jobs);
        ProtectInputs(request, others, jobs);
    };
    if (!names.HasSizes()) nameTargets(std::vector<ResultSize>(jobs.size()));
    RunInWorker([&] {
        const auto host = MakeHost(options);
        const std::string target = names.NamesFormat() ? request.output : "";
        CheckOutputs(*host, PreparePlan(*host, request, recipe, target).steps, /*hasInput=*/true);
    });
    std::vector<JobFailure> failures;
    if (names.HasSizes()) nameTargets(Measure(options, request, recipe, jobs, failures));
    const std::size_t kept = std::erase_if(jobs, [&](const PictureJob& job) { return IsKept(request, job.target); });
    if (names.IsPerPicture()) {
        std::set<std::string> folders;
        for (const PictureJob& job : jobs) folders.insert(FolderOf(job.target));
        for (const std::string& folder : folders) CreateFolder(folder);
    }
    Progress progress(failures.size() + jobs.size(), options.isQuiet);
    int status = kDone;
    const auto report = [&](const PictureJob& job, const std::string& failure, int errorNumber) {
        const std::string& input = job.picture.path;
        const bool isNamed =
            failure.empty() || host::PrintableText(failure).starts_with(host::PrintableText(input) + ": ");
        progress.Done(isNamed ? failure : input + ": " + failure);
        const bool isMachine = StatusOfNumber(errorNumber, kFailed) == kMachineFailed;
        if (!failure.empty()) status = std::max(status, isMachine ? kMachineFailed : kFailed);
    };
    for (const JobFailure& failure : failures) report(failure.job, failure.text, failure.errorNumber);
    RunJobs(
        options, request, recipe, jobs,
        [&](const Worker& worker, std::size_t i) {
            const StepReport quiet = [](auto&&...) {};
            const Value opened = Opened(*worker.host, jobs[i].picture.path, quiet);
            const auto image = Filtered(*worker.host, request, worker.plan, opened, quiet);
            Save(*worker.host, request, opened, image, jobs[i].target, quiet);
        },
        [&](std::size_t i, const std::string& failure, int errorNumber) { report(jobs[i], failure, errorNumber); });
    const std::string where = request.isInPlace ? "written in place" : "written to " + request.output;
    progress.Summarize(kept == 0 ? where : where + " (" + std::to_string(kept) + " existed)");
    return status;
}
