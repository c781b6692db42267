// run.cpp - "zeva run": runs a Lua script that uses the modules' classes.
//
// A trace may stand behind the script, as behind any other command. All other words there belong to the script.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "host/program/commands.h"
#include "host/runtime/text.h"
#include "host/script/script.h"

namespace {

using Words = std::vector<std::string>;

// Prints a text on standard error, escaped line by line.
void PrintLines(std::string_view text) {
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        std::fprintf(stderr, "%s\n", host::PrintableText(line).c_str());
        text.remove_prefix(std::min(text.size(), line.size() + 1));
    }
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
    const auto host = MakeHost(options, words);
    host::script::Script script(*host, OptionsOf(request));
    try {
        script.RunFile(words.front(), std::span(words).subspan(1));
    } catch (const host::script::ScriptError& error) {
        // Printed here because the traceback has more than one line.
        PrintLines("zeva: " + std::string(error.what()) + "\n" + error.Traceback());
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
