// recipe.cpp - reads words, makes filters and connects them.

#include "host/recipe/recipe.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <utility>
#include <variant>

#include "host/description/class_description.h"
#include "host/description/names.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/errors.h"
#include "host/runtime/memory_block.h"

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

// Whether a word is the name of a file and not that of a filter, which has neither a point nor a slash.
bool IsFile(const std::string& word) { return word == kIncoming || word.find_first_of("./") != std::string::npos; }

bool IsImage(const Member& member) { return member.declaration.result.word == "CIImageQOR"; }

bool IsColorCube(const Member& member) { return member.declaration.result.word == "memoryblock"; }

constexpr const char* kDimensionKey = "inputCubeDimension";

std::int32_t SizeOf(const Value& block) {
    return reinterpret_cast<const ZEVAmemoryBlockStruct*>(std::get<ObjectReference>(block).Get())->size;
}

std::int64_t NumbersOfCube(double dimension) {
    return static_cast<std::int64_t>(4 * dimension * dimension * dimension);
}

// Returns the dimension of a color cube with this data.
double DimensionOf(const Setting& setting, const Value& data) {
    const double numbers = SizeOf(data) / static_cast<double>(sizeof(float));
    const double dimension = std::round(std::cbrt(numbers / 4));
    if (dimension >= 2 && static_cast<double>(NumbersOfCube(dimension)) == numbers) return dimension;
    throw HostError(setting.text, "a cube of n x n x n colors has 4 n^3 numbers, at least " +
                                      std::to_string(NumbersOfCube(2)) + ", got " + host::NumberText(numbers));
}

// Checks a number or a list of numbers against what is known of its key.
void CheckValue(Host& host, const ObjectReference& filter, const Member& key, const Setting& setting,
                const Value& value) {
    const auto* object = std::get_if<ObjectReference>(&value);
    const bool isVector = object != nullptr && key.declaration.result.word == "CIVectorQOR";
    if (const auto* number = std::get_if<double>(&value)) {
        const std::string& name = key.declaration.name;
        const bool isSize = name.find("Radius") != std::string::npos || name.find("Width") != std::string::npos;
        if (isSize && *number < 0) throw HostError(setting.text, "expected a number of at least 0");
    } else if (isVector) {
        const PropertyDescription description = DescribeProperty(host, filter, key);
        const DescribedValue described = DescribeValue(host, value);
        const auto& numbers = std::get<std::vector<double>>(described);
        const DescribedValue* standard = description.Find("default");
        const auto* wanted = standard != nullptr ? std::get_if<std::vector<double>>(standard) : nullptr;
        if (wanted != nullptr && wanted->size() != numbers.size()) {
            throw HostError(setting.text, "expected " + std::to_string(wanted->size()) + " numbers, got " +
                                              std::to_string(numbers.size()));
        }
        if (description.unit == "rectangle" && numbers.size() == 4 && (numbers[2] < 0 || numbers[3] < 0)) {
            throw HostError(setting.text, "expected a width and a height of at least 0");
        }
    }
}

// The error for a filter without an output image. It names the image keys that are not set.
[[noreturn]] void RefuseMissingOutput(Host& host, const ObjectReference& filter, const std::string& subject) {
    std::string missing;
    for (const Member& member : filter->isa->Members()) {
        if (!IsImage(member) || member.declaration.name == kOutputKey) continue;
        if (!std::holds_alternative<std::monostate>(host.Get(filter.Get(), member.declaration.name))) continue;
        missing += (missing.empty() ? "" : ", ") + member.declaration.name;
    }
    const std::string problem = "it has no output image for these inputs";
    if (!missing.empty()) throw MissingKeys(subject, problem + " (not set: " + missing + "); nothing was written");
    throw HostError(subject, problem + "; nothing was written");
}

