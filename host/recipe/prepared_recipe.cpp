// prepared_recipe.cpp - makes filters, calls methods and connects them.

#include "host/recipe/prepared_recipe.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "host/description/class_description.h"
#include "host/recipe/resolved_value.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/memory_block.h"

namespace {

using host::Host;
using host::HostError;
using host::Member;
using host::ObjectReference;
using host::Value;

std::int32_t SizeOf(const Value& block) {
    return reinterpret_cast<const ZEVAmemoryBlockStruct*>(std::get<ObjectReference>(block).Get())->size;
}

std::int64_t NumbersOfCube(double dimension) {
    return static_cast<std::int64_t>(4 * dimension * dimension * dimension);
}

// Returns the dimension of a color cube with this data.
double DimensionOf(const std::string& subject, const Value& data) {
    const double numbers = SizeOf(data) / static_cast<double>(sizeof(float));
    const double dimension = std::round(std::cbrt(numbers / 4));
    if (dimension >= 2 && static_cast<double>(NumbersOfCube(dimension)) == numbers) return dimension;
    throw HostError(subject, "a cube of n x n x n colors has 4 n^3 numbers, at least " +
                                 std::to_string(NumbersOfCube(2)) + ", got " + host::NumberText(numbers));
}

// Checks a number or a list of numbers against what is known of a filter's key.
void CheckValue(Host& host, const ObjectReference& filter, const Member& key, const std::string& subject,
                const Value& value) {
    const auto* object = std::get_if<ObjectReference>(&value);
    const bool isVector = object != nullptr && key.declaration.result.word == "CIVectorQOR";
    if (const auto* number = std::get_if<double>(&value)) {
        const std::string& name = key.declaration.name;
        const bool isSize = name.find("Radius") != std::string::npos || name.find("Width") != std::string::npos;
        if (isSize && *number < 0) throw HostError(subject, "expected a number of at least 0");
    } else if (isVector) {
        const PropertyDescription description = DescribeProperty(host, filter, key);
        const DescribedValue described = DescribeValue(host, value);
        const auto& numbers = std::get<std::vector<double>>(described);
        const DescribedValue* standard = description.Find("default");
        const auto* wanted = standard != nullptr ? std::get_if<std::vector<double>>(standard) : nullptr;
        if (wanted != nullptr && wanted->size() != numbers.size()) {
            throw HostError(subject, "expected " + std::to_string(wanted->size()) + " numbers, got " +
                                         std::to_string(numbers.size()));
        }
        if (description.unit == "rectangle" && numbers.size() == 4 && (numbers[2] < 0 || numbers[3] < 0)) {
            throw HostError(subject, "expected a width and a height of at least 0");
        }
    }
}

// One color everywhere.
ObjectReference PlainImage(Host& host) {
    const Value black[] = {0.0, 0.0, 0.0, 1.0};
    const Value color[] = {host.CallShared("CIColorQOR", "RGBA", black)};
    return std::get<ObjectReference>(host.CallShared("CIImageQOR", "FromColor", color));
}

ObjectReference OnePixel(Host& host) {
    const Value numbers[] = {0.0, 0.0, 1.0, 1.0};
    const Value rectangle[] = {host.CallShared("CIVectorQOR", "Rectangle", numbers)};
    return std::get<ObjectReference>(host.Call(PlainImage(host).Get(), "Crop", rectangle));
}

// Prepares one step after the other, and keeps account of the images that are taken.
class Preparer {
  public:
    Preparer(Host& host, const Recipe& recipe, bool hasInput)
        : host_(host), recipe_(recipe), hasInput_(hasInput), taken_(recipe.steps.size() + 1, false) {}

    PreparedRecipe Prepare() {
        // Names first: the file of a setting may be large.
        std::vector<StepClass> classes;
        for (const RecipeStep& step : recipe_.steps) {
            classes.push_back(AtPlace(step.place, step.name, [&] { return ClassOf(step); }));
            for (const Setting& setting : step.settings) static_cast<void>(KeyOf(classes.back(), setting));
        }
        PreparedRecipe prepared;
        for (std::size_t i = 0; i < recipe_.steps.size(); ++i) prepared.steps.push_back(PrepareStep(i, classes[i]));
        for (std::size_t i = hasInput_ ? 0 : 1; i < recipe_.steps.size(); ++i) {
            if (!taken_[i]) RefuseUntaken(i, classes[i]);
        }
        return prepared;
    }

  private:
    // Refuses a picture or a folder among the words of a command that looks like a filter, because it has no point and
    // no slash.
    StepClass ClassOf(const RecipeStep& step) const {
        try {
            return StepNamed(host_, step.name);
        } catch (const HostError& error) {
            std::error_code unknown;
            if (!step.place.file.empty() || !std::filesystem::exists(step.name, unknown)) throw;
            throw HostError(error.Subject(), "there is no such filter; a picture or folder is ./" + step.name);
        }
    }

    StepKey KeyOf(const StepClass& isa, const Setting& setting) const {
        return AtPlace(setting.place, setting.text, [&] { return StepKeyNamed(isa, setting.key, setting.text); });
    }

