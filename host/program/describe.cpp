// describe.cpp - "zeva describe": what a class offers, from its record; what a filter's keys mean, from their attributes.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdio>

#include "host/errors.h"
#include "host/program/commands.h"
#include "host/program/filter_name.h"
#include "host/program/value_json.h"
#include "host/suggestion.h"

// The text of filters/descriptions.json.
extern const char kDescriptionsText[];

namespace {

using host::Host;
using host::Member;
using host::ObjectReference;

// A filter's sentence, or that of one of its keys; empty when there is none. A key's own words for the filter go before
// those for the key in general.
std::string Description(const std::string& filter, const std::string& key) {
    static const Json texts = Json::parse(kDescriptionsText);
    const Json& filters = texts["filters"];
    if (filters.contains(filter) && filters[filter].contains(key)) return filters[filter][key];
    const Json& keys = texts["keys"];
    return filters.contains(filter) && keys.contains(key) ? keys[key] : Json("");
}

// What the attribute object of a key says, under names that begin small and leave out the kind of value: "default" for
// Default, DefaultVector and so on.
Json AttributeJson(Host& session, const ObjectReference& attribute) {
    Json json = Json::object();
    for (const Member& member : attribute->isa->Members()) {
        if (member.declaration.kind != host::MemberKind::kProperty || member.declaration.name == "Key") continue;
        const host::Value name[] = {host::TextValue(member.declaration.name)};
        if (!std::get<bool>(session.Call(attribute.Get(), "Has", name))) continue;
        std::string entry = member.declaration.name;
        for (std::string_view kind : {"Vector", "Color", "Transform", "Data"}) {
            if (entry.ends_with(kind)) entry.resize(entry.size() - kind.size());
        }
        entry[0] = static_cast<char>(std::tolower(entry[0]));
        json[entry] = ValueJson(session, session.Get(attribute.Get(), member.declaration.name));
    }
    return json;
}

// A property: its type, whether it can be written, and for a filter's key its attributes and description.
Json PropertyJson(Host& session, const ObjectReference& filter, const Member& member) {
    const std::string& name = member.declaration.name;
    Json json = {{"name", name}, {"type", member.declaration.result.word}, {"readOnly", member.setter == nullptr}};
    if (!filter) return json;
    if (filter->isa->FindMember("Attribute" + name) != nullptr) {
        const host::Value attribute = session.Get(filter.Get(), "Attribute" + name);
        if (const auto* object = std::get_if<ObjectReference>(&attribute)) {
            json.update(AttributeJson(session, *object));
        }
    }
    json["description"] = Description(FilterShortName(filter->isa->Name()), name);
    return json;
}

// A method as it is declared.
std::string Signature(const host::Declaration& declaration) {
    const std::string result = declaration.result.word.empty() ? "" : " as " + declaration.result.word;
    return declaration.name + host::ParameterText(declaration) + result;
}

Json MethodsJson(const std::vector<Member>& members) {
    Json list = Json::array();
    for (const Member& member : members) {
        if (member.declaration.kind != host::MemberKind::kProperty) list.push_back(Signature(member.declaration));
    }
    return list;
}

// Whether a property is the attribute companion of another one; those are shown as part of it.
bool IsCompanion(const host::Class& isa, const std::string& name) {
    constexpr std::string_view kPrefix = "Attribute";
    return name.starts_with(kPrefix) && isa.FindMember(name.substr(kPrefix.size())) != nullptr;
}

Json ClassJson(Host& session, const host::Class& isa) {
    ObjectReference filter;
    Json json = {{"class", isa.Name()}};
    if (!isa.SuperclassName().empty()) json["superclass"] = isa.SuperclassName();
    if (isa.IsA("CIFilterQOR") && isa.Name() != "CIFilterQOR") {
        filter = session.Construct(isa.Name());
        const std::string name = FilterShortName(isa.Name());
        json["filter"] = name;
        json["displayName"] = ValueJson(session, session.Get(filter.Get(), "DisplayName"));
        json["categories"] = ValueJson(session, session.Get(filter.Get(), "Categories"));
        json["description"] = Description(name, "");
    }
    json["properties"] = Json::array();
    for (const Member& member : isa.Members()) {
        const host::Declaration& declaration = member.declaration;
        if (declaration.kind != host::MemberKind::kProperty || IsCompanion(isa, declaration.name)) continue;
        json["properties"].push_back(PropertyJson(session, filter, member));
    }
    json["methods"] = MethodsJson(isa.Members());
    json["sharedMethods"] = MethodsJson(isa.SharedMembers());
    return json;
}

// A value in the spelling of the command line: numbers as short as they can be, lists without brackets.
std::string Plain(const Json& value) {
    if (value.is_number()) return host::NumberText(value);
    if (value.is_string()) return value;
    std::string text;
    for (const Json& element : value) text += (text.empty() ? "" : ",") + Plain(element);
    return text;
}

// "default 10, 0 to 100": of a property, what there is.
std::string RangeText(const Json& property) {
    std::string text;
    const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
    if (property["readOnly"]) add("read-only");
    if (property.contains("default")) {
        const Json& value = property["default"];
        add(value.contains("bytes") ? "default " + Plain(value["bytes"]) + " bytes" : "default " + Plain(value));
    }
    const bool hasMin = property.contains("min");
    const bool hasMax = property.contains("max");
    if (hasMin && hasMax) add(Plain(property["min"]) + " to " + Plain(property["max"]));
    if (hasMin && !hasMax) add("at least " + Plain(property["min"]));
    if (!hasMin && hasMax) add("at most " + Plain(property["max"]));
    if (property.contains("sliderMin") && property.contains("sliderMax")) {
        add("mostly " + Plain(property["sliderMin"]) + " to " + Plain(property["sliderMax"]));
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
        const std::string range = RangeText(property);
        std::printf("\n  %-*s  %s%s\n", static_cast<int>(width), std::string(property["name"]).c_str(),
                    std::string(property["type"]).c_str(), range.empty() ? "" : (", " + range).c_str());
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
