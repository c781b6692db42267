// report.cpp - one file, opened for appending and locked as a whole.

#include "host/batch/report.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <utility>

#include "host/batch/sha256.h"
#include "host/runtime/json.h"
#include "host/runtime/text.h"

namespace {

[[noreturn]] void FailReport(const std::string& file) {
    throw std::filesystem::filesystem_error("report", file, std::error_code(errno, std::generic_category()));
}

std::string ContentOf(const std::string& file, int descriptor) {
    std::string content;
    char buffer[1 << 16];
    for (;;) {
        const ssize_t count = pread(descriptor, buffer, sizeof buffer, static_cast<off_t>(content.size()));
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) FailReport(file);
        if (count == 0) return content;
        content.append(buffer, static_cast<std::size_t>(count));
    }
}

// Reads the complete lines of a report's content.
std::vector<ReportLine> LinesIn(const std::string& file, const std::string& content) {
    std::vector<ReportLine> lines;
    std::size_t number = 0;
    for (std::size_t at = 0, end; (end = content.find('\n', at)) != std::string::npos; at = end + 1) {
        ++number;
        std::optional<ReportLine> line = ReadReportLine(content.substr(at, end - at));
        if (!line) {
            throw ReportRefusal(
                file + ", line " + std::to_string(number) + ": not a line of a report; nothing was written to it",
                /*isLocked=*/false);
        }
        lines.push_back(std::move(*line));
    }
    return lines;
}

void AddFacts(host::Json& json, const std::string& name, const FileFacts& facts) {
    if (facts.size < 0) return;
    json[name + "Size"] = facts.size;
    json[name + "Time"] = facts.time;
    if (!facts.hash.empty()) json[name + "Hash"] = facts.hash;
}

}  // namespace

std::string ReportLine::Text() const {
    host::Json json = host::Json::MakeObject();
    json.SetName("input", input);
    json.SetName("output", output);
    json["outcome"] = outcome;
    if (!error.empty()) json["error"] = host::PrintableText(error);
    AddFacts(json, "input", inputFacts);
    AddFacts(json, "output", outputFacts);
    json["seconds"] = seconds;
    json["ended"] = ended;
    json["recipe"] = run.recipe;
    json["build"] = run.build;
    json["instructionSet"] = run.instructionSet;
    return json.Dump();
}

std::optional<FileFacts> FactsOf(const std::string& file) {
    struct stat status;
    if (stat(file.c_str(), &status) != 0) return std::nullopt;
    constexpr std::int64_t kSecond = 1'000'000'000;
    return FileFacts{status.st_size, std::int64_t{status.st_mtim.tv_sec} * kSecond + status.st_mtim.tv_nsec, {}};
}

bool IsDone(const ReportLine& line, const RunFacts& run, bool* needsHashes) {
    *needsHashes = false;
    if (!line.HasOutput() || line.run != run) return false;
    const std::optional<FileFacts> output = FactsOf(line.output);
    if (!output || output->size != line.outputFacts.size) return false;
    const std::optional<FileFacts> input = FactsOf(line.input);
    if (!input || input->size != line.inputFacts.size) return false;
    *needsHashes = input->time != line.inputFacts.time;
    return true;
}

ReportWriter::ReportWriter(const std::string& file, bool isResumed) : file_(file) {
    descriptor_ = open(file.c_str(), O_RDWR | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (descriptor_ < 0) FailReport(file);
    try {
        struct stat status;
        if (fstat(descriptor_, &status) != 0) FailReport(file);
        if (!S_ISREG(status.st_mode)) {
            throw ReportRefusal(file + ": not a regular file, which a report must be; nothing was done",
                                /*isLocked=*/false);
        }
        // A file system without locks has no other writer that could be noticed.
        if (flock(descriptor_, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
            throw ReportRefusal(file + ": another process writes this report; nothing was done", /*isLocked=*/true);
        }
        const std::string content = ContentOf(file, descriptor_);
        if (!content.empty() && !isResumed) {
            throw ReportRefusal(file + ": the report exists, --resume continues it; nothing was done",
                                /*isLocked=*/false);
        }
        for (ReportLine& line : LinesIn(file, content)) {
            std::string input = line.input;
            lines_.insert_or_assign(std::move(input), std::move(line));
        }
        length_ = static_cast<std::int64_t>(content.rfind('\n') + 1);
        if (ftruncate(descriptor_, static_cast<off_t>(length_)) != 0) FailReport(file);
    } catch (...) {
        close(descriptor_);
        throw;
    }
}

ReportWriter::~ReportWriter() {
    fsync(descriptor_);
    close(descriptor_);
}

const ReportLine* ReportWriter::LineOf(const std::string& input) const {
    const auto found = lines_.find(input);
    return found != lines_.end() ? &found->second : nullptr;
}

void ReportWriter::Append(const ReportLine& line) {
    const std::string text = line.Text() + "\n";
    const ssize_t count = write(descriptor_, text.data(), text.size());
    if (count == static_cast<ssize_t>(text.size())) {
        length_ += count;
        return;
    }
    if (count >= 0) errno = ENOSPC;
    const int error = errno;
    static_cast<void>(ftruncate(descriptor_, static_cast<off_t>(length_)));
    errno = error;
    FailReport(file_);
}

std::vector<ReportLine> LinesOfReport(const std::string& file) {
    const int descriptor = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) FailReport(file);
    try {
        std::vector<ReportLine> lines = LinesIn(file, ContentOf(file, descriptor));
        close(descriptor);
        return lines;
    } catch (...) {
        close(descriptor);
        throw;
    }
}
