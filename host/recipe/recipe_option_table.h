// recipe_option_table.h - the options about the output that may stand in a recipe, on lines that begin with --.
//
// They are those of "zeva apply" that say what the result looks like, not where it goes. The program binds each to a
// variable; a test compares the two.
//
// Options of a group go together: one of them in a command replaces all of them in the recipe.

#pragma once

#include <string_view>

enum class RecipeOptionKind {
    kFlag,           // --fit
    kValue,          // --quality 90
    kOptionalValue,  // --strip or --strip=gps
};

struct RecipeOptionRow {
    std::string_view name;
    RecipeOptionKind kind;
    std::string_view group;          // empty for an option by itself
    bool mayBeFile = false;          // a value that is the path of a file is relative to the recipe
    std::string_view standard = {};  // the value of kOptionalValue when there is none
};

// clang-format off
inline constexpr RecipeOptionRow kRecipeOptions[] = {
    {"--resize",        RecipeOptionKind::kValue, "size"},
    {"--fit",           RecipeOptionKind::kFlag,  "size"},
    {"--fill",          RecipeOptionKind::kFlag,  "size"},
    {"--rect",          RecipeOptionKind::kValue, "part"},
    {"--keep-size",     RecipeOptionKind::kFlag,  "part"},
    {"--quality",       RecipeOptionKind::kValue, ""},
    {"--compression",   RecipeOptionKind::kValue, ""},
    {"--depth",         RecipeOptionKind::kValue, ""},
    {"--subsampling",   RecipeOptionKind::kValue, ""},
    {"--progressive",   RecipeOptionKind::kFlag,  ""},
    {"--lossless",      RecipeOptionKind::kFlag,  ""},
    {"--strip",         RecipeOptionKind::kOptionalValue, "", false, "all"},
    {"--color-space",   RecipeOptionKind::kValue, "", /*mayBeFile=*/true},
    {"--working-space", RecipeOptionKind::kValue, "", /*mayBeFile=*/true},
};
// clang-format on

// Returns the row of an option; null for a name that is not in the table.
[[nodiscard]] constexpr const RecipeOptionRow* FindRecipeOption(std::string_view name) {
    for (const RecipeOptionRow& row : kRecipeOptions) {
        if (row.name == name) return &row;
    }
    return nullptr;
}
