// recipe_print.cpp - the lines and words of a recipe, quoted where they would read differently.

#include <string>
#include <vector>

#include "host/recipe/recipe_option_table.h"
#include "host/recipe/recipe_syntax.h"

namespace {

// Adds a part of a value to a word of a file, quoted where it has to be.
void AddQuoted(std::string& word, const std::string& text, bool isForced) {
    if (text.find_first_of("\n\r") != std::string::npos || text.find('\0') != std::string::npos) {
        throw RecipeError({}, ValueOfText(text), "a recipe cannot hold a line break or a zero byte");
    }
    if (!isForced && text.find_first_of(" \t\"\\$") == std::string::npos) {
        word += text;
        return;
    }
    word += '"';
    for (const char c : text) {
        if (c == '"' || c == '\\') word += '\\';
        word += c;
    }
    word += '"';
}

// A value as a word of a file.
std::string ValueWord(const std::string& value) {
    std::string word;
    bool isBehindReference = false;
    for (const ValuePart& part : PartsOf(value)) {
        if (part.isReference) {
            word += "$" + part.text;
        } else {
            AddQuoted(word, part.text, isBehindReference && IsNameCharacter(part.text.front()));
        }
        isBehindReference = part.isReference;
    }
    return word;
}

// A whole word with a text: also not empty, not an operator and not a comment.
std::string TextWord(const std::string& text) {
    std::string word;
    const bool isForced = text.empty() || text.front() == '#' || text == kEquals || text == kArrow;
    AddQuoted(word, text, isForced);
    return word;
}

std::string Joined(const std::vector<std::string>& words) {
    std::string line;
    for (const std::string& word : words) line += (line.empty() ? "" : " ") + word;
    return line;
}

}  // namespace

std::vector<std::string> StepWords(const RecipeStep& step) {
    std::vector<std::string> words = {step.name};
    for (const Setting& setting : step.settings) words.push_back(setting.key + "=" + setting.value);
    if (!step.result.empty()) words.insert(words.end(), {kArrow, "$" + step.result});
    return words;
}

std::vector<std::string> RecipeLines(const Recipe& recipe) {
    std::vector<std::string> lines;
    for (const RecipeParameter& parameter : recipe.parameters) {
        lines.push_back(parameter.name + " = " + TextWord(TextOfValue(parameter.value)));
    }
    for (const RecipePicture& picture : recipe.pictures) {
        lines.push_back("picture " + picture.name + " = " + TextWord(picture.path));
    }
    for (const RecipeStep& step : recipe.steps) {
        std::vector<std::string> words = {TextWord(step.name)};
        for (const Setting& setting : step.settings) words.push_back(setting.key + "=" + ValueWord(setting.value));
        if (!step.result.empty()) words.insert(words.end(), {kArrow, "$" + step.result});
        lines.push_back(Joined(words));
    }
    for (const RecipeOption& option : recipe.options) {
        std::string line = option.name;
        const RecipeOptionRow& row = *FindRecipeOption(option.name);
        const bool isOptional = row.kind == RecipeOptionKind::kOptionalValue;
        if (isOptional && option.value != row.standard) line += "=" + TextWord(option.value);
        if (row.kind == RecipeOptionKind::kValue) line += " " + TextWord(option.value);
        lines.push_back(line);
    }
    return lines;
}

std::string RecipeText(const Recipe& recipe) {
    std::string text = std::string(kRecipeHeader) + "\n";
    for (const std::string& line : RecipeLines(recipe)) text += line + "\n";
    return text;
}

std::vector<std::string> CommandWords(const Recipe& recipe) {
    std::vector<std::string> words;
    const auto add = [&](const std::vector<std::string>& line) {
        if (!words.empty()) words.emplace_back(kSeparator);
        words.insert(words.end(), line.begin(), line.end());
    };
    for (const RecipeParameter& parameter : recipe.parameters) add({parameter.name, kEquals, parameter.value});
    for (const RecipePicture& picture : recipe.pictures) {
        add({kPicture, picture.name, kEquals, ValueOfText(picture.path)});
    }
    for (const RecipeStep& step : recipe.steps) add(StepWords(step));
    return words;
}

std::vector<std::string> OptionWords(const Recipe& recipe) {
    std::vector<std::string> words;
    for (const RecipeOption& option : recipe.options) {
        const RecipeOptionRow& row = *FindRecipeOption(option.name);
        const bool isJoined = row.kind == RecipeOptionKind::kOptionalValue && option.value != row.standard;
        words.push_back(option.name + (isJoined ? "=" + option.value : ""));
        if (row.kind == RecipeOptionKind::kValue) words.push_back(option.value);
    }
    return words;
}
