// canonical_recipe.h - a recipe with the full names of filters and keys, and with values in their shortest form.
//
// Two recipes that differ in spelling only have the same canonical form. It is what is hashed, saved and put into
// links. Comments and the places of declarations are gone; the order of settings stays, because a filter sees it.
//
// Failure: RecipeError, or HostError for a word of a command: an unknown name, a key that is set twice, a value of the
//          wrong type. Files are not opened.
// Threads: the host's thread.

#pragma once

#include <string>

#include "host/recipe/recipe.h"
#include "host/runtime/host.h"

// Returns the canonical form. Paths are relative to the folder of `file`, or to the current folder for an empty name.
[[nodiscard]] Recipe CanonicalRecipe(host::Host& host, const Recipe& recipe, const std::string& file);

// Returns the canonical form without files: pictures and color tables become empty slots. Throws RecipeError for an
// option that names a file.
[[nodiscard]] Recipe LinkableRecipe(host::Host& host, const Recipe& recipe);
