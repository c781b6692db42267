// chain.cpp - sets the keys of each card's filter, then scales what is in pixels, defaults included.

#include "host/studio/chain.h"

#include <algorithm>
#include <cmath>
#include <optional>

#include "host/description/class_description.h"
#include "host/description/described_value.h"
#include "host/description/names.h"
#include "host/recipe/setting_value.h"
#include "host/runtime/errors.h"

namespace studio {
namespace {

using host::Host;
using host::HostError;
using host::Member;
using host::ObjectReference;
using host::Value;

bool IsImage(const host::Type& type) { return type.word == "CIImageQOR"; }

// How a unit changes with the scale: by this power of it.
int PowerOf(const std::string& unit) {
    if (unit == "pixels" || unit == "position" || unit == "rectangle" || unit == "transform") return 1;
    return unit == "1/pixels" ? -1 : 0;
}

// The unit of each key of a filter, which does not change while the program runs.
const std::map<std::string, std::string>& UnitsOf(const std::string& filter, const host::Class& isa) {
    static std::map<std::string, std::map<std::string, std::string>> known;
    const auto [entry, isNew] = known.try_emplace(filter);
    if (isNew) {
        for (const Member& member : isa.Members()) {
            const std::string& key = member.declaration.name;
            const std::string unit = KeyUnit(filter, key);
            if (member.setter != nullptr && PowerOf(unit) != 0) entry->second.emplace(key, unit);
        }
    }
    return entry->second;
}

// The value of a key, its numbers multiplied by a factor. A transform moves by the product and otherwise stays.
Value Scaled(Host& host, const Value& value, double factor) {
    if (const auto* number = std::get_if<double>(&value)) return *number * factor;
    const DescribedValue described = DescribeValue(host, value);
    const auto* numbers = std::get_if<std::vector<double>>(&described);
    if (numbers == nullptr) return value;
    const std::string& name = std::get<ObjectReference>(value)->isa->Name();
    if (name == "NSAffineTransformQOR") {
        std::vector<Value> elements(numbers->begin(), numbers->end());
        for (std::size_t i : {4, 5}) elements[i] = (*numbers)[i] * factor;
        return host.CallShared(name, "Make", elements);
    }
    std::string list;
    for (const double number : *numbers) list += (list.empty() ? "" : ",") + host::NumberText(number * factor);
    const Value text[] = {host::TextValue(list)};
    return host.CallShared(name, "FromNumbers", text);
}

// One run over the cards.
class Chain {
  public:
    Chain(Host& host, const ChainSources& sources) : host_(host), sources_(sources), image_(sources.photo) {}

    void Add(const Card& card) {
        const StepClass step = StepNamed(host_, card.filter);
        image_ = step.method != nullptr ? ResultOfMethod(card, step) : ResultOfFilter(card, step);
        results_[card.name] = image_;
    }

    const Value& Image() const { return image_; }

  private:
    static constexpr const char* kNoPicture = "it has no output image for these settings";

    Value ResultOfFilter(const Card& card, const StepClass& step) {
        const host::Class& isa = *step.isa;
        const ObjectReference filter = host_.Construct(isa.Name());
        bool takesIncoming = isa.FindMember(kImageKey) != nullptr;
        for (const auto& [name, text] : card.settings) {
            const StepKey key = StepKeyNamed(step, name, name);
            const bool isIncoming = IsImage(key.type) && text == "-";
            takesIncoming &= !isIncoming && key.name != kImageKey;
            host_.Set(filter.Get(), key.name, ValueOf(key, text));
            if (key.type.word == "memoryblock") SetDimension(filter, card);
        }
        if (takesIncoming) host_.Set(filter.Get(), kImageKey, image_);
        if (sources_.scale != 1) Scale(filter, FilterShortName(isa.Name()), isa);
        const Value output = host_.Get(filter.Get(), kOutputKey);
        if (!std::holds_alternative<ObjectReference>(output)) throw HostError(MissingText(filter), kNoPicture);
        return output;
    }

    Value ResultOfMethod(const Card& card, const StepClass& step) {
        std::map<std::string, Value> values;
        for (const auto& [name, text] : card.settings) {
            const StepKey key = StepKeyNamed(step, name, name);
            values[key.name] = ValueOf(key, text);
        }
        std::vector<Value> arguments;
        for (const host::Parameter& parameter : step.method->declaration.parameters) {
            const auto found = values.find(parameter.name);
            if (found == values.end()) throw HostError(step.Name(), parameter.name + " is not set");
            arguments.push_back(found->second);
        }
        const auto given = values.find(kImageKey);
        const Value& receiver = given != values.end() ? given->second : image_;
        return host_.Call(std::get<ObjectReference>(receiver).Get(), step.Name(), arguments);
    }

