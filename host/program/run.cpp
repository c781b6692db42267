// run.cpp - "zeva run": a script in Lua that uses the modules' classes.

#include <CLI/CLI.hpp>
#include <cstdio>

#include "host/program/commands.h"
#include "host/script/script.h"

namespace {

// Runs the script that comes first with the arguments behind it.
void Run(const SessionOptions& options, const std::vector<std::string>& words) {
    const auto session = OpenSession(options);
    host::script::Script script(*session);
    try {
        script.RunFile(words.front(), std::span(words).subspan(1));
    } catch (const host::script::ScriptError& error) {
        // Why not left to the program: a traceback has more than one line.
        std::fprintf(stderr, "zeva: %s\n%s", error.what(), error.Traceback().c_str());
        throw CLI::RuntimeError(1);
    }
}

}  // namespace

void AddRun(CLI::App& program, const SessionOptions& session) {
    CLI::App* run = program.add_subcommand("run", "Runs a script in Lua.");
    const auto words = std::make_shared<std::vector<std::string>>();
    run->add_option("SCRIPT", *words, "a file, or - for standard input; what follows is the script's")
        ->required()
        ->expected(1, -1);
    run->positionals_at_end();  // from the script's name on, options are the script's too
    run->callback([words, &session] { Run(session, *words); });
}
