// texts.h - the chain of the page as texts that run elsewhere, and such texts as a chain again.
//
// The texts are those of the recipe language: a command, a recipe, a link, a program in Lua. There is no other parser.
// A program in Lua is never read as a program: its first lines hold the recipe that it was made from, and a sum over
// the rest tells whether it is still what was made.
//
// In a chain that was read, the value of a key for a file is "file:" and its path, which the server turns into a number
// or refuses. A file that is missing in a link is left out.
//
// Failure: HostError, RecipeError, HostException with what is wrong.
// Threads: the host's thread.

#pragma once

#include <array>
#include <functional>
#include <string>
#include <vector>

#include "host/recipe/recipe.h"
#include "host/runtime/host.h"
#include "host/studio/chain.h"

namespace studio {

// What a chain is about, besides its cards.
struct ChainContext {
    std::string photo;             // its path
    double width = 0, height = 0;  // of the photo
    bool keepsSize = false;
    std::string folder;                                          // of photos that the chain may be applied to
    std::function<std::string(const std::string& number)> path;  // of a file
};

// A chain as a recipe. Cards on which the result does not depend are left out.
struct ChainRecipe {
    Recipe recipe;
    bool hasInput = false;  // whether the result depends on the photo
};

[[nodiscard]] ChainRecipe RecipeOfChain(host::Host& host, const std::vector<Card>& cards, const ChainContext& context);

struct ChainTexts {
    std::string command;
    std::string folderCommand;  // for all photos of the folder; empty if the result does not depend on a photo
    std::string lua;
    std::string recipe;
    std::string link;
};

[[nodiscard]] ChainTexts TextsOfChain(host::Host& host, const std::vector<Card>& cards, const ChainContext& context);

// A chain that was read.
struct ReadChain {
    std::vector<Card> cards;
    std::string photo;  // the path in a command; empty for none
    bool keepsSize = false;
    std::vector<std::string> notes;  // what was left out
};

// Reads a text in any of the forms. `shared` is the folder of the recipes that come with the program; `frame` has the
// width and the height of the photo that is shown.
[[nodiscard]] ReadChain ReadChainText(host::Host& host, const std::string& text, const std::string& shared,
                                      const std::array<double, 2>& frame);

}  // namespace studio
