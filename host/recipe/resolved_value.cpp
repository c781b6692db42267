// resolved_value.cpp - parameters become text, pictures become paths, and results become the numbers of images.

#include "host/recipe/resolved_value.h"

#include <filesystem>
#include <system_error>

#include "host/recipe/recipe_option_table.h"
#include "host/recipe/setting_value.h"

namespace {

bool IsImageType(const host::Type& type) { return type.word == "CIImageQOR"; }

// The number of the image with a name; none when no image above the step has it.
std::optional<std::size_t> ImageNamed(const Recipe& recipe, std::size_t step, const std::string& name) {
    if (name == kInputName) return 0;
    for (std::size_t i = 0; i < step; ++i) {
        if (recipe.steps[i].result == name) return i + 1;
    }
    return std::nullopt;
}

std::string PathOf(const RecipePicture& picture, const Setting& setting) {
    if (!picture.path.empty()) return ResolvedPath(picture.path, picture.place.Folder());
    throw RecipeError(setting.place, setting.text,
                      "the picture $" + picture.name + " is an empty slot, " + picture.name + "=FILE fills it");
}

// The path in a text, relative to the current folder.
std::string WithResolvedPath(const std::string& text, const host::Type& type, const std::string& folder) {
    const std::size_t start = PathIn(type, text);
    if (start == std::string::npos || (start == 0 && text.empty())) return text;
    return text.substr(0, start) + ResolvedPath(text.substr(start), folder);
}

}  // namespace

ResolvedValue Resolved(const Recipe& recipe, std::size_t step, const Setting& setting, const host::Type& type) {
    ResolvedValue value = {std::nullopt, "", setting.text, setting.place};
    const std::vector<ValuePart> parts = PartsOf(setting.value);
    for (const ValuePart& part : parts) {
        if (!part.isReference) {
            value.text += part.text;
            continue;
        }
        const bool isWhole = parts.size() == 1;
        if (const RecipeParameter* parameter = FindParameter(recipe, part.text)) {
            value.text += TextOfValue(parameter->value);
            if (isWhole) {
                value.subject = parameter->text;
                value.place = parameter->place;
            }
            continue;
        }
        if (!isWhole) {
            throw RecipeError(setting.place, setting.text,
                              "$" + part.text + " is a picture, only a parameter can be a part of a value");
        }
        const RecipePicture* picture = FindPicture(recipe, part.text);
        const bool isFileType = IsImageType(type) || (picture != nullptr && IsFileName(type));
        if (!isFileType) {
            throw RecipeError(setting.place, setting.text, "$" + part.text + " is a picture, expected a " + type.word);
        }
        if (picture == nullptr) {
            value.image = ImageNamed(recipe, step, part.text);
            return value;
        }
        value.subject = picture->text;
        value.place = picture->place;
        value.text = PathOf(*picture, setting);
        const bool isTable = IsImageType(type) || value.text.ends_with(".cube");
        if (!isTable) value.text.insert(0, 1, '@');
        return value;
    }
    if (IsImageType(type) && value.text == kIncoming) {
        value.image = step;
    } else {
        value.text = WithResolvedPath(value.text, type, value.place.Folder());
    }
    return value;
}

std::string ResolvedPath(const std::string& path, const std::string& folder) {
    return folder.empty() || path.starts_with('/') ? path : folder + "/" + path;
}

bool NamesFile(const RecipeOption& option) {
    std::error_code error;
    return FindRecipeOption(option.name)->mayBeFile &&
           std::filesystem::is_regular_file(ResolvedPath(option.value, option.place.Folder()), error);
}

std::string ResolvedOption(const RecipeOption& option) {
    return NamesFile(option) ? ResolvedPath(option.value, option.place.Folder()) : option.value;
}
