// report.cpp - runs the checks and shows what they found: the class ProbeReportQOR, and a file.
//
// The checks run when a property of a report is first read, in a call that the program makes. All reports of a process
// show the same. The file does not need the host's strings, so it is right for every host.
//
// Adding a property: a getter, and a row in the table of members.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "interface/text_encoding.h"
#include "plugin/version.h"
#include "probe/check.h"
#include "probe/classes.h"
#include "probe/held.h"
#include "probe/text.h"

namespace probe {

namespace {

enum class Id {
#define CHECK(function, ...) k##function,
#include "probe/checks.def"
    kNothing
};

struct Check {
    const char* name;
    const char* rule;
    const char* header;
    const char* words;
    Id needs;
    void (*judge)(Finding&);
};

constexpr Check kChecks[] = {
#define CHECK(function, name, rule, header, words, needs) {name, rule, header, words, Id::k##needs, function},
#include "probe/checks.def"
};
constexpr int kCheckCount = std::size(kChecks);

// The variable that names the file for the report.
constexpr const char* kFileVariable = "ZEVA_PROBE_REPORT";

Finding findings[kCheckCount];
bool hasRun = false;
Text textReport, jsonReport;

int Count(Verdict verdict) {
    int count = 0;
    for (const Finding& finding : findings) count += finding.Result() == verdict ? 1 : 0;
    return count;
}

const char* NameOf(Verdict verdict) {
    return verdict == Verdict::kPassed ? "passed" : verdict == Verdict::kFailed ? "failed" : "skipped";
}

void Judge(int i) {
    const Check& check = kChecks[i];
    if (check.needs != Id::kNothing) {
        const int needed = static_cast<int>(check.needs);
        const bool isJudged = findings[needed].Result() == Verdict::kPassed;
        if (!isJudged) return findings[i].Skip("it needs %s", kChecks[needed].name);
    }
    check.judge(findings[i]);
}

void WriteText() {
    for (int i = 0; i < kCheckCount; ++i) {
        const Check& check = kChecks[i];
        const Finding& finding = findings[i];
        if (finding.Result() == Verdict::kPassed) continue;
        textReport.Add("%-8s %s: %s\n", NameOf(finding.Result()), check.name, check.rule);
        textReport.Add("         %s\n", finding.Reason());
        if (finding.Result() == Verdict::kFailed) {
            textReport.Add("         interface/%s says: %s\n", check.header, check.words);
        }
    }
    textReport.Add("host version %.6g, record version %d\n", zvversion, CurrentZEVAControlVersion);
    textReport.Add("%d checks: %d passed, %d failed, %d skipped\n", kCheckCount, Count(Verdict::kPassed),
                   Count(Verdict::kFailed), Count(Verdict::kSkipped));
}

void WriteJson() {
    char version[32];
    std::snprintf(version, sizeof version, "%.17g", zvversion);
    jsonReport.Add("{\"hostVersion\": \"%s\", \"recordVersion\": %d,\n", version, CurrentZEVAControlVersion);
    jsonReport.Add(" \"passed\": %d, \"failed\": %d, \"skipped\": %d,\n \"checks\": [", Count(Verdict::kPassed),
                   Count(Verdict::kFailed), Count(Verdict::kSkipped));
    for (int i = 0; i < kCheckCount; ++i) {
        const Check& check = kChecks[i];
        const char* const fields[][2] = {{"name", check.name},   {"verdict", NameOf(findings[i].Result())},
                                         {"rule", check.rule},   {"header", check.header},
                                         {"words", check.words}, {"reason", findings[i].Reason()}};
        const char* before = i == 0 ? "\n  {" : ",\n  {";
        for (const auto& [key, value] : fields) {
            jsonReport.Add("%s\"%s\": ", before, key);
            jsonReport.AddJsonString(value);
            before = ", ";
        }
        jsonReport.Add("}");
    }
    jsonReport.Add("\n ]}\n");
}

// Writes the file that the environment asks for.
void WriteFile() {
    const char* path = std::getenv(kFileVariable);
    if (path == nullptr) return;
    const int file = creat(path, 0666);
    const bool isWritten =
        file >= 0 && write(file, jsonReport.Bytes(), jsonReport.Length()) == static_cast<ssize_t>(jsonReport.Length());
    if (file < 0 || close(file) != 0 || !isWritten) {
        textReport.Add("%s: the file '%s' could not be written\n", kFileVariable, path);
    }
}

// Runs the checks unless they have run. A check that reads the report, because the host calls a getter of its own
// accord, sees it unfinished.
void Run() {
    if (hasRun) return;
    hasRun = true;
    for (int i = 0; i < kCheckCount; ++i) Judge(i);
    WriteText();
    WriteJson();
    WriteFile();
}

ZEVAstringStruct* NewString(const Text& from) {
    String string(from.Bytes(), from.Length());
    string.SetEncoding(kEncodingAscii);
    return string.Leak();
}

template <Verdict kVerdict>
std::int32_t GetCount(ZEVAobjectStruct*) {
    Run();
    return Count(kVerdict);
}

ZEVAstringStruct* GetText(ZEVAobjectStruct*) {
    Run();
    return NewString(textReport);
}

ZEVAstringStruct* GetJson(ZEVAobjectStruct*) {
    Run();
    return NewString(jsonReport);
}

ZEVAmethod reportMethods[] = {
    PROBE_MEMBER("Passed as integer", GetCount<Verdict::kPassed>),
    PROBE_MEMBER("Failed as integer", GetCount<Verdict::kFailed>),
    PROBE_MEMBER("Skipped as integer", GetCount<Verdict::kSkipped>),
    PROBE_MEMBER("Text as string", GetText),
    PROBE_MEMBER("Json as string", GetJson),
};

}  // namespace

ZEVAclassDefinition reportClass = {.record = {.version = kRecordVersion,
                                              .className = "ProbeReportQOR",
                                              .methods = reportMethods,
                                              .methodCount = std::size(reportMethods),
                                              .flags = kHostFlags}};

void Finding::Set(Verdict verdict, const char* format, __builtin_va_list arguments) {
    if (verdict_ != Verdict::kPassed) return;
    verdict_ = verdict;
    std::vsnprintf(reason_, sizeof reason_, format, arguments);
}

void Finding::Fail(const char* format, ...) {
    __builtin_va_list arguments;
    __builtin_va_start(arguments, format);
    Set(Verdict::kFailed, format, arguments);
    __builtin_va_end(arguments);
}

void Finding::Skip(const char* format, ...) {
    __builtin_va_list arguments;
    __builtin_va_start(arguments, format);
    Set(Verdict::kSkipped, format, arguments);
    __builtin_va_end(arguments);
}

bool Finding::LacksService(const char* name) {
    if (gResolver(name) != nullptr) return false;
    Skip("the host lacks %s", name);
    return true;
}

}  // namespace probe
