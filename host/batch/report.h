// report.h - what a batch notes about each picture: one line of JSON, appended when the picture is done.
//
// A line is appended only after the output and its folder are on the disk, so that a line is true even after a loss of
// power. A line that was cut off by one is dropped. Each process writes a report of its own, which is locked meanwhile.
// What a picture needs to count as done stands in IsDone.
//
// Threads: one.

#pragma once

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <vector>

// A file as a line remembers it. An empty hash is not known.
struct FileFacts {
    std::int64_t size = -1;
    std::int64_t time = 0;  // of the last change, in nanoseconds since 1970
    std::string hash;       // SHA-256
};

// What is the same for all pictures of a run. Outputs are equal only when all of it is.
struct RunFacts {
    std::string recipe;  // SHA-256 of the recipe, its parameters, the output options and the files that they name
    std::string build;
    std::string instructionSet;

    bool operator==(const RunFacts&) const = default;
};

struct ReportLine {
    static constexpr const char* kDone = "done";
    static constexpr const char* kFailed = "failed";
    static constexpr const char* kKept = "kept";  // --no-clobber left an existing output alone

    std::string input, output;
    FileFacts inputFacts, outputFacts;
    double seconds = 0;
    std::string ended;  // "2026-05-04T03:02:01Z"
    std::string outcome;
    std::string error;  // of a failed one
    RunFacts run;

    [[nodiscard]] bool HasOutput() const { return outcome == kDone || outcome == kKept; }

    // The line without a line feed.
    [[nodiscard]] std::string Text() const;
};

// Returns the size and the time of a file; nothing when it is not there.
[[nodiscard]] std::optional<FileFacts> FactsOf(const std::string& file);

// Whether a picture is done: the same run, the input unchanged, the output there with its size. Sizes and times are
// compared; `needsHashes` becomes whether hashes must be, because a time has changed.
[[nodiscard]] bool IsDone(const ReportLine& line, const RunFacts& run, bool* needsHashes);

// A report that is being written.
class ReportWriter {
  public:
    // Opens a report and locks it. Reads what is in it; a torn last line is dropped.
    //
    // Fails: a ReportRefusal for a path that is not a regular file, for a report that another process has locked, and
    //        for one with content unless it may be resumed; std::filesystem::filesystem_error.
    ReportWriter(const std::string& file, bool isResumed);
    ~ReportWriter();
    ReportWriter(const ReportWriter&) = delete;
    ReportWriter& operator=(const ReportWriter&) = delete;

    // The last line of an input; null for one without a line.
    [[nodiscard]] const ReportLine* LineOf(const std::string& input) const;

    // Throws std::filesystem::filesystem_error when the line cannot be written; nothing of it is left then.
    void Append(const ReportLine& line);

  private:
    std::string file_;
    int descriptor_ = -1;
    std::int64_t length_ = 0;
    std::unordered_map<std::string, ReportLine> lines_;
};

// A report that cannot be used. The text names it.
class ReportRefusal : public std::runtime_error {
  public:
    ReportRefusal(const std::string& text, bool isLocked) : std::runtime_error(text), isLocked_(isLocked) {}
    [[nodiscard]] bool IsLocked() const { return isLocked_; }

  private:
    bool isLocked_;
};

// Reads the complete lines of a report. A line that is not one of a report throws a ReportRefusal with its number.
[[nodiscard]] std::vector<ReportLine> LinesOfReport(const std::string& file);

// Reads one line; nothing for a text that is not one.
[[nodiscard]] std::optional<ReportLine> ReadReportLine(const std::string& text);
