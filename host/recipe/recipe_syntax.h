// recipe_syntax.h - reads recipes from files and from the words of a command, and prints them.
//
// A file, line by line; its first line is "zeva-recipe 1":
//
//   NAME = VALUE                            a parameter
//   picture NAME = FILE                     a named file
//   STEP [KEY=VALUE ...] [-> $NAME]         a step, whose result may get a name
//   --OPTION [VALUE] ...                    options about the output
//
// Words are separated by spaces and tabs. Double quotes and a backslash quote; what they quote is text and neither a
// reference nor a comment. A # at the beginning of a line or behind a space starts a comment. Line ends may be those of
// other systems, a byte order mark is ignored, and the last line needs no end.
//
// A command has the same lines with a + between them. Every other word is a picture to work on. A first word that ends
// in .recipe, or is a link, is a recipe; the words up to the next + set its parameters.
//
// Failure: RecipeError. A recipe that was read has correct syntax, names and references; filters, keys and values are
//          looked up later, with a host.
// Threads: any; nothing is shared.

#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "host/recipe/recipe.h"

// The largest recipe in bytes. Why a limit: a file that is not a recipe may be of any size.
inline constexpr std::size_t kLargestRecipe = std::size_t{1} << 20;

// The first line of a recipe.
inline constexpr std::string_view kRecipeHeader = "zeva-recipe 1";

inline constexpr std::string_view kRecipeSuffix = ".recipe";

// The words with a meaning of their own, unless they are quoted.
inline constexpr const char* kArrow = "->";
inline constexpr const char* kEquals = "=";
inline constexpr const char* kPicture = "picture";
inline constexpr const char* kSeparator = "+";

// Reads the text of a recipe. `file` names it in messages, and paths are relative to its folder.
[[nodiscard]] Recipe ParseRecipe(std::string_view text, const std::string& file);

// Reads a recipe file; "-" is standard input.
[[nodiscard]] Recipe ReadRecipeFile(const std::string& file);

// Reads the words of a command. A recipe that is not there is looked for in `shared`, the folder of the recipes that
// come with the program, unless that is empty or the word names a folder.
[[nodiscard]] Recipe ParseCommand(const std::vector<std::string>& words, const std::filesystem::path& shared = {});

// Returns the names of the recipes in a folder, in order; none for a folder that is not there.
[[nodiscard]] std::vector<std::string> RecipeNamesIn(const std::filesystem::path& folder);

// Returns the text of a recipe: declarations, steps and options, one line each.
//
// Throws RecipeError for a value with a line break, which a line cannot hold.
[[nodiscard]] std::string RecipeText(const Recipe& recipe);

// Returns the lines of that text without the first one.
[[nodiscard]] std::vector<std::string> RecipeLines(const Recipe& recipe);

// Returns the words of a command, from which ParseCommand reads the recipe but its options.
[[nodiscard]] std::vector<std::string> CommandWords(const Recipe& recipe);

// Returns the options as words of a command: "--quality", "90".
[[nodiscard]] std::vector<std::string> OptionWords(const Recipe& recipe);

// Returns a step as words: "GaussianBlur", "radius=8", "->", "$soft".
[[nodiscard]] std::vector<std::string> StepWords(const RecipeStep& step);
