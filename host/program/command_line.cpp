// command_line.cpp - reads the arguments and turns every failure into one line.

#include "host/program/command_line.h"

#include <CLI/CLI.hpp>
#include <cctype>
#include <cstdio>

#include "host/program/commands.h"
#include "host/batch/error_text.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// The commands, in the order in which the help lists them.
// clang-format off
constexpr AddCommand* kCommands[] = {
    AddApply,
    AddRun,
    AddList,
    AddDescribe,
    AddCheck,
    AddGallery,
    AddTrace,
    AddCompletion,
};
// clang-format on

void PrintError(const std::string& text) { std::fprintf(stderr, "zeva: %s\n", text.c_str()); }

// A complaint about the arguments, begun in lower case as all our messages are; the names of options keep theirs.
std::string UsageText(std::string text) {
    const bool isSentence = text.size() > 1 && std::isupper(text[0]) != 0 && std::islower(text[1]) != 0;
    if (isSentence) text[0] = static_cast<char>(std::tolower(text[0]));
    return text;
}

}  // namespace

int RunCommandLine(int argumentCount, const char* const* arguments) {
    CLI::App program("Core Image filters on the command line.", "zeva");
    SessionOptions session;
    program.add_option("--host-version", session.hostVersion, "version that the modules are told")
        ->capture_default_str();
    program.add_option("--module", session.module, "filter module to load instead of the built one, such as filters.o");
    program.add_option("--trace", session.trace, "file for every call across the boundary, as trace events in JSON");
    program.footer(
        "--host-version, --module and --trace belong to every command (zeva --help).\nExit status: 0 done, 1 failed (standard error says why), 2 wrong usage.");
    program.fallthrough();  // the options above may stand behind the command as well
    for (AddCommand* add : kCommands) add(program, session);
    try {
        program.parse(argumentCount, arguments);
        if (!program.get_subcommands().empty()) return 0;
        PrintError("no command is given, zeva --help lists them");
        return kWrongUsage;
    } catch (const CLI::Success& help) {
        return program.exit(help);
    } catch (const CLI::RuntimeError& told) {
        return told.get_exit_code();
    } catch (const CLI::ParseError& error) {
        PrintError(OneLine(UsageText(error.what())));
        return kWrongUsage;
    } catch (const std::exception&) {
        PrintError(ErrorText());
    }
    return kFailed;
}
