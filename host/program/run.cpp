// run.cpp - "zeva run": runs a Lua script that uses the modules' classes.
//
// A trace may stand behind the script, as behind any other command. All other words there belong to the script.

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/program/commands.h"
#include "host/runtime/errors.h"
#include "host/runtime/text.h"
#include "host/script/script.h"

namespace {

using Words = std::vector<std::string>;

// Prints an error on standard error. It keeps its lines and tabs; everything else is escaped as in other messages.
void PrintScriptError(const host::script::ScriptError& error) {
    std::string text;  // since the last line feed or tab
    for (const char c : "zeva: " + std::string(error.what()) + "\n" + error.Traceback()) {
        const bool isLayout = c == '\n' || c == '\t';
        if (isLayout) {
            std::fprintf(stderr, "%s%c", host::PrintableText(text).c_str(), c);
            text.clear();
        } else {
            text += c;
        }
    }
}

// Throws HostError for a script that cannot be opened.
void CheckScript(const std::string& path) {
    if (path == "-") return;
    std::FILE* file = std::fopen(path.c_str(), "re");
    if (file == nullptr) throw host::HostError(path, host::SystemReason(errno) + "; nothing was run", errno);
    std::fclose(file);
}

struct RunRequest {
    Words words;  // the script and its arguments
    bool isRestricted = false;
    double memory = 0;  // in MB; 0 when not given
    double steps = 0;   // 0 when not given
};

// The limits of a restricted script.
constexpr double kRestrictedMemory = 256;
constexpr double kRestrictedSteps = 1e9;

host::script::ScriptOptions OptionsOf(const RunRequest& request) {
    const auto limit = [&](double given, double restricted) {
        return given > 0 ? given : request.isRestricted ? restricted : 0;
    };
    constexpr double kBytesPerMegabyte = 1 << 20;
    return {.isRestricted = request.isRestricted,
            .memory = static_cast<std::size_t>(limit(request.memory, kRestrictedMemory) * kBytesPerMegabyte),
            .steps = static_cast<std::uint64_t>(limit(request.steps, kRestrictedSteps))};
}

// Moves "--trace FILE" or "--trace=FILE" from the arguments of the script to the options. The words after a "--" stay.
void TakeTrace(Words& words, ProgramOptions& options) {
    const std::string name = "--trace";
    const auto end = std::find(words.begin() + 1, words.end(), "--");
    const auto option = std::find_if(
        words.begin() + 1, end, [&](const std::string& word) { return word == name || word.starts_with(name + "="); });
    if (option == end) return;
    const bool isOneWord = *option != name;
    if (!isOneWord && option + 1 == end) throw UsageError("--trace: expected a file after it");
    options.trace = isOneWord ? option->substr(name.size() + 1) : option[1];
    words.erase(option, option + (isOneWord ? 1 : 2));
}

// Runs the script that is the first word. The other words are its arguments.
int Run(ProgramOptions options, RunRequest request) {
    Words& words = request.words;
    TakeTrace(words, options);
    CheckScript(words.front());
    const auto host = MakeHost(options, words);
    host::script::Script script(*host, OptionsOf(request));
    try {
        script.RunFile(words.front(), std::span(words).subspan(1));
    } catch (const host::script::ScriptError& error) {
        // Printed here because the traceback has more than one line.
        PrintScriptError(error);
        return kFailed;
    }
    return kDone;
}

}  // namespace

Command RunCommand() {
    const auto request = std::make_shared<RunRequest>();
    return {
        .name = "run",
        .help = "Runs a Lua script.",
        .arguments =
            {
                {"SCRIPT", &request->words, "a file, or - for standard input; the words after it are its arguments",
                 /*isRequired=*/true},
                {"--restricted", &request->isRestricted,
                 "without io, os, package, debug and native code; opens and saves only files among the arguments; with "
                 "limits of 256 MB and 1000000000 steps"},
                {.names = "--lua-memory",
                 .target = &request->memory,
                 .help = "limit of Lua's memory in MB, without pictures",
                 .isPositive = true},
                {.names = "--lua-steps",
                 .target = &request->steps,
                 .help = "limit of the instructions that Lua runs",
                 .isPositive = true},
            },
        .run = [request](const ProgramOptions& options) { return Run(options, *request); },
        .endsOptionsAtFirstWord = true,
    };
}