    Value ValueOf(const StepKey& stepKey, const std::string& text) {
        const bool isFile = text.starts_with('#');
        if (IsImage(stepKey.type)) {
            if (text == "-") return image_;
            if (text == "$input") return sources_.photo;
            if (isFile) return sources_.image(text.substr(1));
            const auto result = text.starts_with('$') ? results_.find(text.substr(1)) : results_.end();
            if (result == results_.end()) throw HostError(text, "there is no such image before this card");
            return result->second;
        }
        const auto& [key, type] = stepKey;
        if (!IsFileName(type)) return SettingValue(host_, type, key, text);
        if (isFile) return SettingValue(host_, type, key, sources_.path(text.substr(1)));
        // Only numbers: no text of the page may name a file.
        if (text.find_first_not_of("0123456789+-.,eE") != std::string::npos) {
            throw HostError(key, "expected a file that is open, or numbers");
        }
        return SettingValue(host_, type, key, text);
    }

    // A color table tells its own size, unless the card sets it.
    void SetDimension(const ObjectReference& filter, const Card& card) {
        const bool isSet =
            std::ranges::any_of(card.settings, [](const auto& each) { return each.first == kCubeDimensionKey; });
        if (isSet || filter->isa->FindMember(kCubeDimensionKey) == nullptr) return;
        const DescribedValue data = DescribeValue(host_, host_.Get(filter.Get(), "inputCubeData"));
        const auto* bytes = std::get_if<ByteCount>(&data);
        const double colors = bytes != nullptr ? bytes->bytes / (4.0 * sizeof(float)) : 0;
        const double dimension = std::round(std::cbrt(colors));
        if (dimension < 2 || dimension * dimension * dimension != colors) {
            throw HostError("inputCubeData", host::NumberText(colors) + " colors are not a cube of at least 2 x 2 x 2");
        }
        host_.Set(filter.Get(), kCubeDimensionKey, dimension);
    }

    void Scale(const ObjectReference& filter, const std::string& name, const host::Class& isa) {
        for (const auto& [key, unit] : UnitsOf(name, isa)) {
            const double factor = std::pow(sources_.scale, PowerOf(unit));
            host_.Set(filter.Get(), key, Scaled(host_, host_.Get(filter.Get(), key), factor));
        }
    }

    // Names the images that a filter lacks.
    std::string MissingText(const ObjectReference& filter) {
        std::string missing;
        for (const Member& member : filter->isa->Members()) {
            const std::string& key = member.declaration.name;
            if (!IsImage(member.declaration.result) || key == kOutputKey) continue;
            if (!std::holds_alternative<std::monostate>(host_.Get(filter.Get(), key))) continue;
            missing += (missing.empty() ? "" : ", ") + key;
        }
        return missing.empty() ? FilterShortName(filter->isa->Name()) : "choose a picture for " + missing;
    }

    Host& host_;
    const ChainSources& sources_;
    Value image_;
    std::map<std::string, Value> results_;
};

// Runs work for a card; every error becomes one of the card.
template <typename Work>
void ForCard(const Card& card, Work work) {
    try {
        work();
    } catch (const CardError&) {
        throw;
    } catch (const std::runtime_error& error) {
        throw CardError(card.name, error.what());
    }
}

// Whether a card has a distance that a scale makes too short.
bool HasShortDistance(Host& host, const Card& card, double scale) {
    const StepClass step = StepNamed(host, card.filter);
    const host::Class& isa = *step.isa;
    const ObjectReference filter = host.Construct(isa.Name());
    for (const auto& [key, unit] : UnitsOf(FilterShortName(isa.Name()), isa)) {
        if (unit != "pixels") continue;
        const auto setting = std::ranges::find(card.settings, key, &std::pair<std::string, std::string>::first);
        const Value value = setting != card.settings.end()
                                ? SettingValue(host, StepKeyNamed(step, key, key).type, key, setting->second)
                                : host.Get(filter.Get(), key);
        const auto* number = std::get_if<double>(&value);
        if (number != nullptr && *number != 0 && std::abs(*number) * scale < kLeastPreviewPixels) return true;
    }
    return false;
}

}  // namespace

bool CanBeScaled(Host& host, const std::vector<Card>& cards, double scale) {
    return std::ranges::none_of(cards, [&](const Card& card) {
        bool isShort = false;
        ForCard(card, [&] {
            const StepClass step = StepNamed(host, card.filter);
            // The arguments of a method have no units.
            isShort = step.method != nullptr || WorksOnPixels(FilterShortName(step.Name())) ||
                      HasShortDistance(host, card, scale);
        });
        return isShort;
    });
}

Value ImageOfChain(Host& host, const std::vector<Card>& cards, const ChainSources& sources) {
    Chain chain(host, sources);
    for (const Card& card : cards) {
        ForCard(card, [&] { chain.Add(card); });
    }
    return chain.Image();
}

}  // namespace studio