    PreparedStep PrepareStep(std::size_t index, const StepClass& isa) {
        const RecipeStep& step = recipe_.steps[index];
        PreparedStep prepared = {&step, isa, {}, 0, isa.Name()};
        bool isIncomingPassed = false;  // by "-"
        ObjectReference filter;         // null for a method
        if (isa.method == nullptr) filter = host_.Construct(isa.Name());
        for (const Setting& setting : step.settings) {
            const StepKey key = KeyOf(isa, setting);
            if (Find(prepared, key.name) != nullptr) {
                throw RecipeError(setting.place, setting.text, key.name + " is set twice");
            }
            const ResolvedValue value = Resolved(recipe_, index, setting, key.type);
            prepared.text += " " + key.name + "=" + (value.image ? setting.value : value.text);
            isIncomingPassed |= value.image && ReferenceOf(setting.value).empty();
            if (value.image) {
                Take(*value.image, setting);
                prepared.values.push_back({key.name, *value.image});
                continue;
            }
            AtPlace(value.place, value.subject, [&] {
                Value read = SettingValue(host_, key.type, value.subject, value.text);
                if (filter) {
                    CheckValue(host_, filter, *isa.isa->FindMember(key.name), value.subject, read);
                    AddDimension(prepared, step, key, value.subject, read);
                }
                prepared.values.push_back({key.name, std::move(read)});
            });
        }
        if (!step.result.empty()) prepared.text += " -> $" + step.result;
        AddIncoming(prepared, index, isIncomingPassed);
        if (isa.method != nullptr) AtPlace(step.place, step.name, [&] { FinishMethod(prepared); });
        return prepared;
    }

    static const PreparedValue* Find(const PreparedStep& step, const std::string& key) {
        const auto found = std::ranges::find(step.values, key, &PreparedValue::key);
        return found == step.values.end() ? nullptr : &*found;
    }

    void Take(std::size_t image, const Setting& setting) {
        if (image == 0 && !hasInput_) throw RecipeError(setting.place, setting.text, "there is no incoming picture");
        taken_[image] = true;
    }

    // Passes the incoming picture to the key that takes it by itself.
    void AddIncoming(PreparedStep& prepared, std::size_t index, bool isPassed) {
        const bool hasIncoming = index > 0 || hasInput_;
        const bool hasKey = prepared.isa.method != nullptr || prepared.isa.isa->FindMember(kImageKey) != nullptr;
        if (!hasIncoming || isPassed || !hasKey || Find(prepared, kImageKey) != nullptr) return;
        prepared.values.push_back({kImageKey, index});
        taken_[index] = true;
    }

    // The data of a color cube sets its dimension too. One that is set must be the same.
    void AddDimension(PreparedStep& prepared, const RecipeStep& step, const StepKey& key, const std::string& subject,
                      const Value& value) const {
        if (key.type.word != "memoryblock") return;
        const double dimension = DimensionOf(subject, value);
        if (prepared.isa.isa->FindMember(kCubeDimensionKey) == nullptr) return;
        const auto isDimension = [&](const Setting& setting) {
            return KeyOf(prepared.isa, setting).name == kCubeDimensionKey;
        };
        const auto given = std::ranges::find_if(step.settings, isDimension);
        if (given == step.settings.end()) {
            prepared.values.push_back({kCubeDimensionKey, dimension});
            return;
        }
        const auto index = static_cast<std::size_t>(&step - recipe_.steps.data());
        const ResolvedValue text = Resolved(recipe_, index, *given, KeyOf(prepared.isa, *given).type);
        const double wanted = NumbersIn(text.subject, text.text)[0];
        if (wanted != dimension) {
            throw HostError("filter " + step.name, "a cube of the dimension " + host::NumberText(wanted) + " has " +
                                                       std::to_string(NumbersOfCube(wanted)) + " numbers, got " +
                                                       std::to_string(NumbersOfCube(dimension)));
        }
    }

    // Puts the arguments of a method in order, and tries them on one pixel, where only they can be wrong.
    void FinishMethod(PreparedStep& prepared) {
        const PreparedValue* image = Find(prepared, kImageKey);
        if (image == nullptr) throw HostError(prepared.step->name, "there is no incoming picture");
        const auto* receiver = std::get_if<std::size_t>(&image->value);
        const std::string& name = prepared.isa.Name();
        if (receiver == nullptr) {
            throw HostError(prepared.step->name, name + " is called on a result, expected $NAME as its inputImage");
        }
        prepared.receiver = *receiver;
        std::vector<PreparedValue> arguments;
        std::vector<Value> sample;
        for (const host::Parameter& parameter : prepared.isa.method->declaration.parameters) {
            const PreparedValue* value = Find(prepared, parameter.name);
            if (value == nullptr) {
                throw HostError(prepared.step->name,
                                parameter.name + " is not set; " + name + " takes " + Keys(prepared));
            }
            arguments.push_back(*value);
            const auto* made = std::get_if<Value>(&value->value);
            sample.push_back(made != nullptr ? *made : Value(OnePixel(host_)));
        }
        prepared.values = std::move(arguments);
        host_.Call(OnePixel(host_).Get(), name, sample);
    }

