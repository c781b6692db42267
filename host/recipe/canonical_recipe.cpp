// canonical_recipe.cpp - resolves the names of each step, then prints each value by its type.

#include "host/recipe/canonical_recipe.h"

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <set>
#include <system_error>
#include <utility>

#include "host/description/names.h"
#include "host/recipe/recipe_option_table.h"
#include "host/recipe/resolved_value.h"
#include "host/recipe/setting_value.h"

namespace {

using host::Host;
using host::Type;

// The canonical form under construction, and the types that the keys with references have.
class Canonizer {
  public:
    Canonizer(Host& host, const Recipe& recipe, std::string file)
        : host_(host), recipe_(recipe), file_(std::move(file)) {
        place_.file = file_;
    }

    Recipe Result() {
        Recipe result;
        for (std::size_t i = 0; i < recipe_.steps.size(); ++i) result.steps.push_back(Step(i));
        for (const RecipeParameter& parameter : recipe_.parameters) result.parameters.push_back(Parameter(parameter));
        for (const RecipePicture& picture : recipe_.pictures) {
            const std::string path = Rebased(picture.path, picture.place);
            result.pictures.push_back({picture.name, path, place_, picture.text});
        }
        for (const RecipeOption& option : recipe_.options) result.options.push_back(Option(option));
        result.title = recipe_.title;
        result.file = file_;
        result.inputs = recipe_.inputs;
        return result;
    }

    // The type of the keys that take the whole value of a parameter or picture; null for none or several.
    const Type* TypeOf(const std::string& name) const {
        const auto type = types_.find(name);
        return type != types_.end() && type->second ? &*type->second : nullptr;
    }

  private:
    RecipeStep Step(std::size_t index) {
        const RecipeStep& step = recipe_.steps[index];
        const StepClass isa = AtPlace(step.place, step.name, [&] { return StepNamed(host_, step.name); });
        RecipeStep result = {isa.Name(), {}, step.result, place_};
        std::set<std::string> keys;
        for (const Setting& setting : step.settings) {
            const StepKey key =
                AtPlace(setting.place, setting.text, [&] { return StepKeyNamed(isa, setting.key, setting.text); });
            if (!keys.insert(key.name).second) {
                throw RecipeError(setting.place, setting.text, key.name + " is set twice");
            }
            const std::string value = ValueIn(index, setting, key.type);
            result.settings.push_back({key.name + "=" + value, key.name, value, place_});
        }
        return result;
    }

    // Checks a value and returns its canonical form.
    std::string ValueIn(std::size_t step, const Setting& setting, const Type& type) {
        const std::vector<ValuePart> parts = PartsOf(setting.value);
        const bool hasReference = std::ranges::any_of(parts, &ValuePart::isReference);
        if (hasReference && parts.size() == 1) NoteType(parts[0].text, type);
        const bool isSlot = hasReference && FindPicture(recipe_, parts[0].text) != nullptr;
        if (!isSlot) {
            const ResolvedValue value = Resolved(recipe_, step, setting, type);
            if (value.image || hasReference) {
                if (!value.image) static_cast<void>(TextIn(value.text, type, value.subject, value.place));
                return setting.value;
            }
        }
        if (isSlot) {
            if (!IsFileName(type)) static_cast<void>(Resolved(recipe_, step, setting, type));  // throws
            return setting.value;
        }
        return ValueOfText(CanonicalText(TextOfValue(setting.value), type, setting.text, setting.place));
    }

    void NoteType(const std::string& name, const Type& type) {
        const auto [known, isNew] = types_.emplace(name, type);
        if (!isNew && known->second && known->second->word != type.word) known->second.reset();
    }

    static std::string TextIn(const std::string& text, const Type& type, const std::string& subject,
                              const RecipePlace& place) {
        return AtPlace(place, subject, [&] { return CanonicalValue(type, subject, text); });
    }

    // The canonical form of a text without references. A path becomes relative to the new file.
    std::string CanonicalText(const std::string& text, const Type& type, const std::string& subject,
                              const RecipePlace& place) const {
        const std::size_t path = PathIn(type, text);
        if (path != std::string::npos) return text.substr(0, path) + Rebased(text.substr(path), place);
        return TextIn(text, type, subject, place);
    }

