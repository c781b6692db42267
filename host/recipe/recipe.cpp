// recipe.cpp - references, names and parameters.

#include "host/recipe/recipe.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <set>

#include "host/runtime/suggestion.h"
#include "host/runtime/text.h"

namespace {

bool IsLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

// "warm.recipe:4: ", or nothing for a command.
std::string PlaceText(const RecipePlace& place) {
    if (place.file.empty()) return {};
    return place.file + (place.line > 0 ? ":" + std::to_string(place.line) : "") + ": ";
}

// The first part of a message. A message has a subject, so the file is it where no word is.
std::string SubjectText(const RecipePlace& place, const std::string& word) {
    if (!word.empty()) return PlaceText(place) + word;
    std::string text = PlaceText(place);
    if (text.size() >= 2) text.resize(text.size() - 2);
    return text;
}

// What follows from a mistake in a file, unless the problem says so already.
const char* ConsequenceOf(const RecipePlace& place, const std::string& problem) {
    return place.file.empty() || problem.ends_with("; nothing was written") ? "" : "; nothing was run";
}

constexpr std::size_t kLongestShownWord = 80;

// A word as a message shows it: not longer than a line.
std::string ShownWord(const std::string& word) {
    if (word.size() <= kLongestShownWord) return word;
    return std::string(host::Beginning(word, kLongestShownWord)) + "...";
}

std::vector<std::string> NamesOf(const Recipe& recipe) {
    std::vector<std::string> names;
    for (const RecipeParameter& parameter : recipe.parameters) names.push_back(parameter.name);
    for (const RecipePicture& picture : recipe.pictures) names.push_back(picture.name);
    return names;
}

// Where a name is declared, for messages.
std::string DeclaredText(const RecipePlace& place) {
    return place.line > 0 ? "in line " + std::to_string(place.line) : "before";
}

// Checks the names of a recipe in the order in which they are visible: declarations, then steps.
class ReferenceChecker {
  public:
    explicit ReferenceChecker(const Recipe& recipe) : recipe_(recipe) {
        for (const RecipeStep& step : recipe.steps) {
            if (!step.result.empty()) later_.emplace(step.result, &step.place);
        }
    }

    void Check() {
        declared_.emplace(kInputName, RecipePlace());
        for (const RecipeParameter& parameter : recipe_.parameters) Declare(parameter.name, parameter.place);
        for (const RecipePicture& picture : recipe_.pictures) Declare(picture.name, picture.place);
        for (const RecipeStep& step : recipe_.steps) {
            for (const Setting& setting : step.settings) CheckValue(step, setting);
            if (!step.result.empty()) Declare(step.result, step.place);
        }
    }

  private:
    void Declare(const std::string& name, const RecipePlace& place) {
        if (name == kInputName) {
            throw RecipeError(place, "$" + name, "the name stands for the original picture, expected another one");
        }
        const auto [other, isNew] = declared_.emplace(name, place);
        if (isNew) return;
        throw RecipeError(place, "$" + name,
                          "the name is taken " + DeclaredText(other->second) + ", expected another one");
    }

    void CheckValue(const RecipeStep& step, const Setting& setting) const {
        for (const ValuePart& part : PartsOf(setting.value)) {
            if (!part.isReference) continue;
            const auto declared = declared_.find(part.text);
            if (declared == declared_.end()) RefuseUnknown(setting, part.text);
            if (IsAbove(declared->second, step.place)) continue;
            throw RecipeError(setting.place, setting.text,
                              "$" + part.text + " is declared in line " + std::to_string(declared->second.line) +
                                  ", expected its declaration above this line");
        }
    }

    // Declarations that stand below a step in the same file are not visible in it.
    static bool IsAbove(const RecipePlace& declared, const RecipePlace& step) {
        return declared.file != step.file || declared.line <= step.line;
    }

    [[noreturn]] void RefuseUnknown(const Setting& setting, const std::string& name) const {
        if (const auto later = later_.find(name); later != later_.end()) {
            const int line = later->second->line;
            throw RecipeError(setting.place, setting.text,
                              "$" + name + " is the result of " +
                                  (line > 0 ? "line " + std::to_string(line) : std::string("a later step")) +
                                  ", a step can only use results of earlier steps");
        }
        std::vector<std::string> names;
        for (const auto& [each, place] : declared_) names.push_back(each);
        std::vector<std::string> nearest = host::Nearest(name, names);
        for (std::string& each : nearest) each.insert(0, 1, '$');
        throw RecipeError(setting.place, setting.text,
                          "there is no $" + name + host::SuggestionText(nearest) +
                              "; a reference names a parameter, a picture or the result of an earlier step");
    }

    const Recipe& recipe_;
    std::map<std::string, RecipePlace> declared_;
    std::map<std::string, const RecipePlace*> later_;
};

}  // namespace

std::string RecipePlace::Folder() const {
    return file == kLinkFile ? std::string() : std::filesystem::path(file).parent_path().string();
}

RecipeError::RecipeError(const RecipePlace& place, const std::string& word, const std::string& problem, int errorNumber)
    : HostError(SubjectText(place, ShownWord(word)), problem + ConsequenceOf(place, problem), errorNumber),
      place_(place),
      word_(word),
      mistake_(problem) {}

