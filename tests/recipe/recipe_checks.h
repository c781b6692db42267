// recipe_checks.h - shared by the tests of recipes.

#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "host/recipe/recipe.h"
#include "host/recipe/recipe_syntax.h"

// Reads the lines below the first one as the file "a.recipe".
inline Recipe ParsedLines(const std::string& lines) { return ParseRecipe("zeva-recipe 1\n" + lines, "a.recipe"); }

// Returns the message of the HostError that work throws; empty for none.
template <typename Work>
std::string MessageOf(Work work) {
    try {
        static_cast<void>(work());
    } catch (const host::HostError& error) {
        return error.what();
    }
    return {};
}

// Returns the mistake in a text, without the place in front and the consequence behind it.
inline std::string MistakeIn(std::string_view text) {
    return MessageOf([&] { return ParseRecipe(text, "a.recipe"); });
}
