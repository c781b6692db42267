// report.cpp - formats the text, the JSON and the JUnit report.

#include "host/checker/report.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iterator>
#include <map>
#include <utility>

#include "host/runtime/json.h"
#include "host/runtime/text.h"
#include "host/runtime/value.h"

namespace checker {

namespace {

// The text report shows this many findings of one check and counts the rest.
constexpr std::size_t kShownFindings = 5;

constexpr Verdict kVerdicts[] = {Verdict::kPassed, Verdict::kFailed,  Verdict::kCrashed,
                                 Verdict::kWarned, Verdict::kSkipped, Verdict::kWaived};

int Count(const std::vector<CheckResult>& results, Verdict verdict) {
    return static_cast<int>(std::count_if(results.begin(), results.end(),
                                          [&](const CheckResult& each) { return each.verdict == verdict; }));
}

// Whether a check with this verdict has findings or a crash to show.
bool HasEvidence(Verdict verdict) { return verdict != Verdict::kPassed && verdict != Verdict::kSkipped; }

// Returns the number of checks per verdict; only verdicts that occur, unless `all`. Few runs have waivers.
std::string Counts(const std::vector<CheckResult>& results, bool all) {
    std::string text;
    for (const Verdict verdict : kVerdicts) {
        const int count = Count(results, verdict);
        if (count == 0 && (!all || verdict == Verdict::kWaived)) continue;
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " " + VerdictText(verdict);
    }
    return text;
}

std::string FindingText(const Finding& finding) {
    const std::string subject = finding.subject.empty() ? "" : finding.subject + ": ";
    return subject + "expected " + finding.expected + ", got " + finding.got;
}

// Returns the reason of a crash, the first findings, the stack and the likely cause, as lines.
std::vector<std::string> Details(const CheckResult& result, std::size_t shown) {
    std::vector<std::string> lines;
    if (result.verdict == Verdict::kCrashed || result.verdict == Verdict::kWaived) {
        lines.push_back(std::string(VerdictText(result.verdict)) + ": " + result.reason);
    }
    for (std::size_t i = 0; i < std::min(result.findings.size(), shown); ++i) {
        lines.push_back(FindingText(result.findings[i]));
    }
    if (result.findings.size() > shown) {
        lines.push_back("and " + std::to_string(result.findings.size() - shown) + " more findings");
    }
    for (std::size_t i = 0; i < result.stack.size(); ++i) {
        lines.push_back((i == 0 ? "stack: " : "       ") + result.stack[i]);
    }
    for (std::size_t i = 0; i < result.calls.size(); ++i) {
        lines.push_back((i == 0 ? "last calls: " : "            ") + result.calls[i]);
    }
    if (HasEvidence(result.verdict)) lines.push_back("likely cause: " + result.check->cause);
    return lines;
}

std::string Joined(const std::vector<std::string>& lines) {
    std::string text;
    for (const std::string& line : lines) text += (text.empty() ? "" : "\n") + line;
    return text;
}

// Escapes text for XML. Control characters, which XML does not allow, and bytes that are not UTF-8 become question
// marks.
std::string Xml(std::string_view text) {
    std::string escaped;
    for (std::size_t length = 0; !text.empty(); text.remove_prefix(std::max<std::size_t>(length, 1))) {
        length = host::CharacterLength(text);
        const char c = text[0];
        if (c == '&') {
            escaped += "&amp;";
        } else if (c == '<') {
            escaped += "&lt;";
        } else if (c == '"') {
            escaped += "&quot;";
        } else {
            const bool isControl = static_cast<unsigned char>(c) < ' ' && c != '\n' && c != '\t';
            escaped += isControl || length == 0 ? "?" : text.substr(0, length);
        }
    }
    return escaped;
}

}  // namespace

TextReport::TextReport(std::FILE* file, bool isVerbose)
    : file_(file), isVerbose_(isVerbose), hasColor_(isatty(fileno(file)) != 0) {}

std::string TextReport::Colored(Verdict verdict, const std::string& text) const {
    if (!hasColor_) return text;
    const std::map<Verdict, const char*> colors = {{Verdict::kPassed, "32"},  {Verdict::kFailed, "31"},
                                                   {Verdict::kCrashed, "31"}, {Verdict::kWarned, "33"},
                                                   {Verdict::kWaived, "33"},  {Verdict::kSkipped, "2"}};
    return std::string("\033[") + colors.at(verdict) + "m" + text + "\033[0m";
}

void TextReport::Add(const CheckResult& result) {
    if (result.group != group_) EndGroup();
    group_ = result.group;
    inGroup_.push_back(result);
}

void TextReport::EndGroup() {
    if (inGroup_.empty()) return;
    std::fprintf(file_, "%-14s%s\n", group_.c_str(), Counts(inGroup_, /*all=*/false).c_str());
    for (const CheckResult& result : inGroup_) {
        if (!HasEvidence(result.verdict) && !isVerbose_) continue;
        const std::string text = result.verdict == Verdict::kSkipped ? result.reason : result.check->rule;
        char word[16];
        std::snprintf(word, sizeof word, "%-8s", VerdictText(result.verdict));
        std::fprintf(file_, "  %s  %s: %s\n", Colored(result.verdict, word).c_str(), result.FullName().c_str(),
                     text.c_str());
        for (const std::string& line : Details(result, kShownFindings))
            std::fprintf(file_, "            %s\n", line.c_str());
    }
    std::fflush(file_);
    inGroup_.clear();
}

void TextReport::End(const std::vector<CheckResult>& results, double seconds) {
    EndGroup();
    const std::string text = SummaryText(results) + ", in " + host::NumberText(std::round(seconds * 10) / 10) + " s";
    std::fprintf(file_, "%s\n",
                 Colored(IsBad(VerdictOfRun(results)) ? Verdict::kFailed : Verdict::kPassed, text).c_str());
}

std::string SummaryText(const std::vector<CheckResult>& results) {
    const char* unit = results.size() == 1 ? " check: " : " checks: ";
    return std::to_string(results.size()) + unit + Counts(results, /*all=*/true);
}

std::string JsonReport(const std::string& module, const std::vector<CheckResult>& results) {
    host::Json report = host::Json::MakeObject();
    report.SetName("module", module);
    report.Merge({{"summary", host::Json::MakeObject()}, {"checks", host::Json::MakeArray()}});
    for (const Verdict verdict : kVerdicts) report["summary"][VerdictText(verdict)] = Count(results, verdict);
    for (const CheckResult& result : results) {
        host::Json check = {{"name", result.FullName()},
                            {"verdict", VerdictText(result.verdict)},
                            {"rule", result.check->rule},
                            {"seconds", result.seconds}};
        if (!result.reason.empty()) check["reason"] = result.reason;
        for (const Finding& finding : result.findings) {
            check["findings"].push_back(
                {{"subject", finding.subject}, {"expected", finding.expected}, {"got", finding.got}});
        }
        if (HasEvidence(result.verdict)) check["likelyCause"] = result.check->cause;
        for (const std::string& frame : result.stack) check["stack"].push_back(frame);
        for (const std::string& call : result.calls) check["calls"].push_back(call);
        if (!result.output.empty()) check["output"] = result.output;
        report["checks"].push_back(std::move(check));
    }
    return report.Dump(2) + "\n";
}

std::string JunitReport(const std::string& module, const std::vector<CheckResult>& results) {
    std::string text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites name=\"" + Xml(module) + "\">\n";
    for (const Group& group : Groups()) {
        std::vector<CheckResult> inGroup;
        std::copy_if(results.begin(), results.end(), std::back_inserter(inGroup),
                     [&](const CheckResult& each) { return each.group == group.name; });
        if (inGroup.empty()) continue;
        text += "  <testsuite name=\"" + group.name + "\" tests=\"" + std::to_string(inGroup.size()) +
                "\" failures=\"" + std::to_string(Count(inGroup, Verdict::kFailed)) + "\" errors=\"" +
                std::to_string(Count(inGroup, Verdict::kCrashed)) + "\" skipped=\"" +
                std::to_string(Count(inGroup, Verdict::kSkipped)) + "\">\n";
        for (const CheckResult& result : inGroup) {
            text += "    <testcase classname=\"" + group.name + "\" name=\"" + result.check->name + "\" time=\"" +
                    host::NumberText(std::round(result.seconds * 1000) / 1000) + "\"";
            const std::string details = Xml(Joined(Details(result, result.findings.size())));
            const std::string rule = Xml(result.check->rule);
            switch (result.verdict) {
                case Verdict::kPassed:
                    text += "/>\n";
                    continue;
                case Verdict::kFailed:
                    text += "><failure message=\"" + rule + "\">" + details + "</failure>";
                    break;
                case Verdict::kCrashed:
                    text += "><error message=\"" + Xml(result.reason) + "\">" + details + "</error>";
                    break;
                case Verdict::kSkipped:
                    text += "><skipped message=\"" + Xml(result.reason) + "\"/>";
                    break;
                case Verdict::kWarned:
                case Verdict::kWaived:
                    text +=
                        std::string("><system-out>") + VerdictText(result.verdict) + ": " + details + "</system-out>";
                    break;
            }
            if (!result.output.empty()) text += "<system-err>" + Xml(result.output) + "</system-err>";
            text += "</testcase>\n";
        }
        text += "  </testsuite>\n";
    }
    return text + "</testsuites>\n";
}

std::string ListOfChecks(const std::vector<std::string>& only) {
    const auto checks = SelectedChecks(only);
    std::size_t width = 0;
    for (const auto& [group, check] : checks) width = std::max(width, group.size() + check->name.size() + 3);
    std::string text;
    std::string before;
    for (const auto& [group, check] : checks) {
        if (!before.empty() && group != before) text += "\n";
        before = group;
        std::string name = group + "." + check->name;
        name.resize(width, ' ');
        text += name + check->rule + (check->severity == Severity::kWarning ? " (warns)" : "") + "\n";
    }
    return text;
}

}  // namespace checker
