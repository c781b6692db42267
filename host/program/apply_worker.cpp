// apply_worker.cpp - the two sides of each task.

#include "host/program/apply_worker.h"

#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <utility>
#include <variant>

#include "host/batch/error_text.h"
#include "host/batch/sha256.h"
#include "host/program/apply_picture.h"
#include "host/program/commands.h"
#include "host/program/exit_status.h"
#include "host/program/platform_pool.h"
#include "host/program/program_arguments.h"
#include "host/program/recipe_hash.h"
#include "host/runtime/errors.h"
#include "host/worker/texts.h"

namespace {

using host::Host;
using host::Value;
using Texts = std::vector<std::string>;

constexpr const char* kApplyRole = "apply";
constexpr const char* kCheck = "check";
constexpr const char* kFindPictures = "find-pictures";
constexpr const char* kMeasure = "measure";
constexpr const char* kProcess = "process";

// A worker's host, and the recipe once a task needs it.
class ApplyWorker {
  public:
    explicit ApplyWorker(const std::string& setup) {
        const Texts texts = worker::Unpack(setup).value();
        options_ = OptionsIn(texts.at(0));
        SetValues(ApplyArguments(request_), worker::Unpack(texts.at(1)).value());
        recipe_ = RecipeOf(request_);
        // A recipe whose pictures are all in a list has a picture to begin with too.
        if (recipe_.inputs.empty() && !request_.batch.list.empty()) recipe_.inputs.push_back(request_.batch.list);
        host_ = MakeHost(options_);
        SyncPictures();
        // Reads all of the program's own files where the linker gave them no build ID.
        if (!request_.batch.report.empty()) build_ = BuildText();
    }

    std::string Do(const std::string& task) {
        const Texts texts = worker::Unpack(task).value();
        const std::string& kind = texts.at(0);
        if (kind == kCheck) return Check(texts.at(1));
        if (kind == kFindPictures) return FindPictures(texts);
        if (kind == kMeasure) return Measure(texts.at(1));
        return Process(texts.at(1), texts.at(2), texts.at(3), texts.at(4));
    }

  private:
    const Plan& PreparedPlan(const std::string& target = {}) {
        if (!plan_) plan_ = PreparePlan(*host_, request_, recipe_, target);
        return *plan_;
    }

    std::string Check(const std::string& target) {
        const Plan& plan = PreparedPlan(target);
        CheckOutputs(*host_, plan.recipe, /*hasInput=*/true);
        SaveRecipe(*host_, request_, recipe_);
        return worker::Pack({RecipeHash(*host_, options_, request_, recipe_), build_, InstructionSet()});
    }

    std::string FindPictures(const Texts& texts) {
        std::string result;
        for (std::size_t i = 1; i < texts.size(); ++i) {
            const Value file[] = {host::TextValue(texts[i])};
            result += std::get<bool>(host_->CallShared("CIImageQOR", "IsPicture", file)) ? '1' : '0';
        }
        return result;
    }

    std::string Measure(const std::string& input) {
        const Plan& plan = PreparedPlan();
        const Value opened = Opened(*host_, input, quiet_);
        const ResultSize size = SizeOf(*host_, Filtered(*host_, request_, plan, opened, quiet_));
        return worker::Pack({host::NumberText(size.width), host::NumberText(size.height)});
    }

    std::string Process(const std::string& input, const std::string& target, const std::string& inputHash,
                        const std::string& outputHash) {
        PictureOutcome outcome;
        const bool hasReport = !request_.batch.report.empty();
        if (hasReport) outcome.input = KnownFacts(input);
        if (!inputHash.empty() && outcome.input.hash == inputHash && FactsOf(target)) {
            outcome.output = KnownFacts(target);
            outcome.wasDone = outcome.output.hash == outputHash;
        }
        if (!outcome.wasDone) {
            const Plan& plan = PreparedPlan();
            const Value opened = Opened(*host_, input, quiet_);
            const auto image = Filtered(*host_, request_, plan, opened, quiet_);
            SaveOutput(opened, image, target);
            if (hasReport) outcome.output = KnownFacts(target);
        }
        return worker::Pack({std::to_string(outcome.input.size), std::to_string(outcome.input.time), outcome.input.hash,
                             std::to_string(outcome.output.size), std::to_string(outcome.output.time),
                             outcome.output.hash, outcome.wasDone ? "1" : ""});
    }

