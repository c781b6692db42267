// complete.cpp - "zeva completion": prints a bash script that completes commands, filters, keys and values.
//
// The script calls the hidden command "complete" with the words of the line: the last word is the one to complete. The
// candidates come from the commands' options and from the registered classes.

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "host/description/names.h"
#include "host/description/title_table.h"
#include "host/program/commands.h"
#include "host/recipe/recipe_syntax.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/suggestion.h"

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

// What the program prints instead of candidates where the value of a setting is a file; the script then lists files.
constexpr const char* kFiles = ":files";

bool BeginsWith(const std::string& word, const std::string& begun) {
    return host::EqualIgnoringCase(word.substr(0, begun.size()), begun);
}

Words Matching(const Words& words, const std::string& begun) {
    Words matching;
    std::copy_if(words.begin(), words.end(), std::back_inserter(matching),
                 [&](const std::string& word) { return BeginsWith(word, begun); });
    return matching;
}

// The keys of a step, each with its = sign, that a word begins with or without the "input".
Words MatchingKeys(const StepClass& step, const std::string& begun) {
    const std::string prefix = "input";
    Words keys;
    for (const StepKey& key : KeysOf(step)) {
        const bool isShort = key.name.starts_with(prefix) && BeginsWith(key.name.substr(prefix.size()), begun);
        if (BeginsWith(key.name, begun) || isShort) keys.push_back(key.name + "=");
    }
    return keys;
}

// The settings with a key and the values that have names.
Words MatchingSettings(const StepClass& step, const std::string& begun) {
    const std::string key = begun.substr(0, begun.find('='));
    const host::Type type = StepKeyNamed(step, key, begun).type;
    if (IsFileName(type)) return {kFiles};
    Words settings;
    for (const std::string& value : KnownValues(type)) settings.push_back(key + "=" + value);
    return Matching(settings, begun);
}

// The names behind a recipe that can be set, each with its = sign.
Words MatchingParameters(const std::string& file, const std::string& begun) {
    const Recipe recipe = ParseCommand({file}, SharedRecipes());
    const std::size_t sign = begun.find('=');
    if (sign != std::string::npos) {
        return FindPicture(recipe, begun.substr(0, sign)) != nullptr ? Words{kFiles} : Words();
    }
    Words names;
    for (const RecipeParameter& parameter : recipe.parameters) names.push_back(parameter.name + "=");
    for (const RecipePicture& picture : recipe.pictures) names.push_back(picture.name + "=");
    return Matching(names, begun);
}

// Candidates behind "apply" or "recipe": a step first and after each +, then its settings, or a +. The first may be a
// recipe.
Words AfterApply(host::Host& host, const Words& before, const std::string& begun) {
    const auto step = std::find(before.rbegin(), before.rend(), "+").base();
    if (step == before.end()) {
        Words words = FilterNames(host);
        for (const Words& more : {StepMethodNames(host), before.empty() ? RecipeNamesIn(SharedRecipes()) : Words()}) {
            words.insert(words.end(), more.begin(), more.end());
        }
        return Matching(words, begun);
    }
    if (step == before.begin() && step->ends_with(kRecipeSuffix)) return MatchingParameters(*step, begun);
    const StepClass isa = StepNamed(host, *step);
    if (begun.find('=') != std::string::npos) return MatchingSettings(isa, begun);
    Words words = MatchingKeys(isa, begun);
    if (begun.empty()) words.push_back("+");
    return words;
}

Words Categories() {
    std::set<std::string> categories;
    for (const BuiltTitle& title : kBuiltTitles) categories.insert(title.category);
    return {categories.begin(), categories.end()};
}

// The candidates for the last word of a line.
class Completer {
  public:
    Completer(std::vector<Command> commands, std::vector<Argument> programArguments)
        : commands_(std::move(commands)), programArguments_(std::move(programArguments)) {}

    Words Candidates(const ProgramOptions& options, Words words) const {
        const std::string begun = words.back();
        words.pop_back();
        if (words.empty()) return Matching(CommandNames(), begun);
        const std::string& command = words.front();
        if (words.back() == "--category") return Matching(Categories(), begun);
        if (begun.starts_with('-')) return Matching(OptionsOf(command), begun);
        if (command == "help") return Matching(CommandNames(), begun);
        if (command == "describe") return Matching(ClassNames(*MakeHost(options)), begun);
        if (command == "apply" || command == "recipe") {
            return AfterApply(*MakeHost(options), {words.begin() + 1, words.end()}, begun);
        }
        return {};
    }

  private:
    Words CommandNames() const {
        Words names;
        for (const Command& command : commands_) names.push_back(command.name);
        return names;
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
