// link.cpp - recipes as links. What is read must read the same after it was made a link again.

#include <cstdint>
#include <cstdlib>
#include <string>

#include "host/recipe/recipe.h"
#include "host/recipe/recipe_link.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length) {
    const std::string word(reinterpret_cast<const char*>(bytes), length);
    if (!IsRecipeLink(word)) return 0;
    try {
        const Recipe recipe = ParseLink(word);
        if (!IsSameRecipe(recipe, ParseLink(RecipeLink(recipe)))) std::abort();
    } catch (const RecipeError&) {
    }
    return 0;
}
