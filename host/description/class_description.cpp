// class_description.cpp - reads a class's record, and for a filter the attributes of its keys and the texts of
// filters/descriptions.json.

#include "host/description/class_description.h"

#include <algorithm>
#include <cctype>
#include <string_view>
#include <variant>

#include "host/description/description_table.h"
#include "host/description/names.h"

namespace {

using host::Host;
using host::Member;
using host::ObjectReference;

// A field of the description of a filter's key. The filter's own text wins over the text for all keys of that name.
std::string KeyText(const std::string& filter, const std::string& key, const char* DescriptionRow::*field) {
    std::string general;
    for (const DescriptionRow& row : kDescriptions) {
        if (key != row.key || *(row.*field) == '\0') continue;
        if (filter == row.filter) return row.*field;
        if (*row.filter == '\0') general = row.*field;
    }
    return general;
}

// The sentence that describes a filter.
std::string FilterText(const std::string& filter) {
    for (const DescriptionRow& row : kDescriptions) {
        if (filter == row.filter && *row.key == '\0') return row.description;
    }
    return {};
}

// The name under which an attribute is shown. It begins in lower case and leaves out the kind of the value: "default"
// for Default, DefaultVector and so on.
std::string AttributeName(std::string name) {
    for (std::string_view kind : {"Vector", "Color", "Transform", "Data"}) {
        if (name.ends_with(kind)) name.resize(name.size() - kind.size());
    }
    name[0] = static_cast<char>(std::tolower(name[0]));
    return name;
}

// The values that the attribute object of a key has.
std::vector<AttributeDescription> AttributesOf(Host& host, const ObjectReference& attribute) {
    std::vector<AttributeDescription> attributes;
    for (const Member& member : attribute->isa->Members()) {
        const std::string& name = member.declaration.name;
        if (member.declaration.kind != host::MemberKind::kProperty || name == "Key") continue;
        const host::Value argument[] = {host::TextValue(name)};
        if (!std::get<bool>(host.Call(attribute.Get(), "Has", argument))) continue;
        attributes.push_back({AttributeName(name), DescribeValue(host, host.Get(attribute.Get(), name))});
    }
    return attributes;
}

// A method as its record declares it.
std::string Signature(const host::Declaration& declaration) {
    const std::string result = declaration.result.word.empty() ? "" : " as " + declaration.result.word;
    return declaration.name + host::ParameterText(declaration) + result;
}

std::vector<std::string> MethodsOf(const std::vector<Member>& members) {
    std::vector<std::string> methods;
    for (const Member& member : members) {
        if (member.declaration.kind != host::MemberKind::kProperty) methods.push_back(Signature(member.declaration));
    }
    return methods;
}

// Whether a property holds the attributes of another one. Those are shown as part of the other property.
bool IsAttributeOfProperty(const host::Class& isa, const std::string& name) {
    constexpr std::string_view kPrefix = "Attribute";
    return name.starts_with(kPrefix) && isa.FindMember(name.substr(kPrefix.size())) != nullptr;
}

// The first category of a list, which is the specific one, without the platform's prefix.
std::string FirstCategory(const std::string& categories) {
    constexpr std::string_view kPrefix = "CICategory";
    const std::string first = categories.substr(0, categories.find(','));
    return first.starts_with(kPrefix) ? first.substr(kPrefix.size()) : first;
}

std::string TextProperty(Host& host, const ObjectReference& object, const char* name) {
    return ShortText(DescribeValue(host, host.Get(object.Get(), name)));
}

FilterTitle TitleOf(Host& host, const ObjectReference& filter) {
    const std::string categories = TextProperty(host, filter, "Categories");
    return {FilterShortName(filter->isa->Name()), TextProperty(host, filter, "DisplayName"), FirstCategory(categories),
            categories};
}

host::Json ToJson(const PropertyDescription& property, bool isOfFilter) {
    host::Json json = {{"name", property.name}, {"type", property.type}, {"readOnly", property.isReadOnly}};
    for (const AttributeDescription& attribute : property.attributes) json[attribute.name] = ToJson(attribute.value);
    if (!property.unit.empty()) json["unit"] = property.unit;
    if (isOfFilter) json["description"] = property.description;
    return json;
}

host::Json ToJson(const std::vector<std::string>& texts) {
    host::Json list = host::Json::MakeArray();
    for (const std::string& text : texts) list.push_back(text);
    return list;
}

}  // namespace

const DescribedValue* PropertyDescription::Find(const std::string& attribute) const {
    const auto found = std::find_if(attributes.begin(), attributes.end(),
                                    [&](const AttributeDescription& each) { return each.name == attribute; });
    return found != attributes.end() ? &found->value : nullptr;
}