PreparedStep PrepareStep(Host& host, const RecipeStep& step, bool hasIncoming) {
    const std::string subject = "filter " + step.filter;
    const host::Class& isa = FilterNamed(host, step.filter);
    const ObjectReference filter = host.Construct(isa.Name());
    PreparedStep prepared = {&step, &isa, {}};
    bool isTaken = false;
    bool isImageKeySet = false;
    std::optional<double> dimensionOfData;
    for (const Setting& setting : step.settings) {
        const Member& key = KeyNamed(isa, setting.key, setting.text);
        const std::string& name = key.declaration.name;
        isImageKeySet |= name == kImageKey;
        if (IsImage(key) && setting.value == kIncoming) {
            if (!hasIncoming) throw HostError(setting.text, "there is no incoming picture");
            prepared.values.emplace_back(name, std::nullopt);
            isTaken = true;
            continue;
        }
        Value value = SettingValue(host, key.declaration.result, setting.text, setting.value);
        CheckValue(host, filter, key, setting, value);
        if (IsColorCube(key)) dimensionOfData = DimensionOf(setting, value);
        prepared.values.emplace_back(name, std::move(value));
    }
    if (dimensionOfData && isa.FindMember(kDimensionKey) != nullptr) {
        const auto isDimension = [](const auto& pair) { return pair.first == kDimensionKey; };
        const auto dimension = std::find_if(prepared.values.begin(), prepared.values.end(), isDimension);
        if (dimension == prepared.values.end()) {
            prepared.values.emplace_back(kDimensionKey, *dimensionOfData);
        } else if (std::get<double>(*dimension->second) != *dimensionOfData) {
            const double wanted = std::get<double>(*dimension->second);
            throw HostError(subject, "a cube of the dimension " + host::NumberText(wanted) + " has " +
                                         std::to_string(NumbersOfCube(wanted)) + " numbers, got " +
                                         std::to_string(NumbersOfCube(*dimensionOfData)));
        }
    }
    if (hasIncoming && !isTaken) {
        if (isa.FindMember(kImageKey) == nullptr) throw HostError(subject, "it takes no image");
        if (isImageKeySet) {
            throw HostError(subject,
                            "inputImage is set, so no key takes the incoming picture; KEY=- passes it to a key");
        }
        prepared.values.emplace_back(kImageKey, std::nullopt);
    }
    return prepared;
}

}  // namespace

Recipe ReadRecipe(const std::vector<std::string>& words) {
    Recipe recipe;
    bool expectsFilter = true;
    for (const std::string& word : words) {
        if (word == "+") {
            const bool isMisplaced = expectsFilter || recipe.steps.empty();
            expectsFilter = true;
            if (isMisplaced) break;
        } else if (expectsFilter && !(recipe.steps.empty() && IsFile(word))) {
            recipe.steps.push_back({word, {}});
            expectsFilter = false;
        } else if (std::optional<Setting> setting = SettingOf(word)) {
            if (recipe.steps.empty()) throw HostError(word, "there is no filter to set it of");
            recipe.steps.back().settings.push_back(std::move(*setting));
        } else if (word.empty()) {
            throw HostError("''", "expected the name of a picture");
        } else {
            recipe.inputs.push_back(word);
            expectsFilter = false;
        }
    }
    if (expectsFilter) throw HostError("+", "expected a filter name before and after it");
    return recipe;
}

std::vector<PreparedStep> PrepareRecipe(Host& host, const Recipe& recipe, bool hasInput) {
    // Names first: the file of a setting may be large.
    for (const RecipeStep& step : recipe.steps) {
        const host::Class& isa = FilterNamed(host, step.filter);
        for (const Setting& setting : step.settings) {
            static_cast<void>(KeyNamed(isa, setting.key, setting.text));  // throws for an unknown key
        }
    }
    std::vector<PreparedStep> prepared;
    for (const RecipeStep& step : recipe.steps) {
        prepared.push_back(PrepareStep(host, step, hasInput || !prepared.empty()));
    }
    return prepared;
}

std::vector<std::string> FilesOfSettings(const Recipe& recipe) {
    std::vector<std::string> files;
    for (const RecipeStep& step : recipe.steps) {
        for (const Setting& setting : step.settings) {
            files.push_back(setting.value.starts_with('@') ? setting.value.substr(1) : setting.value);
        }
    }
    return files;
}

std::string StepText(const PreparedStep& step) {
    std::string text = step.isa->Name();
    for (const Setting& setting : step.step->settings) {
        text += " " + KeyNamed(*step.isa, setting.key, setting.text).declaration.name + "=" + setting.value;
    }
    return text;
}

ObjectReference RunStep(Host& host, const PreparedStep& step, const Value& image) {
    const ObjectReference filter = host.Construct(step.isa->Name());
    for (const auto& [key, value] : step.values) host.Set(filter.Get(), key, value ? *value : image);
    const Value output = host.Get(filter.Get(), kOutputKey);
    if (const auto* object = std::get_if<ObjectReference>(&output)) return *object;
    RefuseMissingOutput(host, filter, "filter " + step.step->filter);
}

void CheckOutputs(Host& host, const std::vector<PreparedStep>& steps, bool hasInput) {
    try {
        Value image;
        if (hasInput) {
            const Value black[] = {0.0, 0.0, 0.0, 1.0};
            const Value color[] = {host.CallShared("CIColorQOR", "RGBA", black)};
            image = host.CallShared("CIImageQOR", "FromColor", color);
        }
        for (const PreparedStep& step : steps) image = RunStep(host, step, image);
    } catch (const MissingKeys&) {
        throw;
    } catch (const std::runtime_error&) {
        // The picture may do what the color does not.
    }
}
