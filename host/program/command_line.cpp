// command_line.cpp - reads the arguments and turns every failure into one line.
//
// Adding a command: a function like AddApply, called in RunCommandLine.

#include "host/program/command_line.h"

#include <CLI/CLI.hpp>
#include <cctype>
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

// A complaint about the arguments, begun in lower case as all our messages are; the names of options keep theirs.
std::string UsageText(std::string text) {
    const bool isSentence = text.size() > 1 && std::isupper(text[0]) != 0 && std::islower(text[1]) != 0;
    if (isSentence) text[0] = static_cast<char>(std::tolower(text[0]));
    return text;
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
void AddApply(CLI::App& program, ApplyRequest& request) {
    CLI::App* apply = program.add_subcommand("apply", "Applies a filter to a picture.");
    apply->formatter(std::make_shared<UsageFormatter>(
        "Usage: zeva apply FILTER [KEY=VALUE ...] IN -o OUT [--keep-size] [--host-version V] [--module FILE]"));
    apply->add_option("FILTER", request.filter, "GaussianBlur, CIGaussianBlur or CIFilterGaussianBlurQOR")->required();
    apply->add_option("IN", request.settings, "numbers for the filter's keys (inputRadius=10), then a PNG or JPEG")
        ->required()
        ->expected(1, -1);
    apply->add_option("-o,--output", request.output, "picture to write; its suffix says PNG or JPEG")->required();
    apply->add_flag("--keep-size", request.keepSize, "crop the result to the extent of the input");
    apply->add_option("--host-version", request.hostVersion, "version that the modules are told")
        ->capture_default_str();
    apply->add_option("--module", request.module, "filter module to load instead of the built one, such as filters.o");
    apply->callback([&request] {
        request.input = request.settings.back();
        request.settings.pop_back();
        Apply(request);
    });
}

}  // namespace

int RunCommandLine(int argumentCount, const char* const* arguments) {
    CLI::App program("Core Image filters on the command line.", "zeva");
    ApplyRequest request;
    AddApply(program, request);
    try {
        program.parse(argumentCount, arguments);
        if (!program.get_subcommands().empty()) return 0;
        PrintError("no command is given, zeva --help lists them");
        return kWrongUsage;
    } catch (const CLI::Success& help) {
        return program.exit(help);
    } catch (const CLI::ParseError& error) {
        PrintError(UsageText(error.what()));
        return kWrongUsage;
    } catch (const host::HostException& exception) {
        PrintError(exception.Message().empty() ? exception.what() : exception.Message());
    } catch (const std::exception& error) {
        PrintError(error.what());
    }
    return kFailed;
}
