// describe.cpp - "zeva describe": what a class offers.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "host/description/class_description.h"
#include "host/description/filter_name.h"
#include "host/program/commands.h"
#include "host/runtime/errors.h"
#include "host/runtime/suggestion.h"

namespace {

using host::Host;

// "read-only, pixels, default 10, 0 to 100": of a property, what there is.
std::string Facts(const Json& property) {
    const std::string value = DefaultText(property);
    std::string text;
    for (const std::string& part : {std::string(property["readOnly"] ? "read-only" : ""), UnitText(property),
                                    value.empty() ? "" : "default " + value, RangeText(property)}) {
        if (!part.empty()) text += (text.empty() ? "" : ", ") + part;
    }
    return text;
}

void PrintClass(const Json& json) {
    std::printf("%s", std::string(json["class"]).c_str());
    if (json.contains("superclass")) std::printf(", a %s", std::string(json["superclass"]).c_str());
    if (json.contains("displayName")) std::printf(": %s", std::string(json["displayName"]).c_str());
    std::printf("\n");
    if (json.contains("description")) std::printf("%s\n", std::string(json["description"]).c_str());
    std::size_t width = 0;
    for (const Json& property : json["properties"]) width = std::max(width, std::string(property["name"]).size());
    for (const Json& property : json["properties"]) {
        const std::string facts = Facts(property);
        std::printf("\n  %-*s  %s%s\n", static_cast<int>(width), std::string(property["name"]).c_str(),
                    std::string(property["type"]).c_str(), facts.empty() ? "" : (", " + facts).c_str());
        if (!property.contains("description")) continue;
        std::printf("  %-*s  %s\n", static_cast<int>(width), "", std::string(property["description"]).c_str());
    }
    for (const Json& method : json["methods"]) std::printf("\n  %s\n", std::string(method).c_str());
    for (const Json& method : json["sharedMethods"]) {
        std::printf("\n  %s.%s\n", std::string(json["class"]).c_str(), std::string(method).c_str());
    }
}

// The class of a name: a filter in any spelling, or any class by its own.
const host::Class& ClassOf(Host& session, const std::string& name) {
    for (const std::string& candidate : {name, FilterClassName(name)}) {
        if (session.Classes().Find(candidate) != nullptr) return session.Classes().Linked(candidate);
    }
    std::vector<std::string> known;
    for (const host::Class* each : session.Classes().All()) {
        const std::string shortName = FilterShortName(each->Name());
        known.push_back(shortName.empty() ? each->Name() : shortName);
    }
    throw host::HostError("class " + name, "there is no such class" + host::Suggestion(name, known));
}

void Describe(const SessionOptions& options, const std::vector<std::string>& names, bool json) {
    const auto session = OpenSession(options);
    Json descriptions = Json::array();
    for (const std::string& name : names) descriptions.push_back(ClassJson(*session, ClassOf(*session, name)));
    if (json) {
        std::printf("%s\n", (names.size() == 1 ? descriptions[0] : descriptions).dump(2).c_str());
        return;
    }
    for (const Json& description : descriptions) {
        if (&description != &descriptions.front()) std::printf("\n");
        PrintClass(description);
    }
}

}  // namespace

void AddDescribe(CLI::App& program, const SessionOptions& session) {
    CLI::App* describe =
        program.add_subcommand("describe", "Tells what a class offers: properties, defaults, ranges, methods.");
    const auto names = std::make_shared<std::vector<std::string>>();
    const auto json = std::make_shared<bool>(false);
    describe->add_option("CLASS", *names, "a filter in any of its spellings, or any class, such as CIImageQOR")
        ->required();
    describe->add_flag("--json", *json, "as JSON: an object, or a list of them for several classes");
    describe->callback([=, &session] { Describe(session, *names, *json); });
}
