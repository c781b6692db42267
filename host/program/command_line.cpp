// command_line.cpp - hands the commands to the argument parser and turns each failure into one line.
//
// Why this is the only file that includes the parser: it takes longer to compile than all commands together.

#include "host/program/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <exception>
#include <iterator>
#include <limits>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

#include "host/program/commands.h"
#include "host/program/program_arguments.h"
#include "host/program/standard_streams.h"
#include "host/program/version.h"
#include "host/runtime/suggestion.h"

namespace {

// Listed in the help; ParseAndRun reads its word.
Command HelpCommand() {
    return {
        .name = "help",
        .help = "Prints the help of the program or of a command.",
        .arguments = {},
        .run =
            [](const ProgramOptions&) {
                const char* const words[] = {"zeva", "--help"};
                return RunCommandLine(std::size(words), words);
            },
        .usage = "zeva help [COMMAND]",
    };
}

// The commands in the order of the help.
std::vector<Command> Commands() {
    return {
        ApplyCommand(),     RecipeCommand(),     ReportCommand(),  RunCommand(),    ListCommand(),
        DescribeCommand(),  CheckCommand(),      GalleryCommand(), StudioCommand(), TraceCommand(),
        NewModuleCommand(), CompletionCommand(), WorkerCommand(),  HelpCommand(),
    };
}

// Help that begins with a command's own usage line.
class UsageFormatter : public CLI::Formatter {
  public:
    explicit UsageFormatter(std::string usage) : usage_(std::move(usage)) {}
    std::string make_usage(const CLI::App*, std::string) const override { return "Usage: " + usage_ + "\n"; }

