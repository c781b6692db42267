// complete.cpp - "zeva completion": a script for bash that completes commands, filters and keys.
//
// The script asks the program itself, by the hidden command "complete": its last word is the one to complete, those before it
// are the words of the line so far. What can follow comes from the commands' options and the classes' records.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "host/program/commands.h"
#include "host/description/filter_name.h"

// The text of completion.bash.
extern const char kCompletionScript[];

namespace {

using Words = std::vector<std::string>;

// The options of a command and of the program around it.
Words OptionsOf(const CLI::App& program, const CLI::App& command) {
    Words options;
    for (const CLI::App* app : {&command, &program}) {
        for (const CLI::Option* option : app->get_options()) {
            for (const std::string& name : option->get_lnames()) options.push_back("--" + name);
        }
    }
    return options;
}

Words FilterNames(host::Host& session) {
    Words names;
    for (const host::Class* isa : session.Classes().All()) {
        if (std::string name = FilterShortName(isa->Name()); !name.empty()) names.push_back(name);
    }
    return names;
}

// The settings of a filter, up to their = sign.
Words KeysOf(host::Host& session, const std::string& filter) {
    Words keys;
    const host::Class* isa = session.Classes().Find(FilterClassName(filter));
    if (isa == nullptr) return keys;
    for (const host::Member& member : isa->Members()) {
        if (member.setter != nullptr && member.declaration.name.starts_with("input")) {
            keys.push_back(member.declaration.name + "=");
        }
    }
    return keys;
}

// What can stand behind "zeva apply": a filter's name first and after each +, then its keys.
Words AfterApply(host::Host& session, const Words& before) {
    const auto filter = std::find(before.rbegin(), before.rend(), "+").base();
    if (filter == before.end()) return FilterNames(session);
    Words keys = KeysOf(session, *filter);
    keys.push_back("+");
    return keys;
}

// What can follow the words of a line; the last of them is begun and not ended.
Words Candidates(const CLI::App& program, const SessionOptions& options, Words words) {
    const std::string begun = words.back();
    words.pop_back();
    const auto commands = program.get_subcommands([](const CLI::App* app) { return !app->get_group().empty(); });
    Words all;
    if (words.empty()) {
        for (const CLI::App* command : commands) all.push_back(command->get_name());
    } else if (begun.starts_with('-')) {
        const auto isNamed = [&](const CLI::App* app) { return app->get_name() == words[0]; };
        const auto command = std::find_if(commands.begin(), commands.end(), isNamed);
        all = OptionsOf(program, command != commands.end() ? **command : program);
    } else if (words[0] == "apply") {
        all = AfterApply(*OpenSession(options), {words.begin() + 1, words.end()});
    } else if (words[0] == "describe") {
        all = FilterNames(*OpenSession(options));
    }
    std::erase_if(all, [&](const std::string& word) { return !word.starts_with(begun); });
    return all;
}

}  // namespace

void AddCompletion(CLI::App& program, const SessionOptions& session) {
    program.add_subcommand("completion", "Prints a completion script for bash: eval \"$(zeva completion)\".")
        ->callback([] { std::fputs(kCompletionScript, stdout); });

    CLI::App* complete = program.add_subcommand("complete", "Completes a line, for that script.")->group("");
    const auto words = std::make_shared<Words>();
    complete->add_option("WORDS", *words)->required();
    complete->callback([words, &program, &session] {
        for (const std::string& word : Candidates(program, session, *words)) std::printf("%s\n", word.c_str());
    });
}
