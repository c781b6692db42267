// recipe.cpp - sorts words, makes filters and connects them.

#include "host/recipe/recipe.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "host/runtime/errors.h"
#include "host/runtime/memory_block.h"
#include "host/description/filter_name.h"
#include "host/recipe/setting_value.h"
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

// KEY=VALUE in its two parts.
struct Setting {
    std::string text;
    std::string key;
    std::string value;
};

Setting SettingOf(const std::string& text) {
    const std::size_t sign = text.find('=');
    return {text, text.substr(0, sign), text.substr(sign + 1)};
}

// Whether a word is KEY=VALUE: a path with a = in it can be written ./a=b.png.
bool IsSetting(const std::string& word) {
    const auto isKeyCharacter = [](unsigned char c) { return std::isalnum(c) != 0; };
    const auto sign = std::find_if_not(word.begin(), word.end(), isKeyCharacter);
    return sign != word.end() && *sign == '=' && sign != word.begin();
}

bool IsImage(const Member& member) { return member.declaration.result.word == "CIImageQOR"; }

// The inputs of a filter, in words.
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

// The class of a filter; an unknown name gets an answer in the user's own spelling.
const host::Class& FilterClass(Host& session, const std::string& name) {
    const std::string className = FilterClassName(name);
    if (const host::Class* known = session.Classes().Find(className)) return *known;
    std::vector<std::string> names;
    for (const host::Class* each : session.Classes().All()) {
        if (std::string shortName = FilterShortName(each->Name()); !shortName.empty()) names.push_back(shortName);
    }
    if (names.empty()) {
        throw HostError("filter " + name,
                        "for host version " + host::NumberText(session.Version()) + " the module registers no filters");
    }
    throw HostError("filter " + name, "there is no such filter" + host::Suggestion(FilterShortName(className), names));
}

// Sets the dimension of a color cube to that of its data, since the data alone says it.
void SetCubeDimension(Host& session, const ObjectReference& filter, const Setting& setting, const Value& data) {
    constexpr const char* kDimension = "inputCubeDimension";
    if (filter->isa->FindMember(kDimension) == nullptr) return;
    const auto* block = reinterpret_cast<const ZEVAmemoryBlockStruct*>(std::get<ObjectReference>(data).Get());
    const double colors = block->size / 16.0;
    const double dimension = std::round(std::cbrt(colors));
    if (dimension * dimension * dimension != colors) {
        throw HostError(setting.text,
                        "a cube of n x n x n colors has 4 n^3 numbers, got " + host::NumberText(block->size / 4.0));
    }
    session.Set(filter.Get(), kDimension, dimension);
}

}  // namespace

Recipe ReadRecipe(const std::vector<std::string>& words) {
    Recipe recipe;
    bool filterComes = true;
    for (const std::string& word : words) {
        if (word == "+") {
            if (filterComes) break;
            filterComes = true;
        } else if (filterComes) {
            recipe.steps.push_back({word, {}});
            filterComes = false;
        } else if (IsSetting(word)) {
            recipe.steps.back().settings.push_back(word);
        } else {
            recipe.inputs.push_back(word);
        }
    }
    if (filterComes) throw HostError("+", "a filter's name was expected before and after it");
    return recipe;
}

void CheckRecipe(Host& session, const Recipe& recipe) {
    for (const RecipeStep& step : recipe.steps) {
        const host::Class& isa = FilterClass(session, step.filter);
        for (const std::string& setting : step.settings) KeyOf(isa, SettingOf(setting));
    }
}

std::string StepText(const RecipeStep& step) {
    std::string text = FilterClassName(step.filter);
    for (const std::string& setting : step.settings) text += " " + setting;
    return text;
}

ObjectReference RunStep(Host& session, const RecipeStep& step, const Value& image) {
    const std::string subject = "filter " + step.filter;
    const ObjectReference filter = session.Construct(FilterClass(session, step.filter).Name());
    const bool hasIncoming = !std::holds_alternative<std::monostate>(image);
    bool isTaken = false;
    bool isImageKeySet = false;
    // The dimension that goes with the data stands back behind one that is set by hand: data first.
    std::vector<Setting> settings;
    for (const std::string& text : step.settings) settings.push_back(SettingOf(text));
    std::stable_partition(settings.begin(), settings.end(), [&](const Setting& setting) {
        return KeyOf(*filter->isa, setting).declaration.result.word == "memoryblock";
    });
    for (const Setting& setting : settings) {
        const Member& key = KeyOf(*filter->isa, setting);
        isImageKeySet |= setting.key == kImageKey;
        if (IsImage(key) && setting.value == kIncoming) {
            if (!hasIncoming) throw HostError(setting.text, "no picture comes in here");
            session.Set(filter.Get(), setting.key, image);
            isTaken = true;
            continue;
        }
        const Value value = SettingValue(session, key.declaration.result, setting.text, setting.value);
        session.Set(filter.Get(), setting.key, value);
        if (key.declaration.result.word == "memoryblock") SetCubeDimension(session, filter, setting, value);
    }
    if (hasIncoming && !isTaken) {
        if (filter->isa->FindMember(kImageKey) == nullptr) throw HostError(subject, "it takes no image");
        if (isImageKeySet) {
            throw HostError(subject,
                            "inputImage is set, so the picture that comes in is used by no key, KEY=- takes it");
        }
        session.Set(filter.Get(), kImageKey, image);
    }
    const Value output = session.Get(filter.Get(), kOutputKey);
    if (const auto* object = std::get_if<ObjectReference>(&output)) return *object;
    std::string missing;
    for (const Member& member : filter->isa->Members()) {
        if (!IsImage(member) || member.declaration.name == kOutputKey) continue;
        if (!std::holds_alternative<std::monostate>(session.Get(filter.Get(), member.declaration.name))) continue;
        missing += (missing.empty() ? "" : ", ") + member.declaration.name;
    }
    throw HostError(subject, "it gives no image from these inputs" +
                                 (missing.empty() ? "" : " (not set: " + missing + ")") + ", nothing is written");
}
