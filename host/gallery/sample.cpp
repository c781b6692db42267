// sample.cpp - writes each program as a person would: the pictures, the filter, its settings, the result.

#include "host/gallery/sample.h"

#include <algorithm>
#include <cctype>
#include <string_view>

#include "host/gallery/sample_table.h"
#include "host/runtime/errors.h"

namespace {

constexpr const char* kDefaultResult = "filter.outputImage:Crop(photo.Extent)";

bool HasKey(const ClassDescription& filter, std::string_view key) {
    return std::any_of(filter.properties.begin(), filter.properties.end(),
                       [&](const PropertyDescription& property) { return property.name == key; });
}

// The lines that set the keys: "filter.inputRadius = 8". The photo is the input image unless the setting names another.
std::string Assignments(const ClassDescription& filter, std::span<const AssignmentRow> rows) {
    std::string lines;
    const auto assign = [&](const std::string& key, const std::string& value) {
        lines += "filter." + key + " = " + value + "\n";
    };
    const bool hasImage = std::any_of(
        rows.begin(), rows.end(), [](const AssignmentRow& row) { return std::string_view(row.key) == "inputImage"; });
    if (HasKey(filter, "inputImage") && !hasImage) assign("inputImage", "photo");
    for (const auto& [key, value] : rows) {
        if (!HasKey(filter, key)) {
            throw host::HostError("gallery.json", filter.filter->title.name + " has no key " + key);
        }
        assign(key, value);
    }
    return lines;
}

// The lines that write the result: once, or once per time of a transition.
std::string Writing(const std::string& result, const std::string& name, bool isTransition) {
    if (!isTransition) return result + ":Save(\"" + name + ".jpg\")\n";
    std::string times;
    for (const char* time : kTransitionTimes) times += (times.empty() ? "" : ", ") + std::string(time);
    return "for frame, time in ipairs { " + times + " } do\n    filter.inputTime = time\n    " + result + ":Save(\"" +
           name + "-\" .. frame .. \".jpg\")\nend\n";
}

// Whether a text contains a name as a whole word.
bool ContainsWord(std::string_view text, std::string_view name) {
    const auto isWordCharacter = [&](std::size_t i) {
        return i < text.size() && (std::isalnum(static_cast<unsigned char>(text[i])) != 0 || text[i] == '_');
    };
    for (std::size_t at = text.find(name); at != std::string_view::npos; at = text.find(name, at + 1)) {
        // Before the first character, at - 1 is beyond the end of the text.
        if (!isWordCharacter(at - 1) && !isWordCharacter(at + name.size())) return true;
    }
    return false;
}

// Whether a text uses one of the names of a helper.
bool Uses(std::string_view text, const HelperRow& helper) {
    std::string_view names = helper.names;
    while (!names.empty()) {
        const std::string_view name = names.substr(0, names.find('|'));
        if (ContainsWord(text, name)) return true;
        names.remove_prefix(std::min(names.size(), name.size() + 1));
    }
    return false;
}

// Puts the lines of the helpers that the text uses before the text. The first helper opens the photo and is always
// used.
void AddHelpers(Sample& sample) {
    std::string lines;
    for (const HelperRow& helper : kHelpers) {
        const bool isPhoto = &helper == &kHelpers.front();
        if (!isPhoto && !Uses(sample.text, helper)) continue;
        lines += helper.lua;
        if (*helper.picture != '\0') sample.helpers.push_back({helper.picture, helper.about});
    }
    sample.text = lines + "\n" + sample.text;
}

// The settings of a filter; one without assignments when gallery.json does not list the filter.
std::vector<SettingRow> SettingsOf(const std::string& filter) {
    std::vector<SettingRow> settings;
    std::copy_if(kSettings.begin(), kSettings.end(), std::back_inserter(settings),
                 [&](const SettingRow& row) { return row.filter == filter; });
    if (settings.empty()) settings.push_back({"", "At its defaults", "", 0, 0});
    return settings;
}

}  // namespace

std::vector<Sample> SamplesOf(const ClassDescription& filter) {
    const std::string& name = filter.filter->title.name;
    const bool isTransition = HasKey(filter, "inputTime");
    std::vector<Sample> samples;
    for (const SettingRow& setting : SettingsOf(name)) {
        const std::string file = name + "-" + std::to_string(samples.size() + 1);
        const std::string result = *setting.result != '\0' ? setting.result : kDefaultResult;
        Sample sample = {setting.caption, {}, {}, {}};
        sample.text = "local filter = " + filter.name + "()\n" +
                      Assignments(filter, kAssignments.subspan(setting.begin, setting.end - setting.begin)) + "\n" +
                      Writing(result, file, isTransition);
        AddHelpers(sample);
        if (!isTransition) sample.pictures = {file + ".jpg"};
        for (std::size_t frame = 1; isTransition && frame <= kTransitionTimes.size(); ++frame) {
            sample.pictures.push_back(file + "-" + std::to_string(frame) + ".jpg");
        }
        samples.push_back(std::move(sample));
    }
    return samples;
}
