// class_description.cpp - a class's record, and for a filter its keys' attributes and the texts of filters/descriptions.json.

#include "host/description/class_description.h"

#include <cctype>
#include <cstdio>

#include "host/description/filter_name.h"
#include "host/description/value_json.h"

// The text of filters/descriptions.json.
extern const char kDescriptionsText[];

namespace {

using host::Host;
using host::Member;
using host::ObjectReference;

const Json& Texts() {
    static const Json texts = Json::parse(kDescriptionsText);
    return texts;
}

// The description of a filter; empty for a filter without one.
std::string FilterDescription(const std::string& filter) {
    const Json& filters = Texts()["filters"];
    return filters.contains(filter) ? filters[filter].value("description", "") : "";
}

// The "description" or "unit" of a filter's key; empty when there is none. An entry for the filter's own key wins over the
// entry for keys of that name in general.
std::string KeyText(const std::string& filter, const std::string& key, const char* what) {
    const Json& filters = Texts()["filters"];
    if (!filters.contains(filter)) return {};
    const Json own = filters[filter].value("keys", Json::object()).value(key, Json::object());
    if (own.contains(what)) return own[what];
    return Texts()["keys"].value(key, Json::object()).value(what, "");
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
    const std::string filterName = FilterShortName(filter->isa->Name());
    const std::string unit = KeyText(filterName, name, "unit");
    if (!unit.empty()) json["unit"] = unit;
    json["description"] = KeyText(filterName, name, "description");
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

// The category that says what a filter is: the first of its list, without the platform's prefix.
std::string Category(const std::string& categories) {
    constexpr std::string_view kPrefix = "CICategory";
    std::string first = categories.substr(0, categories.find(','));
    return first.starts_with(kPrefix) ? first.substr(kPrefix.size()) : first;
}

// A value in the spelling of the command line: short numbers, lists without brackets.
std::string Plain(const Json& value) {
    if (value.is_number_float()) {
        // Six digits: a pi of sixteen says no more to a reader, and on 32 bits numbers have no more.
        char text[32];
        std::snprintf(text, sizeof text, "%.6g", double(value));
        return text;
    }
    if (value.is_number()) return host::NumberText(value);
    if (value.is_string()) return value;
    std::string text;
    for (const Json& element : value) text += (text.empty() ? "" : ",") + Plain(element);
    return text;
}

}  // namespace

bool IsFilter(const host::Class& isa) { return isa.IsA("CIFilterQOR") && !FilterShortName(isa.Name()).empty(); }

Json ClassJson(Host& session, const host::Class& isa) {
    ObjectReference filter;
    Json json = {{"class", isa.Name()}};
    if (!isa.SuperclassName().empty()) json["superclass"] = isa.SuperclassName();
    if (IsFilter(isa)) {
        filter = session.Construct(isa.Name());
        const std::string name = FilterShortName(isa.Name());
        json["filter"] = name;
        json["displayName"] = ValueJson(session, session.Get(filter.Get(), "DisplayName"));
        json["categories"] = ValueJson(session, session.Get(filter.Get(), "Categories"));
        json["category"] = Category(json["categories"]);
        json["description"] = FilterDescription(name);
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

std::string DefaultText(const Json& property) {
    if (!property.contains("default")) return {};
    const Json& value = property["default"];
    return value.contains("bytes") ? Plain(value["bytes"]) + " bytes" : Plain(value);
}

std::string UnitText(const Json& property) {
    const std::string unit = property.value("unit", "none");
    return unit == "none" ? "" : unit;
}

std::string RangeText(const Json& property) {
    std::string text;
    const auto add = [&](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
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
