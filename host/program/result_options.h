// result_options.h - the options that say what a result looks like: its size, its part, and how it is written.
//
// They may also stand in a recipe (host/recipe/recipe_option_table.h). Those of the command win: each by itself, and
// those about the size and those about the part together.

#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "host/program/command.h"
#include "host/program/output_options.h"
#include "host/program/resize_option.h"
#include "host/recipe/recipe.h"

struct ResultOptions {
    std::string rectangle;  // "X,Y,W,H"; empty for the extent of the result
    bool keepSize = false;  // crop the result to the extent of the input
    std::string resize;     // resize_option.h; empty for the size of the result
    bool isFit = false, isFill = false;
    OutputOptions options;
};

// The arguments of a command that store their values in the options.
[[nodiscard]] std::vector<Argument> ResultArguments(ResultOptions& options);

// Returns what --resize, --fit and --fill ask for; none without --resize. Throws UsageError for a wrong combination.
[[nodiscard]] std::optional<ResizeOption> ResizeOf(const ResultOptions& options);

// Throws UsageError, or HostError, for a wrong size, a wrong rectangle and options that do not go together.
void CheckResultOptions(const ResultOptions& options);

// Adds the options of a recipe, and removes those from it that the command replaces.
void AddRecipeOptions(ResultOptions& options, Recipe& recipe);

// Runs work that checks options. A failure that begins with the name of one that stands in the recipe becomes a
// RecipeError of its line.
void CheckAtRecipe(const Recipe& recipe, const std::function<void()>& work);

// Returns the options as those of a recipe, in the order of the table.
[[nodiscard]] std::vector<RecipeOption> RecipeOptionsOf(ResultOptions options);