    static std::string Keys(const PreparedStep& prepared) {
        std::string list;
        for (const StepKey& key : KeysOf(prepared.isa)) list += (list.empty() ? "" : ", ") + key.name;
        return list;
    }

    // Refuses an image that the next step does not take, and no later one.
    [[noreturn]] void RefuseUntaken(std::size_t image, const StepClass& next) const {
        const RecipeStep& step = recipe_.steps[image];
        const bool takesImage = next.method != nullptr || next.isa->FindMember(kImageKey) != nullptr;
        const std::string problem =
            takesImage ? "inputImage is set, so no key takes the incoming picture; KEY=- passes it to a key"
                       : "it takes no image";
        throw RecipeError(step.place, "filter " + step.name, problem);
    }

    Host& host_;
    const Recipe& recipe_;
    bool hasInput_;
    std::vector<bool> taken_;  // by image
};

// The error for a filter without an output image. It names the image keys that are not set.
[[noreturn]] void RefuseMissingOutput(Host& host, const ObjectReference& filter, const RecipeStep& step) {
    std::string missing;
    for (const Member& member : filter->isa->Members()) {
        const bool isImage = member.declaration.result.word == "CIImageQOR";
        if (!isImage || member.declaration.name == kOutputKey) continue;
        if (!std::holds_alternative<std::monostate>(host.Get(filter.Get(), member.declaration.name))) continue;
        missing += (missing.empty() ? "" : ", ") + member.declaration.name;
    }
    const std::string problem = "it has no output image for these inputs" +
                                (missing.empty() ? std::string() : " (not set: " + missing + ")") +
                                (step.place.file.empty() ? "; nothing was written" : "");
    if (!missing.empty()) throw MissingKeys(step.place, "filter " + step.name, problem);
    throw RecipeError(step.place, "filter " + step.name, problem);
}

ObjectReference RunStep(Host& host, const PreparedStep& step, const std::vector<Value>& images) {
    const auto valueOf = [&](const PreparedValue& value) {
        const auto* image = std::get_if<std::size_t>(&value.value);
        return image != nullptr ? images[*image] : std::get<Value>(value.value);
    };
    if (step.isa.method != nullptr) {
        std::vector<Value> arguments;
        for (const PreparedValue& value : step.values) arguments.push_back(valueOf(value));
        const auto& receiver = std::get<ObjectReference>(images[step.receiver]);
        return std::get<ObjectReference>(host.Call(receiver.Get(), step.isa.Name(), arguments));
    }
    const ObjectReference filter = host.Construct(step.isa.Name());
    for (const PreparedValue& value : step.values) host.Set(filter.Get(), value.key, valueOf(value));
    const Value output = host.Get(filter.Get(), kOutputKey);
    if (const auto* object = std::get_if<ObjectReference>(&output)) return *object;
    RefuseMissingOutput(host, filter, *step.step);
}

}  // namespace

PreparedRecipe PrepareRecipe(Host& host, const Recipe& recipe, bool hasInput) {
    return Preparer(host, recipe, hasInput).Prepare();
}

std::vector<std::string> FilesOfRecipe(const Recipe& recipe) {
    std::vector<std::string> files;
    const auto add = [&](const std::string& path, const RecipePlace& place) {
        if (!path.empty()) files.push_back(ResolvedPath(path, place.Folder()));
    };
    if (!recipe.file.empty() && recipe.file != kLinkFile) files.push_back(recipe.file);
    for (const RecipePicture& picture : recipe.pictures) add(picture.path, picture.place);
    const auto addValue = [&](const std::string& value, const RecipePlace& place) {
        std::string text;
        for (const ValuePart& part : PartsOf(value)) {
            const RecipeParameter* parameter = part.isReference ? FindParameter(recipe, part.text) : nullptr;
            text += parameter != nullptr ? TextOfValue(parameter->value) : part.text;
        }
        add(text.starts_with('@') ? text.substr(1) : text, place);
    };
    for (const RecipeParameter& parameter : recipe.parameters) addValue(parameter.value, parameter.place);
    for (const RecipeStep& step : recipe.steps) {
        for (const Setting& setting : step.settings) addValue(setting.value, setting.place);
    }
    return files;
}

Value RunRecipe(Host& host, const PreparedRecipe& recipe, const Value& picture, const StepDone& done) {
    std::vector<Value> images = {picture};
    for (const PreparedStep& step : recipe.steps) {
        const ObjectReference result = RunStep(host, step, images);
        if (done) done(step, result);
        images.emplace_back(result);
    }
    return images.back();
}

void CheckOutputs(Host& host, const PreparedRecipe& recipe, bool hasInput) {
    try {
        static_cast<void>(RunRecipe(host, recipe, hasInput ? Value(PlainImage(host)) : Value()));
    } catch (const MissingKeys&) {
        throw;
    } catch (const std::runtime_error&) {
        // The picture may do what the color does not.
    }
}
