// report_command.cpp - "zeva report": merges the reports of several runs and machines, and compares them with the list
// of pictures.
//
// Within one report the last line of a picture counts, because a resumed run appends. Between reports, a picture that
// was processed more than once is said, and so is one whose outputs differ.

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "host/batch/report.h"
#include "host/program/commands.h"
#include "host/program/picture_list.h"
#include "host/program/standard_streams.h"
#include "host/runtime/text.h"

namespace {

struct ReportRequest {
    std::vector<std::string> reports;
    std::string list;
};

// The reports together.
class MergedReport {
  public:
    void Add(const std::string& file) {
        std::unordered_map<std::string, ReportLine> last;
        std::vector<std::string> order;
        for (ReportLine& line : LinesOfReport(file)) {
            if (!last.contains(line.input)) order.push_back(line.input);
            std::string input = line.input;
            last.insert_or_assign(std::move(input), std::move(line));
        }
        for (const std::string& input : order) Merge(std::move(last.at(input)));
    }

    // Prints the lines in the order of a list, and then, as problems, what is missing or was not asked for.
    void Compare(const std::vector<std::string>& names) {
        std::unordered_set<std::string> listed;
        for (const std::string& name : names) {
            if (!listed.insert(name).second) continue;
            const auto found = lines_.find(name);
            if (found == lines_.end()) {
                ++missing_;
                Problem(name + ": missing from the reports");
            } else {
                Print(found->second);
            }
        }
        total_ = listed.size();
        for (const std::string& name : order_) {
            if (listed.contains(name)) continue;
            ++unlisted_;
            Problem(name + ": in the reports, but not in the list");
        }
    }

    void PrintAll() {
        total_ = order_.size();
        for (const std::string& name : order_) Print(lines_.at(name));
    }

    // Reports of different runs cannot be told apart later: their outputs may differ.
    void CompareRuns() {
        if (runs_.size() < 2) return;
        std::string text = "the reports are of " + std::to_string(runs_.size()) + " different runs:";
        for (const auto& [run, count] : runs_) text += " " + std::to_string(count) + " pictures with " + run + ";";
        text.back() = ' ';
        Problem(text + "- the outputs may differ");
    }

    void Summarize(bool isQuiet) const {
        if (isQuiet) return;
        std::fprintf(stderr, "%zu pictures: %zu done, %zu failed, %zu missing, %zu not in the list, %zu done twice\n",
                     total_, done_, failed_, missing_, unlisted_, twice_);
    }

    bool IsComplete() const { return !hasProblem_; }

  private:
    void Merge(ReportLine line) {
        if (line.HasOutput()) ++runs_[line.run.build + ", " + line.run.instructionSet + ", recipe " + line.run.recipe];
        const auto found = lines_.find(line.input);
        if (found == lines_.end()) {
            order_.push_back(line.input);
            std::string input = line.input;
            lines_.emplace(std::move(input), std::move(line));
            return;
        }
        ReportLine& known = found->second;
        if (known.HasOutput() && line.HasOutput()) {
            const bool isSame =
                known.output == line.output && known.outputFacts.hash == line.outputFacts.hash && known.run == line.run;
            ++twice_;
            Problem(line.input + ": done twice, in several reports" +
                    (isSame ? "; the outputs are the same" : "; THE OUTPUTS DIFFER"));
        }
        // What is done counts, and of two that are done the later one.
        if (line.HasOutput() && (!known.HasOutput() || known.ended <= line.ended)) known = std::move(line);
    }

    void Print(const ReportLine& line) {
        std::printf("%s\n", line.Text().c_str());
        if (line.HasOutput()) {
            ++done_;
        } else {
            ++failed_;
            Problem(line.error.empty() ? line.input + ": failed" : line.error);
        }
    }

    void Problem(const std::string& text) {
        hasProblem_ = true;
        PrintError(text);
    }

    std::unordered_map<std::string, ReportLine> lines_;
    std::vector<std::string> order_;
    std::map<std::string, std::size_t> runs_;
    std::size_t total_ = 0, done_ = 0, failed_ = 0, missing_ = 0, unlisted_ = 0, twice_ = 0;
    bool hasProblem_ = false;
};

int Report(const ProgramOptions& options, const ReportRequest& request) {
    MergedReport merged;
    for (const std::string& file : request.reports) {
        try {
            merged.Add(file);
        } catch (const ReportRefusal& refusal) {
            throw UsageError(refusal.what());
        }
    }
    if (request.list.empty()) {
        merged.PrintAll();
    } else {
        merged.Compare(NamesInList(request.list));
    }
    merged.CompareRuns();
    merged.Summarize(options.isQuiet);
    return merged.IsComplete() ? kDone : kFailed;
}

}  // namespace

Command ReportCommand() {
    const auto request = std::make_shared<ReportRequest>();
    return {
        .name = "report",
        .help = "Merges reports of zeva apply and says what is missing.",
        .arguments =
            {
                {"FILE", &request->reports, "report that zeva apply --report has written", /*isRequired=*/true},
                {"--files-from", &request->list,
                 "file with the names of all pictures, as for zeva apply; - for standard input"},
            },
        .run = [request](const ProgramOptions& options) { return Report(options, *request); },
        .usage = "zeva report FILE ... [--files-from LIST]",
    };
}
