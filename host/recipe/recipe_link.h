// recipe_link.h - recipes as links: "#zeva1=" and the percent-encoded text of the recipe.
//
// A link may stand at the end of an address; what stands in front of it is ignored. It carries no files: pictures and
// color tables become empty slots, named files without a path, which a command fills: mask=mask.png.
//
// Failure: RecipeError.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "host/recipe/recipe.h"

// The longest link in bytes, from its #.
inline constexpr std::size_t kLongestLink = std::size_t{32} << 10;

// Whether a word is a link or ends in one.
[[nodiscard]] bool IsRecipeLink(std::string_view word);

// Reads the link at the end of a word.
[[nodiscard]] Recipe ParseLink(std::string_view word);

// Returns the link of a recipe without files (LinkableRecipe, canonical_recipe.h). Throws RecipeError for one that is
// too long.
[[nodiscard]] std::string RecipeLink(const Recipe& recipe);