bool IsSameRecipe(const Recipe& first, const Recipe& second) {
    const auto isSame = [](const auto& a, const auto& b, auto isSameItem) {
        return std::equal(a.begin(), a.end(), b.begin(), b.end(), isSameItem);
    };
    // A lone $ means the same with a backslash and without.
    const auto isSameValue = [](const std::string& a, const std::string& b) { return PartsOf(a) == PartsOf(b); };
    return isSame(first.parameters, second.parameters,
                  [&](auto& a, auto& b) { return a.name == b.name && isSameValue(a.value, b.value); }) &&
           isSame(first.pictures, second.pictures,
                  [](auto& a, auto& b) { return a.name == b.name && a.path == b.path; }) &&
           isSame(first.options, second.options,
                  [](auto& a, auto& b) { return a.name == b.name && a.value == b.value; }) &&
           isSame(first.steps, second.steps, [&](auto& a, auto& b) {
               return a.name == b.name && a.result == b.result && isSame(a.settings, b.settings, [&](auto& s, auto& t) {
                          return s.key == t.key && isSameValue(s.value, t.value);
                      });
           });
}

std::vector<ValuePart> PartsOf(std::string_view value) {
    std::vector<ValuePart> parts;
    std::string text;
    const auto endText = [&] {
        if (!text.empty()) parts.push_back({false, std::move(text)});
        text.clear();
    };
    for (std::size_t i = 0; i < value.size();) {
        const char next = i + 1 < value.size() ? value[i + 1] : '\0';
        const bool isBehindReference = text.empty() && !parts.empty() && parts.back().isReference;
        if (value[i] == '\\' && (next == '\\' || next == '$' || (isBehindReference && IsNameCharacter(next)))) {
            text += next;
            i += 2;
        } else if (value[i] == '$' && IsLetter(next)) {
            endText();
            std::size_t end = i + 1;
            while (end < value.size() && IsNameCharacter(value[end])) ++end;
            parts.push_back({true, std::string(value.substr(i + 1, end - i - 1))});
            i = end;
        } else {
            text += value[i++];
        }
    }
    endText();
    return parts;
}

std::string TextOfValue(std::string_view value) {
    std::string text;
    for (const ValuePart& part : PartsOf(value)) text += (part.isReference ? "$" : "") + part.text;
    return text;
}

std::string ValueOfText(std::string_view text) {
    std::string value;
    for (const char c : text) {
        if (c == '\\' || c == '$') value += '\\';
        value += c;
    }
    return value;
}

std::string ReferenceOf(std::string_view value) {
    if (!value.starts_with('$') || !IsRecipeName(value.substr(1))) return {};
    return std::string(value.substr(1));
}

bool IsNameCharacter(char c) { return IsLetter(c) || (c >= '0' && c <= '9'); }

bool IsRecipeName(std::string_view text) {
    return !text.empty() && IsLetter(text.front()) && std::all_of(text.begin(), text.end(), IsNameCharacter);
}

const RecipeParameter* FindParameter(const Recipe& recipe, std::string_view name) {
    const auto found = std::ranges::find(recipe.parameters, name, &RecipeParameter::name);
    return found == recipe.parameters.end() ? nullptr : &*found;
}

const RecipePicture* FindPicture(const Recipe& recipe, std::string_view name) {
    const auto found = std::ranges::find(recipe.pictures, name, &RecipePicture::name);
    return found == recipe.pictures.end() ? nullptr : &*found;
}

void BindParameter(Recipe& recipe, const Setting& setting) {
    const std::vector<ValuePart> parts = PartsOf(setting.value);
    if (std::ranges::any_of(parts, &ValuePart::isReference)) {
        throw RecipeError(setting.place, setting.text, "the value of a parameter takes no references");
    }
    if (const RecipeParameter* parameter = FindParameter(recipe, setting.key)) {
        auto& bound = recipe.parameters[static_cast<std::size_t>(parameter - recipe.parameters.data())];
        bound.value = setting.value;
        bound.place = setting.place;
        bound.text = setting.text;
    } else if (const RecipePicture* picture = FindPicture(recipe, setting.key)) {
        auto& bound = recipe.pictures[static_cast<std::size_t>(picture - recipe.pictures.data())];
        bound.path = TextOfValue(setting.value);
        bound.place = setting.place;
        bound.text = setting.text;
    } else {
        const std::vector<std::string> names = NamesOf(recipe);
        std::string list;
        for (const std::string& name : names) list += (list.empty() ? "" : ", ") + name;
        throw RecipeError(setting.place, setting.text,
                          (recipe.file.empty() ? std::string("the recipe") : recipe.file) + " has no parameter " +
                              setting.key + host::Suggestion(setting.key, names) +
                              (list.empty() ? "; it takes none" : "; it takes " + list));
    }
}

void CheckReferences(const Recipe& recipe) { ReferenceChecker(recipe).Check(); }

std::vector<std::string> UnusedNames(const Recipe& recipe) {
    std::set<std::string> used;
    for (const RecipeStep& step : recipe.steps) {
        for (const Setting& setting : step.settings) {
            for (const ValuePart& part : PartsOf(setting.value)) {
                if (part.isReference) used.insert(part.text);
            }
        }
    }
    std::vector<std::string> notes;
    const auto note = [&](const RecipePlace& place, const char* kind, const std::string& name) {
        if (!used.contains(name)) notes.push_back(PlaceText(place) + kind + " $" + name + " is never used");
    };
    for (const RecipeParameter& parameter : recipe.parameters) note(parameter.place, "the parameter", parameter.name);
    for (const RecipePicture& picture : recipe.pictures) note(picture.place, "the picture", picture.name);
    for (const RecipeStep& step : recipe.steps) {
        if (!step.result.empty()) note(step.place, "the result", step.result);
    }
    return notes;
}
