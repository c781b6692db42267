// run.cpp - "zeva run": runs a Lua script that uses the modules' classes.

#include <algorithm>
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

// Runs the script that is the first word. The other words are its arguments.
int Run(const ProgramOptions& options, const Words& words) {
    const auto host = MakeHost(options, words);
    host::script::Script script(*host);
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
    const auto words = std::make_shared<Words>();
    return {
        .name = "run",
        .help = "Runs a Lua script.",
        .arguments = {{"SCRIPT", words.get(), "a file, or - for standard input; the words after it are its arguments",
                       /*isRequired=*/true}},
        .run = [words](const ProgramOptions& options) { return Run(options, *words); },
        .endsOptionsAtFirstWord = true,
    };
}
