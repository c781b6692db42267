// run.cpp - "zeva run": runs a Lua script that uses the modules' classes.

#include <cerrno>
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

// Runs the script that is the first word. The other words are its arguments.
int Run(const ProgramOptions& options, const Words& words) {
    CheckScript(words.front());
    const auto host = MakeHost(options, words);
    host::script::Script script(*host);
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
