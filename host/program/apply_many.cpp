// apply_many.cpp - many pictures in parallel worker processes (apply_worker.h), with a report that a later run resumes.
//
// A picture is done when its line is in the report, not when its output exists (host/batch/report.h): what a killed run
// left behind is never mistaken for a result.

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstddef>
#include <cstdint>
#include <ctime>
#include <filesystem>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/batch/batch.h"
#include "host/batch/error_text.h"
#include "host/batch/progress.h"
#include "host/batch/report.h"
#include "host/program/apply.h"
#include "host/program/apply_picture.h"
#include "host/program/apply_targets.h"
#include "host/program/apply_worker.h"
#include "host/program/exit_status.h"
#include "host/program/memory_limit.h"
#include "host/program/picture_list.h"
#include "host/program/picture_streams.h"
#include "host/program/protected_files.h"
#include "host/runtime/errors.h"
#include "host/runtime/part_file.h"
#include "host/runtime/text.h"

namespace {

using host::HostError;

// A picture, and what an earlier run noted of it if hashes must tell whether it is done.
struct Work {
    PictureJob job;
    FileFacts input, output;
};

std::string TimeText() {
    const std::time_t now = std::time(nullptr);
    std::tm parts = {};
    gmtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", &parts);
    return text;
}

class ManyPictures {
  public:
    ManyPictures(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
                 const OutputNames& names)
        : options_(options), request_(request), names_(names), others_(OtherFiles(options, request, recipe)) {}

    int Run(const std::vector<InputPicture>& pictures) {
        ChooseJobs(pictures);
        run_ = RunIn(RunTask(options_, request_, apply_task::Check(names_.NamesFormat() ? request_.output : "")));
        if (!request_.batch.report.empty()) OpenReport();
        const std::vector<std::pair<PictureJob, BatchResult>> unmeasured =
            names_.HasSizes() ? Measure() : std::vector<std::pair<PictureJob, BatchResult>>();
        const std::size_t kept = LeaveExisting();
        const std::size_t done = LeaveDone();
        CreateFolders();
        progress_.emplace(unmeasured.size() + work_.size(), options_.isQuiet);
        for (const auto& [job, result] : unmeasured) NoteFailure(job, result);
        if (signal_ == 0 && !isStopped_) ProcessAll();
        std::string where = request_.isInPlace ? "written in place" : "written to " + request_.output;
        if (kept > 0) where += " (" + std::to_string(kept) + " existed)";
        if (done + verified_ > 0) where += " (" + std::to_string(done + verified_) + " were done)";
        progress_->Summarize(where);
        return signal_ != 0 ? kEndedBySignal + signal_ : status_;
    }

  private:
    // Names the results of all pictures, and keeps the jobs of this shard.
    void ChooseJobs(const std::vector<InputPicture>& pictures) {
        const Shard shard = ReadShard(request_.batch.shard);
        std::vector<PictureJob> jobs;
        for (const InputPicture& picture : pictures) jobs.push_back({picture, ""});
        if (!names_.HasSizes()) {
            NameTargets(names_, std::vector<ResultSize>(jobs.size()), jobs);
            if (shard.count > 1 && !request_.isInPlace) ProtectNames(jobs);
        }
        for (PictureJob& job : jobs) {
            if (shard.Has(job.picture.path)) jobs_.push_back(std::move(job));
        }
        if (!names_.HasSizes()) ProtectInputs(request_, others_, jobs_);
    }

    void OpenReport() {
        ProtectedFiles files;
        for (const PictureJob& job : jobs_) {
            files.Add(job.picture.path);
            if (!job.target.empty()) files.Add(job.target);
        }
        for (const std::string& other : others_) files.Add(other);
        if (!request_.batch.list.empty() && request_.batch.list != kStandardStream) files.Add(request_.batch.list);
        files.AddOutput(request_.batch.report, "the report", "nothing was written");
        try {
            report_.emplace(request_.batch.report, !request_.batch.resume.empty());
        } catch (const ReportRefusal& refusal) {
            throw Failure(refusal.IsLocked() ? kMachineFailed : kWrongUsage, refusal.what());
        }
    }

    // Without its report, the job cannot tell what is done: it ends.
    void Append(const ReportLine& line) {
        try {
            report_->Append(line);
        } catch (const std::exception&) {
            throw Failure(kMachineFailed, ErrorText());
        }
    }