bool IsFilter(const host::Class& isa) { return isa.IsA("CIFilterQOR") && !FilterShortName(isa.Name()).empty(); }

FilterTitle TitleOf(Host& host, const host::Class& filterClass) {
    return TitleOf(host, host.Construct(filterClass.Name()));
}

std::string KeyUnit(const std::string& filter, const std::string& key) {
    return KeyText(filter, key, &DescriptionRow::unit);
}

bool WorksOnPixels(const std::string& filter) {
    return std::ranges::any_of(kDescriptions, [&](const DescriptionRow& row) {
        return filter == row.filter && *row.key == '\0' && *row.unit != '\0';
    });
}

PropertyDescription DescribeProperty(Host& host, const ObjectReference& filter, const Member& member) {
    const std::string& name = member.declaration.name;
    PropertyDescription property = {
        .name = name, .type = member.declaration.result.word, .isReadOnly = member.setter == nullptr};
    if (!filter) return property;
    if (filter->isa->FindMember("Attribute" + name) != nullptr) {
        const host::Value attribute = host.Get(filter.Get(), "Attribute" + name);
        if (const auto* object = std::get_if<ObjectReference>(&attribute)) {
            property.attributes = AttributesOf(host, *object);
        }
    }
    const std::string filterName = FilterShortName(filter->isa->Name());
    property.unit = KeyUnit(filterName, name);
    property.description = KeyText(filterName, name, &DescriptionRow::description);
    return property;
}

ClassDescription DescribeClass(Host& host, const host::Class& isa) {
    ClassDescription description;
    description.name = isa.Name();
    description.superclass = isa.SuperclassName();
    ObjectReference filter;
    if (IsFilter(isa)) {
        filter = host.Construct(isa.Name());
        FilterTitle title = TitleOf(host, filter);
        std::string text = FilterText(title.name);
        description.filter = {std::move(title), std::move(text)};
    }
    for (const Member& member : isa.Members()) {
        const host::Declaration& declaration = member.declaration;
        if (declaration.kind != host::MemberKind::kProperty || IsAttributeOfProperty(isa, declaration.name)) continue;
        description.properties.push_back(DescribeProperty(host, filter, member));
    }
    description.methods = MethodsOf(isa.Members());
    description.sharedMethods = MethodsOf(isa.SharedMembers());
    return description;
}

host::Json ToJson(const ClassDescription& description) {
    host::Json json = {{"class", description.name}};
    if (!description.superclass.empty()) json["superclass"] = description.superclass;
    if (description.filter) {
        const FilterTitle& title = description.filter->title;
        json["filter"] = title.name;
        json["displayName"] = title.displayName;
        json["categories"] = title.categories;
        json["category"] = title.category;
        json["description"] = description.filter->description;
    }
    host::Json properties = host::Json::MakeArray();
    for (const PropertyDescription& property : description.properties) {
        properties.push_back(ToJson(property, description.filter.has_value()));
    }
    json["properties"] = properties;
    json["methods"] = ToJson(description.methods);
    json["sharedMethods"] = ToJson(description.sharedMethods);
    return json;
}

std::string DefaultText(const PropertyDescription& property) {
    const DescribedValue* value = property.Find("default");
    return value != nullptr ? ShortText(*value) : "";
}

std::string UnitText(const PropertyDescription& property) { return property.unit == "none" ? "" : property.unit; }

std::string RangeText(const PropertyDescription& property) {
    std::string text;
    const DescribedValue* min = property.Find("min");
    const DescribedValue* max = property.Find("max");
    const DescribedValue* sliderMin = property.Find("sliderMin");
    const DescribedValue* sliderMax = property.Find("sliderMax");
    if (min != nullptr && max != nullptr) text = ShortText(*min) + " to " + ShortText(*max);
    if (min != nullptr && max == nullptr) text = "at least " + ShortText(*min);
    if (min == nullptr && max != nullptr) text = "at most " + ShortText(*max);
    if (sliderMin == nullptr || sliderMax == nullptr) return text;
    const std::string slider = ShortText(*sliderMin) + " to " + ShortText(*sliderMax);
    return slider == text ? text : text + (text.empty() ? "" : ", ") + "mostly " + slider;
}

std::string FactsText(const PropertyDescription& property) {
    const std::string value = DefaultText(property);
    std::string text;
    for (const std::string& part : {std::string(property.isReadOnly ? "read-only" : ""), UnitText(property),
                                    value.empty() ? "" : "default " + value, RangeText(property)}) {
        if (!part.empty()) text += (text.empty() ? "" : ", ") + part;
    }
    return text;
}