  private:
    std::string usage_;
};

// Returns what is wrong with the text of a number; empty when nothing is.
std::string ObstacleInNumber(const std::string& text, bool isWhole, bool isPositive) {
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    const bool isNumber = error == std::errc() && end == text.data() + text.size() && std::isfinite(number);
    if (isNumber && isPositive && number <= 0) return "must be above 0, got '" + text + "'";
    constexpr double kLargest = std::numeric_limits<unsigned>::max();
    const bool isInRange = !isWhole || (number >= 0 && number <= kLargest && number == std::floor(number));
    if (isNumber && isInRange) return "";
    return std::string("must be a ") + (isWhole ? "whole number from 0 to 4294967295" : "number") + ", got '" + text +
           "'";
}

void AddArgument(CLI::App& app, const Argument& argument) {
    const auto add = [&](auto* target) {
        using Target = std::remove_pointer_t<decltype(target)>;
        if constexpr (std::is_same_v<Target, bool>) {
            return app.add_flag(argument.names, *target, argument.help);
        } else {
            if constexpr (std::is_same_v<Target, std::string>) {
                const std::string& value = argument.defaultValue;
                if (!value.empty()) {
                    CLI::Option* flag = app.add_flag(argument.names + "{" + value + "}", *target, argument.help);
                    return flag->multi_option_policy(CLI::MultiOptionPolicy::Throw);
                }
            }
            CLI::Option* option = app.add_option(argument.names, *target, argument.help);
            if constexpr (std::is_arithmetic_v<Target>) {
                if (*target != 0) option->capture_default_str();
            }
            return option;
        }
    };
    CLI::Option* option = std::visit(add, argument.target);
    option->required(argument.isRequired);
    // An option that may be repeated takes one word each time. Otherwise it would take the arguments behind it, too.
    if (argument.names.starts_with('-')) option->allow_extra_args(false);
    if (std::holds_alternative<double*>(argument.target) || std::holds_alternative<unsigned*>(argument.target)) {
        const bool isWhole = std::holds_alternative<unsigned*>(argument.target);
        option->check([=, isPositive = argument.isPositive](const std::string& text) {
            return ObstacleInNumber(text, isWhole, isPositive);
        });
    } else if (argument.names.starts_with('-') && argument.defaultValue.empty() && !argument.mayBeEmpty) {
        option->check([](const std::string& text) { return std::string(text.empty() ? "must not be empty" : ""); });
    }
    if (!argument.excludes.empty()) option->excludes(app.get_option(argument.excludes));
}

void AddCommand(CLI::App& program, const Command& command) {
    CLI::App* app = program.add_subcommand(command.name, command.help);
    if (command.isHidden) app->group("");
    if (command.endsOptionsAtFirstWord) app->positionals_at_end();
    if (!command.usage.empty()) app->formatter(std::make_shared<UsageFormatter>(command.usage));
    if (!command.footer.empty()) app->footer(command.footer);
    for (const Argument& argument : command.arguments) AddArgument(*app, argument);
}

// The mark at the beginning of a word behind "--".
constexpr char kLiteral = '\1';

// Makes the arguments what the parser takes: the last one first, and without "--". Returns the words behind that, and
// the arrows of recipes. They are marked, so that none looks like an option.
//
// Why the parser does not get "--": there it ends the command, not the options, once the command has a word. A command
// whose first word ends the options gets it.
std::set<std::string> PrepareArguments(std::vector<std::string>& words, const std::vector<Command>& commands) {
    std::set<std::string> marked;
    const auto end = std::find(words.begin(), words.end(), "--");
    for (auto word = words.begin(); word != end; ++word) {
        if (*word == "->") marked.insert(word->insert(0, 1, kLiteral));
    }
    const auto endsOptions = [&](const Command& command) {
        return command.endsOptionsAtFirstWord && std::find(words.begin(), end, command.name) != end;
    };
    if (end != words.end() && std::none_of(commands.begin(), commands.end(), endsOptions)) {
        const bool isCommandGiven = end != words.begin();
        for (auto word = std::next(end); isCommandGiven && word != words.end(); ++word) {
            marked.insert(word->insert(0, 1, kLiteral));
        }
        words.erase(end);
    }
    std::reverse(words.begin(), words.end());
    return marked;
}

// Removes the marks from the words that the parser stored.
void RemoveMarks(const std::set<std::string>& marked, const std::vector<Command>& commands) {
    const auto remove = [&](std::string& word) {
        if (marked.contains(word)) word.erase(0, 1);
    };
    for (const Command& command : commands) {
        for (const Argument& argument : command.arguments) {
            if (auto* const* word = std::get_if<std::string*>(&argument.target)) remove(**word);
            if (auto* const* words = std::get_if<std::vector<std::string>*>(&argument.target)) {
                std::for_each((*words)->begin(), (*words)->end(), remove);
            }
        }
    }
}

// The parser's message, which begins in lower case like all messages of the program. Names of options stay as they are.
std::string UsageText(std::string text) {
    std::erase(text, kLiteral);
    const bool isSentence = text.size() > 1 && std::isupper(text[0]) != 0 && std::islower(text[1]) != 0;
    if (isSentence) text[0] = static_cast<char>(std::tolower(text[0]));
    return text;
}

// The names of options as they are typed: "-o,--output" has two.
std::vector<std::string> OptionNames(const std::vector<Argument>& arguments) {
    std::vector<std::string> names = {"--help"};
    for (const Argument& argument : arguments) {
        std::istringstream list(argument.names);
        for (std::string name; std::getline(list, name, ',');) {
            if (name.starts_with('-')) names.push_back(name);
        }
    }
    return names;
}

std::string UnknownCommand(const std::string& word, const std::vector<Command>& commands) {
    std::vector<std::string> names;
    for (const Command& command : commands) {
        if (!command.isHidden) names.push_back(command.name);
    }
    return word + ": there is no such command" + host::Suggestion(word, names) + "; zeva help lists the commands";
}

// Turns "help COMMAND" into "COMMAND --help". Why here: the parser would take the name for a second command.
void ReadHelp(std::vector<std::string>& words, const std::vector<Command>& commands) {
    if (words.size() < 2 || words[0] != "help" || words[1].starts_with('-')) return;
    const auto isNamed = [&](const Command& command) { return command.name == words[1]; };
    if (std::none_of(commands.begin(), commands.end(), isNamed)) throw UsageError(UnknownCommand(words[1], commands));
    words = {words[1], "--help"};
}

// What is wrong with the first word that the parser could not place.
std::string UnexpectedText(const CLI::App& program, const std::vector<Command>& commands,
                           const std::vector<Argument>& programArguments) {
    std::string word = program.remaining(/*recurse=*/true).front();
    const bool isOption = word.starts_with('-');
    std::erase(word, kLiteral);
    std::vector<Argument> arguments = programArguments;
    for (const Command& command : commands) {
        if (!program.got_subcommand(command.name)) continue;
        arguments.insert(arguments.end(), command.arguments.begin(), command.arguments.end());
    }
    if (isOption) return word + ": there is no such option" + host::Suggestion(word, OptionNames(arguments));
    if (!program.get_subcommands().empty()) return "'" + word + "': the command takes no further word";
    return UnknownCommand(word, commands);
}

// The parser's own errors in plain words.
std::string ErrorText(const CLI::App& program, const CLI::ParseError& error, const std::vector<Command>& commands,
                      const std::vector<Argument>& programArguments) {
    const std::string text = UsageText(error.what());
    const std::string option = text.substr(0, text.find(": "));
    if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
        return UnexpectedText(program, commands, programArguments);
    }
    if (dynamic_cast<const CLI::ValidationError*>(&error) != nullptr) {
        return option + " " + text.substr(std::min(text.size(), option.size() + 2));
    }
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
        const bool isMissing = text.find("missing") != std::string::npos;
        return option + (isMissing ? ": expected a value after it" : ": it may be given only once");
    }
    if (dynamic_cast<const CLI::ExcludesError*>(&error) != nullptr) {
        const std::size_t end = text.find(' ');
        return text.substr(0, end) + " and " + text.substr(text.rfind(' ') + 1) + " cannot be combined";
    }
    return text;
}

