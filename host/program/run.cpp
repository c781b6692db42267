// run.cpp - "zeva run": runs a Lua script that uses the modules' classes.

#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "host/program/commands.h"
#include "host/script/script.h"

namespace {

using Words = std::vector<std::string>;

// Runs the script that is the first word. The other words are its arguments.
int Run(const ProgramOptions& options, const Words& words) {
    const auto host = MakeHost(options);
    host::script::Script script(*host);
    try {
        script.RunFile(words.front(), std::span(words).subspan(1));
    } catch (const host::script::ScriptError& error) {
        // Printed here because the traceback has more than one line.
        std::fprintf(stderr, "zeva: %s\n%s", error.what(), error.Traceback().c_str());
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
