// complete.cpp - "zeva completion": prints a bash script that completes commands, filters and keys.
//
// The script calls the hidden command "complete" with the words of the line: the last word is the one to complete. The
// candidates come from the commands' options and from the registered classes.

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "host/description/filter_name.h"
#include "host/program/commands.h"

// The text of completion.bash.
extern const char kCompletionScript[];

namespace {

using Words = std::vector<std::string>;

// The long names of the options among some arguments.
void AddOptionNames(const std::vector<Argument>& arguments, Words& names) {
    for (const Argument& argument : arguments) {
        const std::size_t start = argument.names.find("--");
        if (start != std::string::npos) names.push_back(argument.names.substr(start));
    }
}

Words FilterNames(host::Host& host) {
    Words names;
    for (const host::Class* isa : host.Classes().All()) {
        if (std::string name = FilterShortName(isa->Name()); !name.empty()) names.push_back(name);
    }
    return names;
}

// The input keys of a filter, each with its = sign.
Words KeysOf(host::Host& host, const std::string& filter) {
    Words keys;
    const host::Class* isa = host.Classes().Find(FilterClassName(filter));
    if (isa == nullptr) return keys;
    for (const host::Member& member : isa->Members()) {
        if (member.setter != nullptr && member.declaration.name.starts_with("input")) {
            keys.push_back(member.declaration.name + "=");
        }
    }
    return keys;
}

// Candidates after "zeva apply": a filter name first and after each +, then the keys of that filter.
Words AfterApply(host::Host& host, const Words& before) {
    const auto filter = std::find(before.rbegin(), before.rend(), "+").base();
    if (filter == before.end()) return FilterNames(host);
    Words keys = KeysOf(host, *filter);
    keys.push_back("+");
    return keys;
}

// The candidates for the last word of a line.
class Completer {
  public:
    Completer(std::vector<Command> commands, std::vector<Argument> programArguments)
        : commands_(std::move(commands)), programArguments_(std::move(programArguments)) {}

    Words Candidates(const ProgramOptions& options, Words words) const {
        const std::string begun = words.back();
        words.pop_back();
        Words all = Unfiltered(options, words, begun);
        std::erase_if(all, [&](const std::string& word) { return !word.starts_with(begun); });
        return all;
    }

  private:
    Words Unfiltered(const ProgramOptions& options, const Words& before, const std::string& begun) const {
        if (before.empty()) {
            Words names;
            for (const Command& command : commands_) names.push_back(command.name);
            return names;
        }
        if (begun.starts_with('-')) return OptionsOf(before.front());
        if (before.front() == "apply") return AfterApply(*MakeHost(options), {before.begin() + 1, before.end()});
        if (before.front() == "describe") return FilterNames(*MakeHost(options));
        return {};
    }

    // The options of a command and of the program.
    Words OptionsOf(const std::string& commandName) const {
        Words names = {"--help"};
        for (const Command& command : commands_) {
            if (command.name == commandName) AddOptionNames(command.arguments, names);
        }
        AddOptionNames(programArguments_, names);
        return names;
    }

    std::vector<Command> commands_;
    std::vector<Argument> programArguments_;
};

}  // namespace

Command CompletionCommand() {
    return {
        .name = "completion",
        .help = "Prints a completion script for bash: eval \"$(zeva completion)\".",
        .arguments = {},
        .run =
            [](const ProgramOptions&) {
                std::fputs(kCompletionScript, stdout);
                return kDone;
            },
    };
}

Command CompleteCommand(std::vector<Command> commands, std::vector<Argument> programArguments) {
    const auto words = std::make_shared<Words>();
    const Completer completer(std::move(commands), std::move(programArguments));
    return {
        .name = "complete",
        .help = "Completes a line for the completion script.",
        .arguments = {{"WORDS", words.get(), "the words of the line", /*isRequired=*/true}},
        .run =
            [words, completer](const ProgramOptions& options) {
                for (const std::string& word : completer.Candidates(options, *words)) std::printf("%s\n", word.c_str());
                return kDone;
            },
        .isHidden = true,
    };
}