// Reads the arguments and runs the command that they name.
int ParseAndRun(int argumentCount, const char* const* arguments) {
    ProgramOptions options;
    const std::vector<Argument> programArguments = ProgramArguments(options);
    std::vector<Command> commands = Commands();
    commands.push_back(CompleteCommand(commands, programArguments));

    CLI::App program("Core Image filters on the command line.", "zeva");
    for (const Argument& argument : programArguments) AddArgument(program, argument);
    program.set_version_flag(
        "--version", [&] { return VersionText(options); },
        "print the version, the host version, the ABI and the "
        "instruction set in use");
    program.footer(kSharedFooter);
    program.fallthrough();  // the options above may follow the command
    for (const Command& command : commands) AddCommand(program, command);
    std::vector<std::string> words(arguments + 1, arguments + argumentCount);
    ReadHelp(words, commands);
    const std::set<std::string> marked = PrepareArguments(words, commands);
    try {
        program.parse(words);
    } catch (const CLI::Success& help) {
        return program.exit(help);
    } catch (const CLI::ParseError& error) {
        throw UsageError(ErrorText(program, error, commands, programArguments));
    }
    RemoveMarks(marked, commands);
    if (program.get_subcommands().empty()) throw UsageError("no command given, zeva help lists them");
    const std::string name = program.get_subcommands().front()->get_name();
    const auto isNamed = [&](const Command& command) { return command.name == name; };
    return std::find_if(commands.begin(), commands.end(), isNamed)->run(options);
}

}  // namespace

int RunCommandLine(int argumentCount, const char* const* arguments) {
    try {
        return ParseAndRun(argumentCount, arguments);
    } catch (const std::exception&) {
        const Failure failure = FailureOfError(kFailed);
        PrintError(failure.what());
        return failure.Status();
    }
}
