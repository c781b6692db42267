// random_recipe_test.cpp - whatever a recipe says, every form of it says the same.

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <string>
#include <vector>

#include "host/recipe/canonical_recipe.h"
#include "host/recipe/recipe_link.h"
#include "tests/recipe/random_recipe.h"
#include "tests/recipe/recipe_checks.h"
#include "tests/script/module_scripts.h"

namespace {

// Calls a function with 500 recipes. ZEVA_SEED is the first seed.
void ForRandomRecipes(const std::function<void(const Recipe&)>& function) {
    const char* given = std::getenv("ZEVA_SEED");
    const unsigned first = given != nullptr ? static_cast<unsigned>(std::atoi(given)) : 1;
    for (unsigned seed = first; seed < first + 500; ++seed) {
        SCOPED_TRACE("ZEVA_SEED=" + std::to_string(seed));
        RandomNumbers random(seed);
        function(RandomRecipe(HostWithModules(), random));
        if (testing::Test::HasFailure()) return;
    }
}

TEST(RandomRecipes, TextReadsBackEqual) {
    ForRandomRecipes([](const Recipe& recipe) {
        const std::string text = RecipeText(recipe);
        EXPECT_TRUE(IsSameRecipe(ParseRecipe(text, "a.recipe"), recipe)) << text;
    });
}

TEST(RandomRecipes, LinkReadsBackEqual) {
    ForRandomRecipes([](const Recipe& recipe) {
        EXPECT_TRUE(IsSameRecipe(ParseLink(RecipeLink(recipe)), recipe)) << RecipeText(recipe);
    });
}

TEST(RandomRecipes, CommandReadsBackEqual) {
    ForRandomRecipes([](const Recipe& recipe) {
        Recipe read = ParseCommand(CommandWords(recipe));
        EXPECT_EQ(read.inputs, std::vector<std::string>());
        read.options = recipe.options;
        EXPECT_TRUE(IsSameRecipe(read, recipe)) << RecipeText(recipe);
    });
}

TEST(RandomRecipes, CanonicalFormIsAFixedPoint) {
    ForRandomRecipes([](const Recipe& recipe) {
        const Recipe canonical = CanonicalRecipe(HostWithModules(), recipe, "");
        const std::string text = RecipeText(canonical);
        const Recipe again = CanonicalRecipe(HostWithModules(), ParseRecipe(text, "a.recipe"), "a.recipe");
        EXPECT_EQ(RecipeText(again), text);
    });
}

TEST(RandomRecipes, LinksHoldNoPath) {
    ForRandomRecipes([](Recipe recipe) {
        recipe.options.clear();
        const Recipe linkable = LinkableRecipe(HostWithModules(), recipe);
        for (const RecipePicture& picture : linkable.pictures) EXPECT_EQ(picture.path, "");
        EXPECT_TRUE(IsSameRecipe(LinkableRecipe(HostWithModules(), linkable), linkable)) << RecipeText(linkable);
    });
}

}  // namespace
