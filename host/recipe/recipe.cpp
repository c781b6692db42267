// recipe.cpp - reads words, makes filters and connects them.

#include "host/recipe/recipe.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <optional>
#include <utility>
#include <variant>

#include "host/description/filter_name.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/errors.h"
#include "host/runtime/memory_block.h"
#include "host/runtime/suggestion.h"

namespace {

using host::Host;
using host::HostError;
using host::Member;
using host::ObjectReference;
using host::Value;

constexpr const char* kImageKey = "inputImage";
constexpr const char* kOutputKey = "outputImage";
constexpr const char* kIncoming = "-";

// Parses a word as a setting; empty when it is not KEY=VALUE. A key has only letters and digits, so a path
// that contains = can be written ./a=b.png.
std::optional<Setting> SettingOf(const std::string& word) {
    const auto isKeyCharacter = [](unsigned char c) { return std::isalnum(c) != 0; };
    const auto sign = std::find_if_not(word.begin(), word.end(), isKeyCharacter);
    if (sign == word.end() || *sign != '=' || sign == word.begin()) return std::nullopt;
    return Setting{word, {word.begin(), sign}, {sign + 1, word.end()}};
}

bool IsImage(const Member& member) { return member.declaration.result.word == "CIImageQOR"; }

bool IsColorCube(const Member& member) { return member.declaration.result.word == "memoryblock"; }

// The keys of a filter as text: "it takes inputImage, inputRadius".
std::string InputKeys(const host::Class& isa) {
    std::string keys;
    for (const Member& member : isa.Members()) {
        if (member.setter == nullptr || member.declaration.name == kOutputKey) continue;
        keys += (keys.empty() ? "it takes " : ", ") + member.declaration.name;
    }
    return keys.empty() ? "it takes none" : keys;
}

const Member& KeyOf(const host::Class& isa, const Setting& setting) {
    const Member* member = isa.FindMember(setting.key);
    if (member != nullptr && member->setter != nullptr) return *member;
    throw HostError(setting.text, isa.Name() + " has no key " + setting.key + ", " + InputKeys(isa));
}

// The class of a filter. The error for an unknown name suggests one in the user's own spelling.
const host::Class& FilterClass(Host& host, const std::string& name) {
    const std::string className = FilterClassName(name);
    if (const host::Class* known = host.Classes().Find(className)) return *known;
    std::vector<std::string> names;
    for (const host::Class* each : host.Classes().All()) {
        if (std::string shortName = FilterShortName(each->Name()); !shortName.empty()) names.push_back(shortName);
    }
    if (names.empty()) {
        throw HostError("filter " + name,
                        "for host version " + host::NumberText(host.Version()) + " the module registers no filters");
    }
    throw HostError("filter " + name, "there is no such filter" + host::Suggestion(FilterShortName(className), names));
}

// Sets the dimension of a color cube to the dimension of its data.
void SetCubeDimension(Host& host, const ObjectReference& filter, const Setting& setting, const Value& data) {
    constexpr const char* kDimension = "inputCubeDimension";
    if (filter->isa->FindMember(kDimension) == nullptr) return;
    const auto* block = reinterpret_cast<const ZEVAmemoryBlockStruct*>(std::get<ObjectReference>(data).Get());
    const double colors = block->size / 16.0;
    const double dimension = std::round(std::cbrt(colors));
    if (dimension * dimension * dimension != colors) {
        throw HostError(setting.text,
                        "a cube of n x n x n colors has 4 n^3 numbers, got " + host::NumberText(block->size / 4.0));
    }
    host.Set(filter.Get(), kDimension, dimension);
}

// The error for a filter without an output image. It names the image keys that are not set.
[[noreturn]] void RefuseMissingOutput(Host& host, const ObjectReference& filter, const std::string& subject) {
    std::string missing;
    for (const Member& member : filter->isa->Members()) {
        if (!IsImage(member) || member.declaration.name == kOutputKey) continue;
        if (!std::holds_alternative<std::monostate>(host.Get(filter.Get(), member.declaration.name))) continue;
        missing += (missing.empty() ? "" : ", ") + member.declaration.name;
    }
    throw HostError(subject, "it has no output image for these inputs" +
                                 (missing.empty() ? "" : " (not set: " + missing + ")") + "; nothing was written");
}

}  // namespace

Recipe ReadRecipe(const std::vector<std::string>& words) {
    Recipe recipe;
    bool expectsFilter = true;
    for (const std::string& word : words) {
        if (word == "+") {
            if (expectsFilter) break;
            expectsFilter = true;
        } else if (expectsFilter) {
            recipe.steps.push_back({word, {}});
            expectsFilter = false;
        } else if (std::optional<Setting> setting = SettingOf(word)) {
            recipe.steps.back().settings.push_back(std::move(*setting));
        } else {
            recipe.inputs.push_back(word);
        }
    }
    if (expectsFilter) throw HostError("+", "expected a filter name before and after it");
    return recipe;
}

void CheckRecipe(Host& host, const Recipe& recipe) {
    for (const RecipeStep& step : recipe.steps) {
        const host::Class& isa = FilterClass(host, step.filter);
        for (const Setting& setting : step.settings) KeyOf(isa, setting);
    }
}

std::string StepText(const RecipeStep& step) {
    std::string text = FilterClassName(step.filter);
    for (const Setting& setting : step.settings) text += " " + setting.text;
    return text;
}

ObjectReference RunStep(Host& host, const RecipeStep& step, const Value& image) {
    const std::string subject = "filter " + step.filter;
    const ObjectReference filter = host.Construct(FilterClass(host, step.filter).Name());
    const bool hasIncoming = !std::holds_alternative<std::monostate>(image);
    bool isTaken = false;
    bool isImageKeySet = false;
    // Color cubes first: a cube sets the dimension too, and a dimension in the settings must override that.
    std::vector<std::pair<const Setting*, const Member*>> settings;
    for (const Setting& setting : step.settings) settings.emplace_back(&setting, &KeyOf(*filter->isa, setting));
    std::stable_partition(settings.begin(), settings.end(), [](const auto& pair) { return IsColorCube(*pair.second); });
    for (const auto& [setting, key] : settings) {
        isImageKeySet |= setting->key == kImageKey;
        if (IsImage(*key) && setting->value == kIncoming) {
            if (!hasIncoming) throw HostError(setting->text, "there is no incoming picture");
            host.Set(filter.Get(), setting->key, image);
            isTaken = true;
            continue;
        }
        const Value value = SettingValue(host, key->declaration.result, setting->text, setting->value);
        host.Set(filter.Get(), setting->key, value);
        if (IsColorCube(*key)) SetCubeDimension(host, filter, *setting, value);
    }
    if (hasIncoming && !isTaken) {
        if (filter->isa->FindMember(kImageKey) == nullptr) throw HostError(subject, "it takes no image");
        if (isImageKeySet) {
            throw HostError(subject,
                            "inputImage is set, so no key takes the incoming picture; KEY=- passes it to a key");
        }
        host.Set(filter.Get(), kImageKey, image);
    }
    const Value output = host.Get(filter.Get(), kOutputKey);
    if (const auto* object = std::get_if<ObjectReference>(&output)) return *object;
    RefuseMissingOutput(host, filter, subject);
}
