// result_options.cpp - the options of a recipe are found among the arguments by their names.

#include "host/program/result_options.h"

#include <algorithm>
#include <set>
#include <string_view>
#include <variant>

#include "host/recipe/recipe_option_table.h"
#include "host/recipe/resolved_value.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/errors.h"

namespace {

bool IsGiven(const Argument& argument) {
    if (const auto* flag = std::get_if<bool*>(&argument.target)) return **flag;
    return !(*std::get<std::string*>(argument.target)).empty();
}

// The argument with a name; there is one for each row of the table.
const Argument& ArgumentOf(const std::vector<Argument>& arguments, std::string_view name) {
    return *std::ranges::find(arguments, name, &Argument::names);
}

// Throws HostError when --rect is not a rectangle of at least one pixel.
void CheckRectangle(const std::string& text) {
    const std::vector<double> numbers = NumbersIn("--rect", text);
    if (numbers.size() != 4) throw host::HostError("--rect", "'" + text + "' is not a rectangle, expected X,Y,W,H");
    if (!(numbers[2] > 0 && numbers[3] > 0)) {
        throw host::HostError("--rect", "'" + text + "' is empty, expected a width and a height above 0");
    }
}

}  // namespace

std::vector<Argument> ResultArguments(ResultOptions& options) {
    std::vector<Argument> arguments = {
        {"--resize", &options.resize, "resize the result: 1024 (its longer side), 1024x768 or 50%"},
        {"--fit", &options.isFit, "keep the proportions: the largest size within that of --resize"},
        {.names = "--fill",
         .target = &options.isFill,
         .help = "keep the proportions: fill the size of --resize and cut off the rest",
         .excludes = "--fit"},
        {"--rect", &options.rectangle,
         "X,Y,W,H: the part of the result to write, y up; default: all of a finite result"},
        {.names = "--keep-size",
         .target = &options.keepSize,
         .help = "write the part inside the extent of the input",
         .excludes = "--rect"},
    };
    const std::vector<Argument> outputs = OutputArguments(options.options);
    arguments.insert(arguments.end(), outputs.begin(), outputs.end());
    return arguments;
}

void AddRecipeOptions(ResultOptions& options, Recipe& recipe) {
    const std::vector<Argument> arguments = ResultArguments(options);
    std::set<std::string_view> given;  // names and groups
    for (const RecipeOptionRow& row : kRecipeOptions) {
        if (IsGiven(ArgumentOf(arguments, row.name))) given.insert({row.name, row.group});
    }
    std::erase_if(recipe.options, [&](const RecipeOption& option) {
        const RecipeOptionRow& row = *FindRecipeOption(option.name);
        return given.contains(row.name) || (!row.group.empty() && given.contains(row.group));
    });
    for (const RecipeOption& option : recipe.options) {
        const Argument& argument = ArgumentOf(arguments, option.name);
        if (const auto* flag = std::get_if<bool*>(&argument.target)) {
            **flag = true;
        } else {
            *std::get<std::string*>(argument.target) = ResolvedOption(option);
        }
    }
}

void CheckAtRecipe(const Recipe& recipe, const std::function<void()>& work) {
    try {
        work();
    } catch (const std::exception&) {
        const Failure failure = FailureOfError(kWrongUsage);
        const std::string text = failure.what();
        for (const RecipeOption& option : recipe.options) {
            const std::string start = option.name + ": ";
            if (option.place.file.empty() || !text.starts_with(start)) continue;
            throw RecipeError(option.place, option.name, text.substr(start.size()));
        }
        throw;
    }
}

std::vector<RecipeOption> RecipeOptionsOf(ResultOptions options) {
    const std::vector<Argument> arguments = ResultArguments(options);
    std::vector<RecipeOption> found;
    for (const RecipeOptionRow& row : kRecipeOptions) {
        const Argument& argument = ArgumentOf(arguments, row.name);
        if (!IsGiven(argument)) continue;
        const auto* text = std::get_if<std::string*>(&argument.target);
        found.push_back({std::string(row.name), text != nullptr ? **text : std::string(), {}});
    }
    return found;
}

std::optional<ResizeOption> ResizeOf(const ResultOptions& options) {
    const char* flag = options.isFit ? "--fit" : options.isFill ? "--fill" : nullptr;
    if (!options.resize.empty()) return ReadResize(options.resize, options.isFit, options.isFill);
    if (flag != nullptr) throw UsageError(std::string(flag) + ": expected --resize with a size, such as 1024x768");
    return std::nullopt;
}

void CheckResultOptions(const ResultOptions& options) {
    if (!options.rectangle.empty()) CheckRectangle(options.rectangle);
    static_cast<void>(ResizeOf(options));
}
