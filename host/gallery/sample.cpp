// sample.cpp - writes a program as a person would: the pictures, the filter, its settings, the result.

#include "host/gallery/sample.h"

#include <algorithm>
#include <regex>

#include "host/runtime/errors.h"

// The text of gallery.json.
extern const char kGalleryText[];

namespace {

const Json& Settings() {
    static const Json settings = Json::parse(kGalleryText);
    return settings;
}

bool HasKey(const Json& filter, const std::string& key) {
    const Json& keys = filter["properties"];
    return std::any_of(keys.begin(), keys.end(), [&](const Json& property) { return property["name"] == key; });
}

// "filter.inputRadius = 8": the lines that set the keys. The photo goes in where the setting names no other image.
std::string Assignments(const Json& filter, const Json& values) {
    std::string lines;
    const auto assign = [&](const std::string& key, const std::string& value) {
        lines += "filter." + key + " = " + value + "\n";
    };
    if (HasKey(filter, "inputImage") && !values.contains("inputImage")) assign("inputImage", "photo");
    for (const auto& [key, value] : values.items()) {
        if (!HasKey(filter, key)) {
            throw host::HostError("gallery.json", std::string(filter["filter"]) + " has no key " + key);
        }
        assign(key, value);
    }
    return lines;
}

// The lines that write the result, once or for each time of a transition.
std::string Writing(const std::string& result, const std::string& name, bool isTransition) {
    if (!isTransition) return result + ":Save(\"" + name + ".jpg\")\n";
    std::string times;
    for (const std::string& time : TransitionTimes()) times += (times.empty() ? "" : ", ") + time;
    return "for frame, time in ipairs { " + times + " } do\n    filter.inputTime = time\n    " + result + ":Save(\"" +
           name + "-\" .. frame .. \".jpg\")\nend\n";
}

// Puts the lines of the helpers that the text names in front of it.
void AddHelpers(Sample& sample) {
    const std::string& body = sample.text;
    std::string lines;
    const Json& helpers = Settings()["helpers"];
    for (const Json& helper : helpers) {
        const std::regex name("\\b(" + std::string(helper["name"]) + ")\\b");
        const bool isPhoto = &helper == &helpers.front();
        if (!isPhoto && !std::regex_search(body, name)) continue;
        for (const std::string line : helper["lua"]) lines += line + "\n";
        if (helper.contains("picture")) sample.helpers.push_back({helper["picture"], helper["about"]});
    }
    sample.text = lines + "\n" + body;
}

}  // namespace

std::vector<std::string> TransitionTimes() { return Settings()["times"]; }

std::vector<Sample> SamplesOf(const Json& filter) {
    static const Json plain = {{"settings", {{"At its defaults", Json::object()}}}};
    const std::string name = filter["filter"];
    const Json& filters = Settings()["filters"];
    const Json& entry = filters.contains(name) ? filters[name] : plain;
    const std::string result = entry.value("result", "filter.outputImage:Crop(photo.Extent)");
    const bool isTransition = HasKey(filter, "inputTime");
    std::vector<Sample> samples;
    for (const auto& [caption, values] : entry["settings"].items()) {
        const std::string file = name + "-" + std::to_string(samples.size() + 1);
        Sample sample = {caption, {}, {}, {}};
        sample.text = "local filter = " + std::string(filter["class"]) + "()\n" + Assignments(filter, values) + "\n" +
                      Writing(result, file, isTransition);
        AddHelpers(sample);
        if (!isTransition) sample.pictures = {file + ".jpg"};
        for (std::size_t frame = 1; isTransition && frame <= TransitionTimes().size(); ++frame) {
            sample.pictures.push_back(file + "-" + std::to_string(frame) + ".jpg");
        }
        samples.push_back(std::move(sample));
    }
    return samples;
}
