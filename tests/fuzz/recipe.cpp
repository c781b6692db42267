// recipe.cpp - the text of recipes. What is read must read the same after it was printed.

#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "host/recipe/recipe.h"
#include "host/recipe/recipe_forms.h"
#include "host/recipe/recipe_syntax.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t length) {
    const std::string_view text(reinterpret_cast<const char*>(bytes), length);
    try {
        const Recipe recipe = ParseRecipe(text, "fuzz.recipe");
        static_cast<void>(UnusedNames(recipe));
        static_cast<void>(RecipeCommandLine(recipe));
        if (!IsSameRecipe(recipe, ParseRecipe(RecipeText(recipe), "fuzz.recipe"))) std::abort();
    } catch (const RecipeError&) {
    }
    return 0;
}
