// resolved_value.h - what the value of a setting is once its references are followed.
//
// Lifetime: a resolved value is a copy.
// Failure:  RecipeError for a reference that the key cannot take, and for an empty slot.
// Threads:  any; nothing is shared.

#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "host/recipe/recipe.h"
#include "host/runtime/declaration.h"

struct ResolvedValue {
    std::optional<std::size_t> image;  // 0 for the original picture, i for the result of step i; none for a text
    std::string text;                  // a relative path is relative to the current folder
    std::string subject;               // what messages about the text name
    RecipePlace place;                 // where the text was written
};

// Follows the references of a setting of recipe.steps[step], whose key has a type.
[[nodiscard]] ResolvedValue Resolved(const Recipe& recipe, std::size_t step, const Setting& setting,
                                     const host::Type& type);

// Returns a path of a recipe so that it is relative to the current folder.
[[nodiscard]] std::string ResolvedPath(const std::string& path, const std::string& folder);

// Whether the value of an option is the name of a file that is there.
[[nodiscard]] bool NamesFile(const RecipeOption& option);

// Returns the value of an option; that of a file like a path.
[[nodiscard]] std::string ResolvedOption(const RecipeOption& option);

// Runs work for something that was written at a place, and throws what it throws as a RecipeError of that place. A word
// of a command has no place, and its errors stay as they are.
template <typename Work>
auto AtPlace(const RecipePlace& place, const std::string& word, Work work) {
    try {
        return work();
    } catch (const RecipeError&) {
        throw;
    } catch (const host::OutOfMemory&) {
        throw;
    } catch (const host::HostError& error) {
        if (place.file.empty()) throw;
        throw RecipeError(place, error.Subject(), error.Problem(), error.ErrorNumber());
    } catch (const host::HostException& error) {
        if (place.file.empty()) throw;
        throw RecipeError(place, word, error.Message(), error.ErrorNumber());
    }
}
