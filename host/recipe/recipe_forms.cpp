// recipe_forms.cpp - quotes words for a shell; walks the recipe for JSON.

#include "host/recipe/recipe_forms.h"

#include <algorithm>
#include <string_view>
#include <vector>

#include "host/recipe/recipe_syntax.h"

namespace {

using host::Json;

// A member whose value may hold the name of a file, which need not be text.
Json Named(const char* member, const std::string& value) {
    Json object = Json::MakeObject();
    object.SetName(member, value);
    return object;
}

}  // namespace

std::string ShellWord(const std::string& word) {
    constexpr std::string_view kPlain = "%+,-./:=@_";
    const auto isPlain = [&](char c) {
        const bool isLetterOrDigit = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        return isLetterOrDigit || kPlain.find(c) != std::string_view::npos;
    };
    if (!word.empty() && std::ranges::all_of(word, isPlain)) return word;
    std::string quoted = "'";
    for (const char c : word) quoted += c == '\'' ? "'\\''" : std::string(1, c);
    return quoted + "'";
}

std::string RecipeCommandLine(const Recipe& recipe) {
    std::string command = "zeva apply";
    for (const std::vector<std::string>& words : {CommandWords(recipe), OptionWords(recipe)}) {
        for (const std::string& word : words) command += " " + ShellWord(word);
    }
    return command;
}

Json RecipeJson(const Recipe& recipe) {
    Json parameters = Json::MakeArray(), pictures = Json::MakeArray();
    Json steps = Json::MakeArray(), options = Json::MakeArray();
    const auto add = [](Json& list, Json object, const char* member, const std::string& value) {
        object.Merge(Named(member, value));
        list.push_back(std::move(object));
    };
    for (const RecipeParameter& parameter : recipe.parameters) {
        add(parameters, Named("name", parameter.name), "value", parameter.value);
    }
    for (const RecipePicture& picture : recipe.pictures)
        add(pictures, Named("name", picture.name), "path", picture.path);
    for (const RecipeStep& step : recipe.steps) {
        Json settings = Json::MakeArray();
        for (const Setting& setting : step.settings) add(settings, Named("key", setting.key), "value", setting.value);
        Json object = Named("name", step.name);
        object["settings"] = std::move(settings);
        object["result"] = step.result.empty() ? Json() : Json(step.result);
        steps.push_back(std::move(object));
    }
    for (const RecipeOption& option : recipe.options) {
        add(options, Named("name", option.name), "value", option.value);
    }
    Json object = Json::MakeObject();
    object["version"] = 1;
    object["parameters"] = std::move(parameters);
    object["pictures"] = std::move(pictures);
    object["steps"] = std::move(steps);
    object["options"] = std::move(options);
    return object;
}
