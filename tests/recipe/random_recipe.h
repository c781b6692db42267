// random_recipe.h - random recipes over all filters and methods.
//
// Every name and value is right for its place, and some are strange: quotes, spaces and references in paths, numbers of
// any size. The files that they name do not exist.

#pragma once

#include <random>

#include "host/recipe/recipe.h"
#include "host/runtime/host.h"

using RandomNumbers = std::mt19937;

// Returns a recipe of up to eight steps, which needs not have an output.
[[nodiscard]] Recipe RandomRecipe(host::Host& host, RandomNumbers& random);