    // Names the results by their sizes. Returns the jobs whose size cannot be known, and why.
    std::vector<std::pair<PictureJob, BatchResult>> Measure() {
        std::vector<std::pair<PictureJob, BatchResult>> failed;
        std::vector<ResultSize> measured(jobs_.size());
        std::vector<bool> hasFailed(jobs_.size());
        signal_ = RunBatch(
            Workers(jobs_.size()), jobs_.size(),
            [&](std::size_t i) { return apply_task::Measure(jobs_[i].picture.path); },
            [&](const BatchResult& result) {
                hasFailed[result.number] = !result.failure.empty();
                if (hasFailed[result.number]) {
                    failed.emplace_back(jobs_[result.number], result);
                } else {
                    measured[result.number] = SizeIn(result.text);
                }
                return AfterJob::kGoOn;
            });
        if (signal_ != 0) jobs_.clear();
        std::vector<PictureJob> sound;
        std::vector<ResultSize> sizes;
        for (std::size_t i = 0; i < jobs_.size(); ++i) {
            if (hasFailed[i]) continue;
            sound.push_back(jobs_[i]);
            sizes.push_back(measured[i]);
        }
        jobs_ = std::move(sound);
        NameTargets(names_, sizes, jobs_);
        ProtectInputs(request_, others_, jobs_);
        return failed;
    }

    // Drops the jobs whose results exist and are to be left alone. Returns their number.
    std::size_t LeaveExisting() {
        return std::erase_if(jobs_, [&](const PictureJob& job) {
            if (!IsKept(request_, job.target)) return false;
            const ReportLine* line = report_ ? report_->LineOf(job.picture.path) : nullptr;
            if (report_ && (line == nullptr || !line->HasOutput())) {
                ReportLine kept = LineFor(job, ReportLine::kKept);
                kept.outputFacts = FactsOf(job.target).value_or(FileFacts());
                Append(kept);
            }
            return true;
        });
    }

    // Makes the work of the jobs that an earlier run has not done, and removes what it left of them. Returns the number
    // of the others.
    std::size_t LeaveDone() {
        std::size_t done = 0;
        for (PictureJob& job : jobs_) {
            Work work = {std::move(job), {}, {}};
            const ReportLine* line = report_ ? report_->LineOf(work.job.picture.path) : nullptr;
            bool needsHashes = false;
            if (line != nullptr && line->output == work.job.target && IsDone(*line, run_, &needsHashes)) {
                if (!needsHashes && request_.batch.resume != kVerify) {
                    ++done;
                    continue;
                }
                work.input = line->inputFacts;
                work.output = line->outputFacts;
            }
            if (!request_.batch.resume.empty()) host::RemovePartFile(work.job.target);
            work_.push_back(std::move(work));
        }
        return done;
    }

    void CreateFolders() const {
        if (!names_.IsPerPicture()) return;
        std::set<std::string> folders;
        for (const Work& work : work_) folders.insert(FolderOf(work.job.target));
        for (const std::string& folder : folders) CreateFolder(folder);
    }

    // The number of pictures at a time: as many as wanted, or else one per processor for which there is memory.
    std::size_t AtATime(std::size_t count) const {
        constexpr std::uint64_t kMemoryOfPicture = 64 << 20;  // large ones are read and written in strips
        const std::size_t workers = WorkersOfBatch(count, request_.batch.jobs);
        if (request_.batch.jobs != 0 || options_.memory.empty()) return workers;
        const std::uint64_t fitting = MemorySize("--memory", options_.memory) / kMemoryOfPicture;
        return static_cast<std::size_t>(std::clamp<std::uint64_t>(fitting, std::min<std::size_t>(workers, 1), workers));
    }

    // The workers for a number of jobs, which divide the memory and the processors.
    BatchOptions Workers(std::size_t count) const {
        ProgramOptions ofWorker = options_;
        ofWorker.workers = AtATime(count);
        if (ofWorker.threads == 0) {
            const std::size_t processors = std::max(1u, std::thread::hardware_concurrency());
            ofWorker.threads = static_cast<unsigned>(
                std::max<std::size_t>(1, processors / std::max<std::size_t>(1, ofWorker.workers)));
        }
        BatchOptions workers = ApplyWorkers(ofWorker, request_);
        workers.handlesStops = true;
        return workers;
    }

    // Processes the work in parallel. A picture that does not fit into a worker's part of the memory comes last and has
    // all of it.
    void ProcessAll() {
        std::vector<std::size_t> all(work_.size());
        for (std::size_t i = 0; i < all.size(); ++i) all[i] = i;
        std::vector<std::size_t> large;
        Process(all, AtATime(all.size()) > 1 ? &large : nullptr);
        if (signal_ == 0 && !isStopped_ && !large.empty()) Process(large, nullptr);
    }

