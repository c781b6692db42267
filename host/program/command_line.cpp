// command_line.cpp - reads the arguments and turns every failure into one line.
//
// Adding a command: a function like AddApply, called in RunCommandLine.

#include "host/program/command_line.h"

#include <CLI/CLI.hpp>
#include <cstdio>

#include "host/errors.h"
#include "host/program/apply.h"

namespace {

constexpr int kFailed = 1;
constexpr int kWrongUsage = 2;

// Prints a failure as one line, whatever the text brought.
void PrintError(std::string text) {
    while (!text.empty() && text.back() == '\n') text.pop_back();
    for (char& c : text) c = c == '\n' ? ' ' : c;
    std::fprintf(stderr, "zeva: %s\n", text.c_str());
}

// Help that begins with a usage line of our own.
// Why: the library would write the positional words of "apply" as one list, though they differ in meaning.
class UsageFormatter : public CLI::Formatter {
  public:
    explicit UsageFormatter(std::string usage) : usage_(std::move(usage)) {}

    std::string make_usage(const CLI::App*, std::string) const override { return usage_ + "\n"; }

  private:
    std::string usage_;
};

// zeva apply FILTER [KEY=VALUE ...] IN -o OUT
void AddApply(CLI::App& program, ApplyRequest& request, std::vector<std::string>& words) {
    CLI::App* apply = program.add_subcommand("apply", "Applies a filter to a picture.");
    apply->formatter(std::make_shared<UsageFormatter>(
        "Usage: zeva apply FILTER [KEY=VALUE ...] IN -o OUT [--keep-size] [--host-version V]"));
    apply->add_option("WORDS", words, "filter, numbers for its keys (inputRadius=10), picture (PNG or JPEG)")
        ->required()
        ->expected(2, -1);
    apply->add_option("-o,--output", request.output, "picture to write; its suffix says PNG or JPEG")->required();
    apply->add_flag("--keep-size", request.keepSize, "crop the result to the size of the input");
    apply->add_option("--host-version", request.hostVersion, "version that the modules are told")
        ->capture_default_str();
    apply->callback([&] {
        request.filter = words.front();
        request.settings.assign(words.begin() + 1, words.end() - 1);
        request.input = words.back();
        Apply(request);
    });
}

}  // namespace

int RunCommandLine(int argumentCount, const char* const* arguments) {
    CLI::App program("Core Image filters on the command line.", "zeva");
    program.require_subcommand(1);
    ApplyRequest request;
    std::vector<std::string> words;
    AddApply(program, request, words);
    try {
        program.parse(argumentCount, arguments);
        return 0;
    } catch (const CLI::Success& help) {
        return program.exit(help);
    } catch (const CLI::ParseError& error) {
        PrintError(error.what());
        return kWrongUsage;
    } catch (const host::HostException& exception) {
        PrintError(exception.Message().empty() ? exception.what() : exception.Message());
    } catch (const std::exception& error) {
        PrintError(error.what());
    }
    return kFailed;
}
