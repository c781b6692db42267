// recipe_lua.h - a recipe as a program in Lua that makes the same files.
//
//   zeva run PROGRAM IN OUT        or PROGRAM OUT for a recipe that takes no picture
//
// Parameters are replaced by their values. Paths are relative to the current folder. A program is made for a recipe
// whose files are there, because the size of a color table becomes a number in it.
//
// Failure: that of PrepareRecipe.
// Threads: the host's thread.

#pragma once

#include <string>

#include "host/recipe/prepared_recipe.h"
#include "host/recipe/recipe.h"
#include "host/runtime/host.h"

// Returns the program. `prepared` is the recipe prepared for this host, with or without a picture.
[[nodiscard]] std::string RecipeLua(const Recipe& recipe, const PreparedRecipe& prepared, bool hasInput);
