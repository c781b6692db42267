// recipe_forms.h - a recipe as a command of a shell and as JSON.
//
// Lifetime: plain functions.
// Threads:  any; nothing is shared.

#pragma once

#include <string>

#include "host/recipe/recipe.h"
#include "host/runtime/json.h"

// Returns a word as a shell reads it: in single quotes unless every character stands for itself.
[[nodiscard]] std::string ShellWord(const std::string& word);

// Returns the command that does what the recipe does, for a POSIX shell: "zeva apply CIFilterGaussianBlurQOR ...". The
// pictures and --output are missing; they can be appended.
[[nodiscard]] std::string RecipeCommandLine(const Recipe& recipe);

// Returns the recipe as an object with the members version, parameters, pictures, steps and options, each an array in
// the order of the recipe. Values have references, and a backslash before each $ that is none.
[[nodiscard]] host::Json RecipeJson(const Recipe& recipe);
