// recipe.h - a recipe as data: declarations, steps and output options, before any name is looked up.
//
//   zeva-recipe 1
//   radius = 8                                a parameter and its default
//   picture mask = mask.png                   a named file, relative to the recipe
//   GaussianBlur inputRadius=$radius -> $soft
//   BlendWithMask inputImage=$input inputBackgroundImage=$soft inputMaskImage=$mask
//   --quality 90
//
// A recipe comes from the words of a command or the text of a file (recipe_syntax.h) or from a link (recipe_link.h).
// canonical_recipe.h gives it full names, recipe_forms.h writes it in other forms, and prepared_recipe.h runs it.
//
// Values hold references. In a value, $name is a reference; a backslash quotes a $, a backslash, and a letter or digit
// behind a reference. Every other character stands for itself. The words of a command have this form already; the
// quotes of a file are translated to it.
//
// Lifetime: plain data; a recipe owns all its text.
// Threads:  any; nothing is shared.
// Failure:  RecipeError, which knows file, line, column and word.

#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host/runtime/errors.h"

// Where a part of a recipe was written.
struct RecipePlace {
    std::string file;  // its path; kLinkFile for a link; empty for a command
    int line = 0;      // from 1; 0 for a command
    int column = 0;    // of the first byte of the word, from 1; 0 for a command

    // The folder that paths are relative to; empty for the current one.
    [[nodiscard]] std::string Folder() const;
};

// The name of a link in messages.
inline constexpr const char* kLinkFile = "link";

// A mistake in a recipe: "warm.recipe:4: radus=8: <problem>; nothing was run". A command has no file and no line in
// front and no consequence behind, because its other messages say what was not written.
class RecipeError : public host::HostError {
  public:
    RecipeError(const RecipePlace& place, const std::string& word, const std::string& problem, int errorNumber = 0);

    const RecipePlace& Place() const { return place_; }
    const std::string& Word() const { return word_; }        // empty when the whole line or file is meant
    const std::string& Mistake() const { return mistake_; }  // with the suggestion, without place and consequence

  private:
    RecipePlace place_;
    std::string word_;
    std::string mistake_;
};

// KEY=VALUE, split at the first =.
struct Setting {
    std::string text;  // as it was written
    std::string key;
    std::string value;  // with references
    RecipePlace place;
};

// A filter or a method of CIImageQOR, and its settings.
struct RecipeStep {
    std::string name;  // in any of its spellings
    std::vector<Setting> settings;
    std::string result;  // the name of its result; empty for none
    RecipePlace place;
};

// A parameter and its value, which has no references.
struct RecipeParameter {
    std::string name;
    std::string value;
    RecipePlace place;  // of the value
    std::string text;   // as it was written, for messages
};

// A named file: a picture or a table of colors. An empty path is an empty slot, which a command has to fill.
struct RecipePicture {
    std::string name;
    std::string path;  // relative to place.Folder()
    RecipePlace place;
    std::string text;
};

// An option about the output, such as --quality 90 (recipe_option_table.h).
struct RecipeOption {
    std::string name;   // with its dashes
    std::string value;  // empty for a flag
    RecipePlace place;
};

struct Recipe {
    std::vector<RecipeParameter> parameters;
    std::vector<RecipePicture> pictures;
    std::vector<RecipeStep> steps;
    std::vector<RecipeOption> options;

    std::string title;                // the comment below the first line of a file
    std::string file;                 // the recipe that a command begins with; empty for none
    std::vector<std::string> inputs;  // the pictures among the words of a command, which are not part of the recipe
};

// Whether two recipes say the same. Places, titles and inputs do not count.
[[nodiscard]] bool IsSameRecipe(const Recipe& first, const Recipe& second);

// The name that stands for the original picture.
inline constexpr const char* kInputName = "input";

// The value that stands for the incoming picture.
inline constexpr const char* kIncoming = "-";

// A part of a value: text that stands for itself, or the name of a reference.
struct ValuePart {
    bool isReference;
    std::string text;

    bool operator==(const ValuePart&) const = default;
};

// Splits a value at its references. An empty value has no parts.
[[nodiscard]] std::vector<ValuePart> PartsOf(std::string_view value);

// Returns the text that a value without references stands for.
[[nodiscard]] std::string TextOfValue(std::string_view value);

// Returns the value that stands for a text, without references.
[[nodiscard]] std::string ValueOfText(std::string_view text);

// Returns the name when the whole value is one reference; empty otherwise.
[[nodiscard]] std::string ReferenceOf(std::string_view value);

// Whether a character may be a part of a name or a key: a letter or a digit of ASCII.
[[nodiscard]] bool IsNameCharacter(char c);

// Whether a text can be the name of a parameter, picture or result: a letter, then letters and digits.
[[nodiscard]] bool IsRecipeName(std::string_view text);

// Returns the parameter or picture with a name; null for none.
[[nodiscard]] const RecipeParameter* FindParameter(const Recipe& recipe, std::string_view name);
[[nodiscard]] const RecipePicture* FindPicture(const Recipe& recipe, std::string_view name);

// Sets a parameter or fills the slot of a picture. Paths become relative to the place of the setting.
//
// Throws RecipeError for an unknown name, with a suggestion, and for a value with references.
void BindParameter(Recipe& recipe, const Setting& setting);

// Throws RecipeError unless every name is declared once, and every reference names something that stands above it.
void CheckReferences(const Recipe& recipe);

// Returns what is declared and never used, one sentence each.
[[nodiscard]] std::vector<std::string> UnusedNames(const Recipe& recipe);