    // Processes some of the work: alone, one at a time, if there is nowhere to put a large one.
    void Process(const std::vector<std::size_t>& indices, std::vector<std::size_t>* large) {
        std::vector<unsigned> tries(indices.size());
        BatchOptions workers = Workers(large != nullptr ? indices.size() : 1);
        workers.onTick = [&] { progress_->Tick(); };
        workers.onDropped = [&](std::size_t i) { host::RemovePartFile(work_[indices[i]].job.target); };
        signal_ = RunBatch(
            workers, indices.size(),
            [&](std::size_t i) {
                const Work& work = work_[indices[i]];
                return apply_task::Process(work.job.picture.path, work.job.target, work.input.hash, work.output.hash);
            },
            [&](const BatchResult& result) {
                const std::size_t index = indices[result.number];
                if (result.failure.empty()) return NoteOutput(work_[index].job, result);
                if (result.signal != 0) host::RemovePartFile(work_[index].job.target);
                if (large != nullptr && IsShortOfMemory(result)) {
                    large->push_back(index);
                    return AfterJob::kGoOn;
                }
                if (StatusOf(result) == kMachineFailed && tries[result.number]++ < request_.batch.retries) {
                    return AfterJob::kTryAgain;
                }
                return NoteFailure(work_[index].job, result);
            });
    }

    // Whether more memory may help. The texts of pictures that need more than the limit say so.
    static bool IsShortOfMemory(const BatchResult& result) {
        return result.errorNumber == ENOMEM || result.failure.find(" memory") != std::string::npos;
    }

    // A worker that was killed was in the way of something on this machine, such as its lack of memory. Any other
    // signal is the picture's doing.
    static int StatusOf(const BatchResult& result) {
        const bool isMachine =
            result.signal == SIGKILL || StatusOfNumber(result.errorNumber, kFailed) == kMachineFailed;
        return isMachine ? kMachineFailed : kFailed;
    }

    ReportLine LineFor(const PictureJob& job, const char* outcome) const {
        ReportLine line;
        line.input = job.picture.path;
        line.output = job.target;
        line.ended = TimeText();
        line.outcome = outcome;
        line.run = run_;
        return line;
    }

    // Notes only milliseconds: the rest is noise.
    static double Rounded(double seconds) { return std::round(seconds * 1000) / 1000; }

    AfterJob NoteOutput(const PictureJob& job, const BatchResult& result) {
        PictureOutcome outcome = OutcomeIn(result.text);
        if (outcome.wasDone) {
            ++verified_;
        } else if (report_) {
            ReportLine line = LineFor(job, ReportLine::kDone);
            line.inputFacts = std::move(outcome.input);
            line.outputFacts = std::move(outcome.output);
            line.seconds = Rounded(result.seconds);
            Append(line);
        }
        progress_->Done("");
        return AfterJob::kGoOn;
    }

    AfterJob NoteFailure(const PictureJob& job, const BatchResult& result) {
        const std::string& input = job.picture.path;
        const bool isNamed = host::PrintableText(result.failure).starts_with(host::PrintableText(input) + ": ");
        const std::string text = isNamed ? result.failure : input + ": " + result.failure;
        if (report_) {
            ReportLine line = LineFor(job, ReportLine::kFailed);
            line.inputFacts = FactsOf(input).value_or(FileFacts());
            line.error = text;
            line.seconds = Rounded(result.seconds);
            Append(line);
        }
        progress_->Done(text);
        status_ = std::max(status_, StatusOf(result));
        isStopped_ = request_.batch.stopsAtFailure;
        return isStopped_ ? AfterJob::kStop : AfterJob::kGoOn;
    }

    const ProgramOptions& options_;
    const ApplyRequest& request_;
    const OutputNames& names_;
    std::vector<std::string> others_;
    std::vector<PictureJob> jobs_;
    std::vector<Work> work_;
    RunFacts run_;
    std::optional<ReportWriter> report_;
    std::optional<Progress> progress_;
    std::size_t verified_ = 0;
    int status_ = kDone;
    int signal_ = 0;
    bool isStopped_ = false;
};

}  // namespace

int ApplyToMany(const ProgramOptions& options, const ApplyRequest& request, const Recipe& recipe,
                const OutputNames& names, const std::vector<InputPicture>& pictures) {
    if (!options.trace.empty()) {
        throw HostError("--trace",
                        "one picture at a time can be traced, got " + std::to_string(pictures.size()) + " pictures");
    }
    const bool isFromInput = std::ranges::count(pictures, kStandardStream, &InputPicture::path) > 0;
    if (isFromInput) throw UsageError("-: standard input can only be the only picture");
    return ManyPictures(options, request, recipe, names).Run(pictures);
}