    // Saves a result. No other name would help the output of a batch, whose folder could be written to at its
    // beginning, so that the machine is the cause when it cannot be written.
    void SaveOutput(const Value& opened, const host::ObjectReference& image, const std::string& target) {
        try {
            Save(*host_, request_, opened, image, target, quiet_);
        } catch (const std::exception&) {
            if (ErrorNumber() == 0 || StatusOfNumber(ErrorNumber(), kFailed) != kWrongUsage) throw;
            throw NumberedError(ErrorText(), EIO);
        }
    }

    // Everything about a file. One that cannot be read has no facts: opening it as a picture says why.
    static FileFacts KnownFacts(const std::string& file) {
        std::optional<FileFacts> facts = FactsOf(file);
        if (!facts) return {};
        try {
            facts->hash = HashOfFile(file);
        } catch (const std::exception&) {
            return {};
        }
        return *facts;
    }

    ProgramOptions options_;
    ApplyRequest request_;
    Recipe recipe_;
    std::unique_ptr<Host> host_;
    std::string build_;  // empty without a report
    std::optional<Plan> plan_;
    StepReport quiet_ = [](auto&&...) {};
};

std::int64_t WholeIn(const std::string& text) { return std::strtoll(text.c_str(), nullptr, 10); }

}  // namespace

BatchOptions ApplyWorkers(const ProgramOptions& options, const ApplyRequest& request) {
    ApplyRequest copy = request;
    return {.role = kApplyRole,
            .setup = worker::Pack({SetupOf(options), worker::Pack(ValuesOf(ApplyArguments(copy)))}),
            .workers = options.workers};
}

namespace apply_task {

std::string Check(const std::string& target) { return worker::Pack({kCheck, target}); }

std::string FindPictures(const std::vector<std::string>& files) {
    Texts texts = {kFindPictures};
    texts.insert(texts.end(), files.begin(), files.end());
    return worker::Pack(texts);
}

std::string Measure(const std::string& input) { return worker::Pack({kMeasure, input}); }

std::string Process(const std::string& input, const std::string& target, const std::string& inputHash,
                    const std::string& outputHash) {
    return worker::Pack({kProcess, input, target, inputHash, outputHash});
}

}  // namespace apply_task

RunFacts RunIn(const std::string& result) {
    const Texts texts = worker::Unpack(result).value();
    return {texts.at(0), texts.at(1), texts.at(2)};
}

ResultSize SizeIn(const std::string& result) {
    const Texts texts = worker::Unpack(result).value();
    return {std::strtod(texts.at(0).c_str(), nullptr), std::strtod(texts.at(1).c_str(), nullptr)};
}

PictureOutcome OutcomeIn(const std::string& result) {
    const Texts texts = worker::Unpack(result).value();
    return {{WholeIn(texts.at(0)), WholeIn(texts.at(1)), texts.at(2)},
            {WholeIn(texts.at(3)), WholeIn(texts.at(4)), texts.at(5)},
            !texts.at(6).empty()};
}

std::string RunTask(const ProgramOptions& options, const ApplyRequest& request, const std::string& task) {
    BatchResult ended;
    static_cast<void>(RunBatch(
        ApplyWorkers(options, request), 1, [&](std::size_t) { return task; },
        [&](const BatchResult& result) {
            ended = result;
            return AfterJob::kGoOn;
        }));
    if (!ended.failure.empty()) throw Failure(StatusOfNumber(ended.errorNumber, kWrongUsage), ended.failure);
    return ended.text;
}

worker::Role ApplyRole() {
    return BatchRole(kApplyRole, [](const std::string& setup) -> BatchJob {
        const auto worker = std::make_shared<ApplyWorker>(setup);
        return [worker](const std::string& task) { return worker->Do(task); };
    });
}
