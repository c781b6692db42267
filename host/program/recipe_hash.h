// recipe_hash.h - what two runs of "zeva apply" must have in common to give the same bytes, besides their inputs: the
// recipe with everything that it uses, and the build.
//
// Threads: the host's thread.

#pragma once

#include <string>

#include "host/program/apply_request.h"
#include "host/program/program_host.h"
#include "host/recipe/recipe.h"

// Returns the SHA-256 of the recipe: of its text in full names, its parameters, the options that the output depends on,
// and the bytes of every file that any of them names.
[[nodiscard]] std::string RecipeHash(host::Host& host, const ProgramOptions& options, const ApplyRequest& request,
                                     const Recipe& recipe);

// Returns the version of the program and a hash of the build IDs of its own code that is loaded: "0.4.0
// 1f2e3d4c5b6a7988 x86_64". Call it when the modules are loaded.
[[nodiscard]] std::string BuildText();
