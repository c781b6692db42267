// recipe_command.cpp - "zeva recipe": checks a recipe and prints it in one of its forms.
//
// The recipe is a file, a link, or the words of an apply command. Names and values are always checked. What the files
// are is checked too, unless the recipe has empty slots.

#include <algorithm>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "host/program/commands.h"
#include "host/program/result_options.h"
#include "host/program/standard_streams.h"
#include "host/recipe/canonical_recipe.h"
#include "host/recipe/prepared_recipe.h"
#include "host/recipe/recipe_forms.h"
#include "host/recipe/recipe_link.h"
#include "host/recipe/recipe_lua.h"
#include "host/recipe/recipe_syntax.h"
#include "host/runtime/errors.h"

namespace {

struct RecipeRequest : ResultOptions {
    std::vector<std::string> words;
    bool asJson = false, asLua = false, asCommand = false, asLink = false;
    bool isList = false;
};

// Prints the recipes that come with the program: name and title.
int ListRecipes() {
    for (const std::string& name : RecipeNamesIn(SharedRecipes())) {
        const Recipe recipe = ReadRecipeFile((SharedRecipes() / name).string());
        std::printf("%-24s  %s\n", name.c_str(), recipe.title.c_str());
    }
    return kDone;
}

// Prepares the recipe as for a picture, or for none if it takes none. Throws what is wrong with it.
PreparedRecipe PrepareToCheck(host::Host& host, const Recipe& recipe, bool& hasInput) {
    try {
        hasInput = true;
        return PrepareRecipe(host, recipe, hasInput);
    } catch (const host::HostError&) {
        try {
            hasInput = false;
            return PrepareRecipe(host, recipe, hasInput);
        } catch (const std::exception&) {
            // The recipe is wrong in any case; the first error is the one that its user can see.
        }
        throw;
    }
}

// Throws what "zeva apply" would throw before it opens a picture. Returns the program in Lua; nothing for a recipe with
// empty slots.
std::string Check(host::Host& host, const Recipe& recipe, const RecipeRequest& options) {
    CheckAtRecipe(recipe, [&] { CheckTarget(host, "", options.options); });
    const auto isEmpty = [](const RecipePicture& picture) { return picture.path.empty(); };
    if (!options.asLua && std::ranges::any_of(recipe.pictures, isEmpty)) return {};
    bool hasInput = false;
    const PreparedRecipe prepared = PrepareToCheck(host, recipe, hasInput);
    CheckOutputs(host, prepared, hasInput);
    if (!options.asLua) return {};
    Recipe whole = recipe;
    whole.options = RecipeOptionsOf(options);
    return RecipeLua(whole, prepared, hasInput);
}

Recipe ReadWords(const std::vector<std::string>& words) {
    if (words == std::vector<std::string>{kIncoming}) return ReadRecipeFile(kIncoming);
    Recipe recipe = ParseCommand(words, SharedRecipes());
    if (!recipe.inputs.empty()) {
        throw UsageError(recipe.inputs[0] + ": not a recipe, whose name ends in " + std::string(kRecipeSuffix) +
                         "; nothing was printed");
    }
    return recipe;
}

int PrintRecipe(const ProgramOptions& options, RecipeRequest request) {
    if (request.asJson + request.asLua + request.asCommand + request.asLink > 1) {
        throw UsageError("--json, --lua, --command and --link cannot be combined");
    }
    if (request.isList) return ListRecipes();
    if (request.words.empty()) throw UsageError("RECIPE is required; --list lists those that come with the program");
    Recipe recipe = ReadWords(request.words);
    AddRecipeOptions(request, recipe);
    CheckAtRecipe(recipe, [&] { CheckResultOptions(request); });
    const auto host = MakeHost(options, FilesOfRecipe(recipe));
    std::string text = WithStatus(kWrongUsage, [&] { return Check(*host, recipe, request); });
    if (!options.isQuiet) {
        for (const std::string& note : UnusedNames(recipe)) PrintError(note);
    }
    recipe.options = RecipeOptionsOf(request);
    if (request.asLink) {
        text = RecipeLink(LinkableRecipe(*host, recipe)) + "\n";
    } else if (request.asCommand) {
        text = RecipeCommandLine(CanonicalRecipe(*host, recipe, "")) + "\n";
    } else if (!request.asLua) {
        const Recipe canonical = CanonicalRecipe(*host, recipe, recipe.file == kLinkFile ? "" : recipe.file);
        text = request.asJson ? RecipeJson(canonical).Dump(2) + "\n" : RecipeText(canonical);
    }
    std::fwrite(text.data(), 1, text.size(), stdout);
    return kDone;
}

}  // namespace

Command RecipeCommand() {
    const auto request = std::make_shared<RecipeRequest>();
    Command command = {
        .name = "recipe",
        .help = "Checks a recipe and prints it in canonical form.",
        .arguments =
            {
                {"RECIPE", &request->words,
                 "a file, a link, or the words of an apply command without pictures; KEY=VALUE behind a file or a link "
                 "sets a parameter; - for standard input"},
                {"--list", &request->isList, "list the recipes that come with the program"},
                {"--json", &request->asJson, "print JSON"},
                {"--lua", &request->asLua, "print a program in Lua that makes the same files: zeva run PROGRAM IN OUT"},
                {"--command", &request->asCommand, "print a command for the shell, without pictures and --output"},
                {"--link", &request->asLink, "print a link, in which pictures and color tables are empty slots"},
            },
        .run = [request](const ProgramOptions& options) { return PrintRecipe(options, *request); },
        .usage = "zeva recipe FILE|LINK [NAME=VALUE ...] [+ FILTER [KEY=VALUE ...] ...]",
    };
    const std::vector<Argument> results = ResultArguments(*request);
    command.arguments.insert(command.arguments.end(), results.begin(), results.end());
    return command;
}