    RecipeParameter Parameter(const RecipeParameter& parameter) const {
        RecipeParameter result = parameter;
        result.place = place_;
        std::string text = TextOfValue(parameter.value);
        if (const Type* type = TypeOf(parameter.name)) {
            text = CanonicalText(text, *type, parameter.text, parameter.place);
        }
        result.value = ValueOfText(text);
        return result;
    }

    RecipeOption Option(const RecipeOption& option) const {
        RecipeOption result = option;
        result.place = place_;
        if (NamesFile(option)) result.value = Rebased(option.value, option.place);
        return result;
    }

    // A path relative to the new file, which was relative to the place where it was written.
    std::string Rebased(const std::string& path, const RecipePlace& place) const {
        namespace fs = std::filesystem;
        const std::string from = place.Folder(), to = place_.Folder();
        if (from == to || path.empty() || path == kIncoming || path.starts_with('/')) return path;
        const std::string resolved = ResolvedPath(path, from);
        if (to.empty()) return resolved;
        std::error_code error;
        const fs::path folder = fs::weakly_canonical(fs::absolute(resolved, error).parent_path(), error);
        const fs::path base = fs::weakly_canonical(fs::absolute(to, error), error);
        return (folder / fs::path(resolved).filename()).lexically_relative(base).string();
    }

    Host& host_;
    const Recipe& recipe_;
    std::string file_;
    RecipePlace place_;
    std::map<std::string, std::optional<Type>> types_;
};

// Turns what names files into empty slots.
class SlotMaker {
  public:
    SlotMaker(Host& host, const Canonizer& types, Recipe& recipe) : host_(host), types_(types), recipe_(recipe) {}

    void Make() {
        for (RecipePicture& picture : recipe_.pictures) picture.path.clear();
        std::erase_if(recipe_.parameters, [&](const RecipeParameter& parameter) {
            const Type* type = types_.TypeOf(parameter.name);
            if (type == nullptr || !IsFileName(*type)) return false;
            AddSlot(parameter.name);
            return true;
        });
        for (RecipeStep& step : recipe_.steps) {
            const StepClass isa = StepNamed(host_, step.name);
            for (Setting& setting : step.settings) {
                const bool isReference = setting.value == kIncoming || !ReferenceOf(setting.value).empty();
                if (isReference || !IsFileName(StepKeyNamed(isa, setting.key, setting.text).type)) continue;
                setting.value = "$" + AddSlot(FreeName(setting.key));
            }
        }
        for (const RecipeOption& option : recipe_.options) CheckOption(option);
    }

  private:
    const std::string& AddSlot(const std::string& name) {
        recipe_.pictures.push_back({name, "", {}, "picture " + name});
        return recipe_.pictures.back().name;
    }

    // The name itself, or with a number that keeps it apart from others.
    std::string FreeName(const std::string& name) const {
        std::string free = name;
        for (int number = 2; IsTaken(free); ++number) free = name + std::to_string(number);
        return free;
    }

    bool IsTaken(const std::string& name) const {
        return name == kInputName || FindParameter(recipe_, name) != nullptr || FindPicture(recipe_, name) != nullptr ||
               std::ranges::find(recipe_.steps, name, &RecipeStep::result) != recipe_.steps.end();
    }

    static void CheckOption(const RecipeOption& option) {
        const bool isPath = option.value.find_first_of("./") != std::string::npos;
        if (FindRecipeOption(option.name)->mayBeFile && isPath) {
            throw RecipeError({}, option.name + " " + option.value,
                              "a link carries no files, expected the name of a color space; no link was made");
        }
    }

    Host& host_;
    const Canonizer& types_;
    Recipe& recipe_;
};

}  // namespace

Recipe CanonicalRecipe(Host& host, const Recipe& recipe, const std::string& file) {
    return Canonizer(host, recipe, file).Result();
}

Recipe LinkableRecipe(Host& host, const Recipe& recipe) {
    Canonizer canonizer(host, recipe, "");
    Recipe result = canonizer.Result();
    SlotMaker(host, canonizer, result).Make();
    return result;
}
